// Text layout for terminals and reports: word wrapping, column and table
// alignment, right alignment and list joining. Widths count bytes: there is
// no notion of multi-byte characters, display width or tab stops, and every
// byte, a tab included, counts as one. Only the space byte breaks a line.
// None of these functions reports errors or logs.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace str {

// Columns of the terminal on standard input (file descriptor 0), or 0 when
// standard input is not a terminal or its width is unknown. No environment
// variable is read and no default of 80 is substituted: callers must treat 0
// as "unknown". Opens nothing and keeps no state.
//
//   terminal_width()  // 80 on an 80-column terminal; 0 with stdin from a pipe
GENERIC_LIB_EXPORT int terminal_width();

// Breaks every line of `text` at spaces so that it fits `width` bytes, and
// starts every continuation line with `indent`. Time is linear in the size of
// the text and of the result.
//
// - A `width` of 0 or less means terminal_width(). When that is 0 (standard
//   input is no terminal) the result is "": the whole text is dropped, not
//   returned unwrapped.
// - The first line of each input line holds up to `width` bytes; a space
//   standing exactly at index `width` is still a break. Continuation lines
//   hold `indent` plus up to `width` - indent length bytes.
// - Only the one break space is removed: in a run of spaces the others stay,
//   as a trailing space on one line or a leading space on the next. A space
//   at the start of a segment is never its break, so a leading space stays.
// - A word longer than the room is never split: the line runs past `width`
//   to the next space, or to the end of the line.
// - A line no longer than `width` is copied unchanged, even when it is longer
//   than `width` minus the indent. The indent appears only after a break.
// - Input lines are cut at newlines, which are kept; empty lines stay empty.
//   A text that ends with a newline keeps exactly one; for any other text the
//   last newline written is dropped. So a text without a final newline gains
//   none, except where its last line breaks at its very last byte (a trailing
//   space): the empty segment behind that break leaves "ab " at width 1 as
//   "ab\n".
// - An indent longer than `width` leaves no room beside it: after the first
//   break of a line the rest of that line goes out unbroken behind the
//   indent. An indent exactly `width` long is allowed its empty room: each
//   continuation line then holds one word, or nothing where spaces run on.
// - Should memory run out while a line is wrapped, the result is "".
//
//   word_wrap("the quick brown fox jumps", 10, "")    // "the quick\nbrown fox\njumps"
//   word_wrap("the quick brown fox jumps", 10, "  ")  // "the quick\n  brown\n  fox\n  jumps"
//   word_wrap("aaa  bbb", 4, "")                      // "aaa \nbbb"
//   word_wrap("abcdefghijklmno pq", 5, "")            // "abcdefghijklmno\npq"
//   word_wrap("one two\n\nthree four five\n", 9, "> ")
//       // "one two\n\nthree\n> four\n> five\n"
//   word_wrap("aaaa bbbb cccc", 5, "xxxxxx")          // "aaaa\nxxxxxxbbbb cccc"
//   word_wrap("any text", 0, "")                      // "" when stdin is no terminal
GENERIC_LIB_EXPORT std::string word_wrap(std::string const& text, int width,
                                         std::string const& indent);

// Lines "label<separator>value" laid out with all values in one column, then
// word-wrapped. The column end is the furthest first `separator` over all
// lines (0 when none has one); every line that holds the separator gets
// spaces behind its first one so that the following byte stands at column
// end + 1. With `hide_separator` the separator itself becomes a space. Lines
// without the separator are left as they are; a final newline is kept.
//
// Watch out:
// - The result is word_wrap(laid-out text, width, column end + 2 spaces):
//   continuation lines are indented to the value column and the caller's
//   `indent` is NOT used, even when no line holds the separator (the indent
//   is then two spaces).
// - Once the column end exceeds `width` (checked after every line, as signed
//   numbers, so any `width` below 0 trips it on the first line) the layout is
//   abandoned and the result is word_wrap(text, width, indent) of the text
//   as it came, now with the caller's `indent`.
// - A separator at `width` - 1 or at `width` gives an indent longer than
//   `width`: the rest of a broken line then goes out unbroken behind it (see
//   word_wrap).
//
//   column_wrap("name: value one\nlonger name: val", 20, "  ", ':', false)
//       // "name:        value\n             one\nlonger name: val"
//   column_wrap("name=value\nlongername=val\n", 80, "", '=', true)
//       // "name       value\nlongername val\n"
//   column_wrap("no separator here", 10, "> ", ':', false)  // "no\n  separator\n  here"
//   column_wrap("averyverylongkey: v", 10, ">", ':', false)  // "averyverylongkey:\n>v"
GENERIC_LIB_EXPORT std::string column_wrap(std::string const& text, int width,
                                           std::string const& indent, char separator,
                                           bool hide_separator);

// Lines of space-separated fields laid out as aligned columns, then
// word_wrap(table, width, indent). Pass by pass, the next space of every line
// that still has one moves right to the furthest such space, so each field
// starts in one column; a line out of spaces takes no further part. Two
// spaces in a row make an empty field. Alignment stops at once when every
// line starts with a space or has none.
//
// Watch out: the lines are joined without a final newline, so a final
// newline of `text` is lost (column_wrap keeps it).
//
//   space_wrap("a bb ccc\ndddd e f\n", 80, "")     // "a    bb ccc\ndddd e  f"
//   space_wrap("x  y\nab c", 80, "")               // "x   y\nab c"
//   space_wrap("one two three four", 9, "  ")      // "one two\n  three\n  four"
GENERIC_LIB_EXPORT std::string space_wrap(std::string const& text, int width,
                                          std::string const& indent);

// Every entry right-aligned to the longest one, behind `prefix`: `prefix`,
// then as many spaces as the entry is shorter than the longest, then the
// entry. One result per entry, in input order.
//
//   AlignRight({"a", "bbb", "cc"}, "> ")  // {">   a", "> bbb", ">  cc"}
//   AlignRight({}, "> ")                  // {}
GENERIC_LIB_EXPORT std::vector<std::string> AlignRight(std::vector<std::string> const& entries,
                                                       std::string const& prefix);

// Undoes earlier line breaking, so that a text can be wrapped afresh: every
// newline becomes a space, then every run of spaces becomes one. Spaces
// beside a newline merge with it; tabs, carriage returns and single leading
// or trailing spaces stay.
//
//   clean_previous_formatting("a \n b")   // "a b"
//   clean_previous_formatting("a\r\nb")   // "a\r b"
//   clean_previous_formatting("  x  ")    // " x "
GENERIC_LIB_EXPORT std::string clean_previous_formatting(std::string text);

// A prose enumeration of the set in ascending byte order: "" for none, the
// element for one, "a and b" for two (no comma), and a serial comma from
// three on ("a, b, and c"). The two-element form without a comma is
// deliberate.
//
//   join_set_strings({"b", "a"})            // "a and b"
//   join_set_strings({"c", "a", "b"})       // "a, b, and c"
//   join_set_strings({"", "a"})             // " and a"
GENERIC_LIB_EXPORT std::string join_set_strings(std::set<std::string> items);

// The elements in order with `separator` between neighbours and none at the
// ends; the separator may be empty or of any length.
//
//   vect_to_str({"b", "a"}, ";")       // "b;a"
//   vect_to_str({"a", "", "b"}, ",")   // "a,,b"
//   vect_to_str({}, ",")               // ""
GENERIC_LIB_EXPORT std::string vect_to_str(std::vector<std::string> const& list,
                                           std::string const& separator);

}  // namespace str
}  // namespace krel
