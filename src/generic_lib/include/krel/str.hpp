// String utilities: case, trimming, white space, replacement, searching,
// splitting, and path-like strings. The number runs and range lists of the
// host-list family (get_merged_ints, expand_ranges, ...) are declared in
// krel/ranges.hpp, which this header includes.
//
// Strings are byte strings; character classes are the C library's in the
// "C" locale. Functions that return a changed copy take their string by
// value; none modifies the caller's string.
#pragma once

#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"
#include "krel/ranges.hpp"

namespace krel {
namespace str {

// ---------------------------------------------------------------------------
// Case, trimming and white space
// ---------------------------------------------------------------------------

// Every byte through tolower; bytes above 0x7f stay as they are.
//
//   lower("Node17")  // "node17"
GENERIC_LIB_EXPORT std::string lower(std::string s);

// Every byte through toupper; bytes above 0x7f stay as they are.
//
//   upper("Node17")  // "NODE17"
//   upper("cn-x_1")  // "CN-X_1"
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
//
//   isSpace('\v')  // true
//   isSpace('_')   // false
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

// Every run of two or more `c` shortened to one `c`. The length is counted
// as a signed 32-bit number: a string of 2^31 bytes or more is read as its
// length modulo 2^32 taken as an int: only that many leading bytes are
// squeezed and the bytes after them stay as they are, and a count below 2
// (a negative one included) returns `s` unchanged.
//
//   squeeze("a,,b,,,c,", ',')  // "a,b,c,"
//   squeeze(",,", ',')         // ","
GENERIC_LIB_EXPORT std::string squeeze(std::string s, char c);

// True when `s` begins (startswith) or ends (endswith) with the bytes of
// `prefix` / `suffix`; the empty string begins and ends every string.
//
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
