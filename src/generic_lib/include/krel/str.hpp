// String utilities: case, trimming, white space, replacement, searching,
// splitting, number runs and range lists, and path-like strings.
//
// Strings are byte strings; character classes are the C library's in the
// "C" locale. Functions that return a changed copy take their string by
// value; none modifies the caller's string.
#pragma once

#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace str {

// ---------------------------------------------------------------------------
// Number runs and range lists
// ---------------------------------------------------------------------------

// Folds integers, in any order and with repeats, into run notation:
// ascending, duplicates dropped, consecutive values written "a-b" (a run of
// two included), others joined by ",". Every number gets exactly `zeroes`
// '0' characters in front, whatever its own width (a count, not a field
// width; none when 0 or less), which writes back host names like "cn09" and
// "cn010". `multiple` is set false first, then true when there are at least
// two distinct values. `values` is left untouched.
//
//   get_merged_ints({1, 2, 3, 5, 7, 8}, multiple, 0)  // "1-3,5,7-8", multiple true
//   get_merged_ints({5, 5}, multiple, 0)              // "5", multiple false
//   get_merged_ints({9, 10}, multiple, 1)             // "09-010"
//   get_merged_ints({-3, -2, -1}, multiple, 0)        // "-3--1"
GENERIC_LIB_EXPORT std::string get_merged_ints(std::vector<int> const& values, bool& multiple,
                                               int zeroes);

// The values in their given order, joined by `separator`.
//
//   int_vect_to_str({3, 1, 3}, ", ")  // "3, 1, 3"
//   int_vect_to_str({}, ",")          // ""
GENERIC_LIB_EXPORT std::string int_vect_to_str(std::vector<int> const& values,
                                               std::string const& separator);

// The numbers named by a range list, ascending, each once. The list is
// trimmed of space, tab, line feed and carriage return, then split at ','
// (runs of commas count as one, a leading comma gives an empty item). An
// item is "n" or "a-b"; each bound is read as std::stoul reads it (leading
// white space and a sign accepted, a negative value wrapping around), and
// every value of a range is narrowed to int by keeping its low 32 bits, so
// a range of 2^32 values or more names every int. An empty or malformed
// item, a descending range, a bound beyond unsigned long, or a result too
// large for memory gives the empty list; nothing is logged or thrown. Time
// grows with the size of the result, not with the width of the ranges.
//
//   expand_ranges("5,1-3,2")     // {1, 2, 3, 5}
//   expand_ranges(" 7 ")         // {7}
//   expand_ranges("3-1")         // {}: descending ranges are rejected
//   expand_ranges("1 -3")        // {}: only '-' may follow the low bound
//   expand_ranges("-5")          // {-5}: the sign wraps and narrows back
//   expand_ranges("4294967296")  // {0}
//   expand_ranges(",1")          // {}: the empty first item does not convert
GENERIC_LIB_EXPORT std::vector<int> expand_ranges(std::string const& list);

// Reads a count of node-list permutations: a number of 0 or more as
// std::stoi reads it (0 means all; leading white space and a sign accepted,
// trailing text ignored), or, when no int can be read, exactly "all" or
// "ALL" for 0. Anything else (a negative number, a number beyond int, other
// spellings such as "All") writes the level-4 record "Invalid value
// specified for number of nodelist permutations in <source>. Valid values
// are positive integers, they keyword 'all', or the number 0 to represent
// all" (wording as it stands) and returns `default_count`.
//
//   get_num_permutations_from_string("5abc", 3, "cfg")  // 5
//   get_num_permutations_from_string("ALL", 3, "cfg")   // 0
//   get_num_permutations_from_string("All", 3, "cfg")   // 3, with the record
GENERIC_LIB_EXPORT unsigned int get_num_permutations_from_string(std::string const& value,
                                                                 unsigned int const& default_count,
                                                                 std::string const& source);

// ---------------------------------------------------------------------------
// Case, trimming and white space
// ---------------------------------------------------------------------------

// Every byte through tolower / toupper.
//
//   lower("Node17")  // "node17"
GENERIC_LIB_EXPORT std::string lower(std::string s);
GENERIC_LIB_EXPORT std::string upper(std::string s);

// `s` without its trailing / leading run of bytes found in `chars`. An empty
// `chars` matches nothing.
//
//   rstrip("a--", "-")  // "a"
//   fstrip("--a", "-")  // "a"
GENERIC_LIB_EXPORT std::string rstrip(std::string s, std::string chars);
GENERIC_LIB_EXPORT std::string fstrip(std::string s, std::string chars);

// Both ends trimmed of `chars`. Note: an empty `chars` means white space
// (as stripws), not nothing.
//
//   strip("--a-b--", "-")  // "a-b"
//   strip("  xx  ", "")    // "xx"
GENERIC_LIB_EXPORT std::string strip(std::string s, std::string chars);

