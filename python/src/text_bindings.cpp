// Text layout and version comparison: krel::str::word_wrap, column_wrap,
// space_wrap and compare_versions (as is_newer) with Python types.
#include <pybind11/pybind11.h>

#include <string>

#include "bindings.hpp"
#include "krel/fs.hpp"
#include "krel/text_layout.hpp"

namespace py = pybind11;

namespace krel_python {

namespace {

char const* const kWordWrapDoc =
    R"doc(Breaks every line of `text` at spaces so that it fits `width` bytes, and
starts every continuation line with `indent`. Widths count bytes of the
UTF-8 text; only the space byte breaks a line.

- A `width` of 0 or less means the width of the terminal on standard input.
  When standard input is no terminal the result is "": the whole text is
  dropped, not returned unwrapped.
- The first line of each input line holds up to `width` bytes; a space
  standing exactly at index `width` is still a break. Continuation lines
  hold `indent` plus up to `width` - len(indent) bytes.
- Only the one break space is removed: in a run of spaces the others stay,
  as a trailing space on one line or a leading space on the next. A space
  at the start of a segment is never its break, so a leading space stays.
- A word longer than the room is never split: the line runs past `width`
  to the next space, or to the end of the line.
- A line no longer than `width` is copied unchanged, even when it is longer
  than `width` minus the indent. The indent appears only after a break.
- Input lines are cut at newlines, which are kept; empty lines stay empty.
  A text that ends with a newline keeps exactly one; for any other text the
  last newline written is dropped, except where its last line breaks at its
  very last byte (a trailing space): "ab " at width 1 gives "ab\n".
- An indent longer than `width` leaves no room beside it: after the first
  break of a line the rest of that line goes out unbroken behind the
  indent. An indent exactly `width` long is allowed its empty room: each
  continuation line then holds one word, or nothing where spaces run on.

    >>> word_wrap("the quick brown fox jumps", 10, "")
    'the quick\nbrown fox\njumps'
    >>> word_wrap("the quick brown fox jumps", 10, "  ")
    'the quick\n  brown\n  fox\n  jumps'
    >>> word_wrap("aaa  bbb", 4, "")
    'aaa \nbbb'
    >>> word_wrap("abcdefghijklmno pq", 5, "")
    'abcdefghijklmno\npq'
    >>> word_wrap("one two\n\nthree four five\n", 9, "> ")
    'one two\n\nthree\n> four\n> five\n'
    >>> word_wrap("aaaa bbbb cccc", 5, "xxxxxx")
    'aaaa\nxxxxxxbbbb cccc'
)doc";

char const* const kColumnWrapDoc =
    R"doc(Lines "label<separator>value" laid out with all values in one column, then
word-wrapped. The column end is the furthest first `separator` over all
lines (0 when none has one); every line that holds the separator gets
spaces behind its first one so that the following byte stands at column
end + 1. With `hide_separator` the separator itself becomes a space. Lines
without the separator are left as they are; a final newline is kept.
`separator` is one character of one byte.

Watch out:
- The result is word_wrap(laid-out text, width, column end + 2 spaces):
  continuation lines are indented to the value column and the caller's
  `indent` is NOT used, even when no line holds the separator (the indent
  is then two spaces).
- Once the column end exceeds `width` (checked after every line, so any
  `width` below 0 trips it on the first line) the layout is abandoned and
  the result is word_wrap(text, width, indent) of the text as it came, now
  with the caller's `indent`.
- A separator at `width` - 1 or at `width` gives an indent longer than
  `width`: the rest of a broken line then goes out unbroken behind it.

    >>> column_wrap("name: value one\nlonger name: val", 20, "  ", ":", False)
    'name:        value\n             one\nlonger name: val'
    >>> column_wrap("name=value\nlongername=val\n", 80, "", "=", True)
    'name       value\nlongername val\n'
    >>> column_wrap("no separator here", 10, "> ", ":", False)
    'no\n  separator\n  here'
    >>> column_wrap("averyverylongkey: v", 10, ">", ":", False)
    'averyverylongkey:\n>v'
)doc";

char const* const kSpaceWrapDoc =
    R"doc(Lines of space-separated fields laid out as aligned columns, then
word_wrap(table, width, indent). Pass by pass, the next space of every line
that still has one moves right to the furthest such space, so each field
starts in one column; a line out of spaces takes no further part. Two
spaces in a row make an empty field. Alignment stops at once when every
line starts with a space or has none.

Watch out: the lines are joined without a final newline, so a final newline
of `text` is lost (column_wrap keeps it).

    >>> space_wrap("a bb ccc\ndddd e f\n", 80, "")
    'a    bb ccc\ndddd e  f'
    >>> space_wrap("x  y\nab c", 80, "")
    'x   y\nab c'
    >>> space_wrap("one two three four", 9, "  ")
    'one two\n  three\n  four'
)doc";

char const* const kIsNewerDoc =
    R"doc(Whether dotted version `a` is newer than `b`. Fields are split at "."
(adjacent dots give an empty field) and compared as integers, position by
position, up to the shorter list; the first difference decides, and fields
beyond the shorter list are never looked at. A field is read like C++
std::stoi: leading blanks, a sign, digits, the rest ignored ("3rc1" is 3).
When a field that is reached does not start with a number or does not fit a
C int, the answer is False (and the level-4 log record "Unable to parse
version." is written, silent at the default log level 3).

    >>> is_newer("1.10", "1.9")
    True
    >>> is_newer("1.2.1", "1.2")
    False
    >>> is_newer("1.x", "1.2")
    False
    >>> is_newer("2.x", "1.y")
    True
)doc";

std::string column_wrap(std::string const& text, int width, std::string const& indent,
                        std::string const& separator, bool hide_separator) {
  if (separator.size() != 1) {
    throw py::value_error("separator must be one byte, got " + std::to_string(separator.size()));
  }
  return krel::str::column_wrap(text, width, indent, separator[0], hide_separator);
}

bool is_newer(std::string const& a, std::string const& b) {
  bool newer = false;
  krel::str::compare_versions(a, b, newer);
  return newer;
}

}  // namespace

void bind_text(py::module_& module) {
  module.def("word_wrap", &krel::str::word_wrap, py::arg("text"), py::arg("width"),
             py::arg("indent") = "", kWordWrapDoc, py::call_guard<py::gil_scoped_release>());
  module.def("column_wrap", &column_wrap, py::arg("text"), py::arg("width"), py::arg("indent") = "",
             py::arg("separator") = ":", py::arg("hide_separator") = false, kColumnWrapDoc,
             py::call_guard<py::gil_scoped_release>());
  module.def("space_wrap", &krel::str::space_wrap, py::arg("text"), py::arg("width"),
             py::arg("indent") = "", kSpaceWrapDoc, py::call_guard<py::gil_scoped_release>());
  module.def("is_newer", &is_newer, py::arg("a"), py::arg("b"), kIsNewerDoc,
             py::call_guard<py::gil_scoped_release>());
}

}  // namespace krel_python
