// Number runs and range lists: the part of the host-list family that works
// on plain numbers. Folding integers into run notation ("1-3,5"), reading a
// range list back into its numbers, and reading a permutation count. The
// functions keep their place in namespace krel::str.
//
//   bool multiple = false;
//   krel::str::get_merged_ints({3, 1, 2, 7}, multiple, 0);  // "1-3,7"
//   krel::str::expand_ranges("1-3,7");                      // {1, 2, 3, 7}
#pragma once

#include <string>
#include <vector>

#include "krel/generic_lib_export.hpp"

namespace krel {
namespace str {

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

}  // namespace str
}  // namespace krel