// Both ends trimmed of space, tab, line feed and carriage return only;
// vertical tab and form feed stay.
//
//   stripws(" \tx\r\n")  // "x"
GENERIC_LIB_EXPORT std::string stripws(std::string s);

// isspace() of the byte: space, \t, \n, \v, \f, \r.
GENERIC_LIB_EXPORT bool isSpace(char c);

// Every isSpace byte removed, inner ones too.
//
//   stripallws("\v a b\f")  // "ab"
GENERIC_LIB_EXPORT std::string stripallws(std::string s);

// Every occurrence of `from` replaced by `to`, left to right, never searching
// text just inserted. An empty `from` returns `s` unchanged.
//
//   replace("aaa", "aa", "b")  // "ba"
//   replace("abc", "b", "bb")  // "abbc"
GENERIC_LIB_EXPORT std::string replace(std::string s, std::string const& from,
                                       std::string const& to);

// Every run of two or more `c` shortened to one `c`.
//
//   squeeze("a,,b,,,c,", ',')  // "a,b,c,"
GENERIC_LIB_EXPORT std::string squeeze(std::string s, char c);

//   startswith("abc", "ab")  // true;  startswith("ab", "abc") // false
//   endswith("abc", "")      // true
GENERIC_LIB_EXPORT bool startswith(std::string const& s, std::string const& prefix);
GENERIC_LIB_EXPORT bool endswith(std::string const& s, std::string const& suffix);

// True when some element equals `s`.
//
//   in_vect({""}, "")       // true
//   in_vect({"a", "b"}, "") // false
GENERIC_LIB_EXPORT bool in_vect(std::vector<std::string> const& list, std::string const& s);

// True when some non-empty element contains `s`. Empty elements are skipped,
// so an empty `s` matches only a list with a non-empty element.
//
//   string_search({"hostname"}, "stn")  // true
//   string_search({""}, "")             // false
GENERIC_LIB_EXPORT bool string_search(std::vector<std::string> const& list, std::string const& s);

// ---------------------------------------------------------------------------
// Splitting
// ---------------------------------------------------------------------------

// Fields of `s` between `delimiter` bytes. With `squeeze_runs`, runs of the
// delimiter count as one. A leading delimiter gives an empty first field; a
// trailing one gives no empty last field; "" gives no fields.
//
//   split("a,,b", ',', false)  // {"a", "", "b"}
//   split("a,,b", ',', true)   // {"a", "b"}
//   split(",a", ',', true)     // {"", "a"}
//   split("a,,,", ',', false)  // {"a", "", ""}
GENERIC_LIB_EXPORT std::vector<std::string> split(std::string const& s, char delimiter,
                                                  bool squeeze_runs);

// ---------------------------------------------------------------------------
// Path-like strings and number readers
// ---------------------------------------------------------------------------

// The last path component (GNU basename: "" when the path ends in "/").
// Only the first 4096 bytes of `path` are looked at.
//
//   basename("/usr/lib/libx.so")  // "libx.so"
//   basename("/usr/lib/")         // ""
GENERIC_LIB_EXPORT std::string basename(std::string const& path);

// The parent directory (POSIX dirname). Only the first 4096 bytes of `path`
// are looked at.
//
//   dirname("/usr/lib/libx.so")  // "/usr/lib"
//   dirname("libx.so")           // "."
//   dirname("/")                 // "/"
GENERIC_LIB_EXPORT std::string dirname(std::string const& path);

// Everything after the last "/", with no length limit.
//
//   remove_path("a/b/c")  // "c";   remove_path("a/b/") // ""
GENERIC_LIB_EXPORT std::string remove_path(std::string const& path);

// The sub-identifier from the first ":" on, colon included; "" without one.
//
//   get_sub_id("node7:2")  // ":2"
GENERIC_LIB_EXPORT std::string get_sub_id(std::string const& id);

// Everything before the first ":"; the whole text without one.
// remove_sub_id(t) + get_sub_id(t) == t for every t.
//
//   remove_sub_id("node7:2")  // "node7"
GENERIC_LIB_EXPORT std::string remove_sub_id(std::string const& id);

// Reads a floating-point number with strtod / strtof / strtold and stores it
// with the count of characters consumed (leading white space included).
// Throws std::invalid_argument when nothing converts and std::out_of_range
// on a range error, with the message "stod", "stof" or "stold"; nothing is
// stored then.
//
//   convert_to_selection_helper("1.5xyz", value, position)  // 1.5, 3
//   convert_to_selection_helper("  2", value, position)     // 2, 3
GENERIC_LIB_EXPORT void convert_to_selection_helper(std::string const& text, double& value,
                                                    unsigned long& position);
GENERIC_LIB_EXPORT void convert_to_selection_helper(std::string const& text, float& value,
                                                    unsigned long& position);
GENERIC_LIB_EXPORT void convert_to_selection_helper(std::string const& text, long double& value,
                                                    unsigned long& position);

}  // namespace str
}  // namespace krel
