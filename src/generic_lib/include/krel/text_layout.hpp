// Text layout for terminals and reports: word wrapping, column and table
// alignment, right alignment and list joining. Widths count bytes.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace str {

// Columns of the terminal on standard input, or 0 when it is not a terminal
// or its width is unknown. No environment variable and no default of 80.
GENERIC_LIB_EXPORT int terminal_width();

// Breaks every line of `text` at spaces so that it fits `width` bytes, and
// starts every continuation line with `indent`. A `width` of 0 or less means
// the terminal's width.
GENERIC_LIB_EXPORT std::string word_wrap(std::string const& text, int width,
                                         std::string const& indent);

// Lines "label<separator>value" laid out with all values in one column,
// then wrapped with continuation lines indented to that column.
GENERIC_LIB_EXPORT std::string column_wrap(std::string const& text, int width,
                                           std::string const& indent, char separator,
                                           bool hide_separator);

// Lines of space-separated fields laid out as aligned columns, then wrapped.
GENERIC_LIB_EXPORT std::string space_wrap(std::string const& text, int width,
                                          std::string const& indent);

// Every entry right-aligned to the longest one, behind `prefix`.
GENERIC_LIB_EXPORT std::vector<std::string> AlignRight(std::vector<std::string> const& entries,
                                                       std::string const& prefix);

// Undoes earlier line breaking: newlines become spaces, runs of spaces one.
GENERIC_LIB_EXPORT std::string clean_previous_formatting(std::string text);

// A prose enumeration of the set, in ascending byte order.
GENERIC_LIB_EXPORT std::string join_set_strings(std::set<std::string> items);

// The elements in order with `separator` between neighbours.
GENERIC_LIB_EXPORT std::string vect_to_str(std::vector<std::string> const& list,
                                           std::string const& separator);

}  // namespace str
}  // namespace krel
