"""word_wrap, column_wrap, space_wrap and is_newer through the module."""

import subprocess
import sys

import pytest

import krel


@pytest.mark.parametrize(
    "text, width, indent, expected",
    [
        pytest.param("the quick brown fox jumps", 10, "", "the quick\nbrown fox\njumps", id="BreaksAtSpaces"),
        pytest.param("the quick brown fox jumps", 10, "  ", "the quick\n  brown\n  fox\n  jumps", id="IndentsContinuations"),
        pytest.param("aaa  bbb", 4, "", "aaa \nbbb", id="OnlyTheBreakSpaceGoes"),
        pytest.param("abcdefghijklmno pq", 5, "", "abcdefghijklmno\npq", id="LongWordIsNotSplit"),
        pytest.param("one two\n\nthree four five\n", 9, "> ", "one two\n\nthree\n> four\n> five\n", id="KeepsLinesAndFinalNewline"),
        pytest.param("aaaa bbbb cccc", 5, "xxxxxx", "aaaa\nxxxxxxbbbb cccc", id="IndentWiderThanWidth"),
        pytest.param("ab ", 1, "", "ab\n", id="BreakAtLastByte"),
        pytest.param("short", 80, "    ", "short", id="FittingLineUnchanged"),
    ],
)
def test_word_wrap(text, width, indent, expected):
    assert krel.word_wrap(text, width, indent) == expected


def test_word_wrap_indent_defaults_to_nothing():
    assert krel.word_wrap("aa bb", 2) == "aa\nbb"


def test_word_wrap_width_zero_without_terminal_drops_the_text():
    code = "import krel; print(repr(krel.word_wrap('any text', 0, '')))"
    result = subprocess.run([sys.executable, "-c", code], stdin=subprocess.DEVNULL,
                            capture_output=True, text=True, check=True)
    assert result.stdout == "''\n"


@pytest.mark.parametrize(
    "text, width, indent, separator, hide, expected",
    [
        pytest.param("name: value one\nlonger name: val", 20, "  ", ":", False,
                     "name:        value\n             one\nlonger name: val", id="ContinuesAtValueColumn"),
        pytest.param("name=value\nlongername=val\n", 80, "", "=", True,
                     "name       value\nlongername val\n", id="HidesSeparatorKeepsNewline"),
        pytest.param("no separator here", 10, "> ", ":", False,
                     "no\n  separator\n  here", id="NoSeparatorIndentsTwoSpaces"),
        pytest.param("averyverylongkey: v", 10, ">", ":", False,
                     "averyverylongkey:\n>v", id="ColumnPastWidthFallsBack"),
    ],
)
def test_column_wrap(text, width, indent, separator, hide, expected):
    assert krel.column_wrap(text, width, indent, separator, hide) == expected


@pytest.mark.parametrize("separator", [pytest.param("", id="Empty"), pytest.param("::", id="TwoBytes"),
                                       pytest.param("\u00e9", id="TwoByteCharacter")])
def test_column_wrap_separator_is_one_byte(separator):
    with pytest.raises(ValueError, match="separator must be one byte"):
        krel.column_wrap("a:b", 80, "", separator, False)


@pytest.mark.parametrize(
    "text, width, indent, expected",
    [
        pytest.param("a bb ccc\ndddd e f\n", 80, "", "a    bb ccc\ndddd e  f", id="AlignsFieldsDropsFinalNewline"),
        pytest.param("x  y\nab c", 80, "", "x   y\nab c", id="TwoSpacesMakeEmptyField"),
        pytest.param("one two three four", 9, "  ", "one two\n  three\n  four", id="WrapsTheTable"),
    ],
)
def test_space_wrap(text, width, indent, expected):
    assert krel.space_wrap(text, width, indent) == expected


@pytest.mark.parametrize(
    "a, b, expected",
    [
        pytest.param("1.10", "1.9", True, id="FieldsAreNumbers"),
        pytest.param("1.2.1", "1.2", False, id="ExtraFieldsNotLookedAt"),
        pytest.param("1.x", "1.2", False, id="UnreadableFieldIsNotNewer"),
        pytest.param("2.x", "1.y", True, id="FirstDifferenceDecides"),
        pytest.param("3rc1", "2", True, id="TrailingTextIgnored"),
        pytest.param("1.0", "1.0", False, id="EqualIsNotNewer"),
        pytest.param("1.9", "1.10", False, id="OlderIsNotNewer"),
    ],
)
def test_is_newer(a, b, expected):
    assert krel.is_newer(a, b) is expected


def test_is_newer_is_silent_at_the_default_log_level(capfd):
    assert krel.is_newer("1.x", "1.2") is False
    assert capfd.readouterr().err == ""
