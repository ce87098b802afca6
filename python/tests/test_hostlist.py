"""get_merged_hosts, get_merged_ints and expand_ranges through the module."""

import pytest

import krel


@pytest.mark.parametrize(
    "names, expected",
    [
        pytest.param(["node3", "node1", "node2", "login1"], "login1, node[1-3]", id="FoldsRunAndSortsPieces"),
        pytest.param(["node01", "node02", "node10", "login1"], "login1, node10, node[01-02]", id="BracketSortsAfterDigits"),
        pytest.param(["cn08", "cn09", "cn10", "cn11"], "cn[08-09], cn[10-11]", id="PaddingChangeSplitsRun"),
        pytest.param(["cn09", "cn010"], "cn[09-010]", id="KeepsCountOfZeros"),
        pytest.param(["r1c1", "r1c2", "r2c1", "r2c2"], "r[1-2]c1, r[1-2]c2", id="OneNumberPerPiece"),
        pytest.param(["", "a1"], ", a1", id="EmptyNameStays"),
        pytest.param([], "", id="EmptyListGivesEmptyText"),
        pytest.param(("n2", "n1", "n2"), "n[1-2]", id="TupleAndDuplicates"),
        pytest.param(["n2147483647", "n2147483646"], "n[2147483646-2147483647]", id="LargestInt"),
        pytest.param(["h\u00e9te1", "h\u00e9te2"], "h\u00e9te[1-2]", id="NonAsciiTextRoundTrips"),
    ],
)
def test_get_merged_hosts(names, expected):
    assert krel.get_merged_hosts(names) == expected


@pytest.mark.parametrize(
    "names",
    [
        pytest.param(["n2147483648"], id="JustAboveInt"),
        pytest.param(["a1", "n99999999999999999999"], id="TwentyDigits"),
    ],
)
def test_get_merged_hosts_refuses_numbers_above_int(names):
    with pytest.raises(ValueError, match="above 2147483647"):
        krel.get_merged_hosts(names)


@pytest.mark.parametrize("names", [pytest.param("n1", id="PlainText"), pytest.param([1, 2], id="Integers")])
def test_get_merged_hosts_needs_a_list_of_texts(names):
    with pytest.raises(TypeError):
        krel.get_merged_hosts(names)


@pytest.mark.parametrize(
    "values, zeroes, expected",
    [
        pytest.param([1, 2, 3, 5, 7, 8], 0, ("1-3,5,7-8", True), id="RunsAndSingles"),
        pytest.param([5, 5], 0, ("5", False), id="OneDistinctValue"),
        pytest.param([9, 10], 1, ("09-010", True), id="ZeroesIsACountNotAWidth"),
        pytest.param([-3, -2, -1], 0, ("-3--1", True), id="NegativeRun"),
        pytest.param([7, 1, 7, 2, 3], 0, ("1-3,7", True), id="AnyOrderAndRepeats"),
        pytest.param([], 0, ("", False), id="Empty"),
        pytest.param([4], -2, ("4", False), id="NegativeZeroesMeansNone"),
        pytest.param([2147483647, -2147483648], 0, ("-2147483648,2147483647", True), id="IntLimits"),
    ],
)
def test_get_merged_ints(values, zeroes, expected):
    assert krel.get_merged_ints(values, zeroes) == expected


@pytest.mark.parametrize("values", [pytest.param([2**31], id="AboveInt"), pytest.param([-(2**31) - 1], id="BelowInt")])
def test_get_merged_ints_refuses_values_beyond_int(values):
    with pytest.raises(TypeError):
        krel.get_merged_ints(values, 0)


@pytest.mark.parametrize(
    "text, expected",
    [
        pytest.param("5,1-3,2", [1, 2, 3, 5], id="SortsAndDropsRepeats"),
        pytest.param(" 7 ", [7], id="TrimsBlanks"),
        pytest.param("3-1", [], id="DescendingRangeIsEmpty"),
        pytest.param("1 -3", [], id="OnlyDashAfterLowBound"),
        pytest.param("-5", [-5], id="SignWrapsAndNarrows"),
        pytest.param("4294967296", [0], id="KeepsLow32Bits"),
        pytest.param(",1", [], id="EmptyFirstItem"),
        pytest.param("1,,3", [1, 3], id="RunOfCommasCountsAsOne"),
        pytest.param("", [], id="EmptyText"),
        pytest.param("x", [], id="NotANumber"),
        pytest.param("99999999999999999999", [], id="BeyondSixtyFourBits"),
    ],
)
def test_expand_ranges(text, expected):
    assert krel.expand_ranges(text) == expected
