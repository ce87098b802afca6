// Host names as runs of text and digits, as the host-list functions read
// them: a digit run's number and padding, where a run ends, how a number is
// written back, and how many distinct values a number position takes.
#pragma once

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "internal/decimal.hpp"
#include "internal/value_bitmap.hpp"

namespace krel {
namespace hostlist_internal {

// One number of a host name: its value and its padding zeros.
struct Number {
  int value;
  int zeroes;
};

// Reads a non-empty digit run. The value is read as std::stoi reads it, so a
// run above INT_MAX (padding zeros not counted) throws
// std::out_of_range("stoi"). An all-zero run keeps its last zero as the
// value's own digit, not padding.
//
//   read_digit_run(at "0042")        // Number{42, 2}
//   read_digit_run(at "4294967296")  // throws std::out_of_range("stoi")
inline Number read_digit_run(char const* begin, char const* end) {
  std::string_view const digits(begin, static_cast<std::size_t>(end - begin));
  std::size_t const zeros = internal::padding_zeros(digits);
  std::uint64_t value = 0;
  if (!internal::decimal_value(digits.substr(zeros), value) ||
      value > static_cast<std::uint64_t>(INT_MAX))
    throw std::out_of_range("stoi");
  return Number{static_cast<int>(value), static_cast<int>(zeros)};
}

// The end of the run that starts at `run` (before `end`): digits or text,
// whichever `*run` is.
//
//   run_end(at "cn012-ib", end)  // at the '0'
//   run_end(at "012-ib", end)    // at the '-'
inline char const* run_end(char const* run, char const* end) {
  bool const digits = internal::is_digit(*run);
  char const* last = run + 1;
  while (last != end && internal::is_digit(*last) == digits)
    ++last;
  return last;
}

// Appends `zeroes` '0' characters, then the digits of `value`.
//
//   append_after_zeros(out = "cn", 2, 7)  // out == "cn007"
inline void append_after_zeros(std::string& out, int zeroes, int value) {
  if (zeroes > 0) out.append(static_cast<std::size_t>(zeroes), '0');
  internal::append_decimal(out, value);
}

// How many different values `values` holds; reorders `values` when they
// lie too far apart for a bit map.
//
//   count_distinct(values = {3, 1, 3})  // 2
inline std::size_t count_distinct(std::vector<int>& values) {
  if (values.empty()) return 0;
  if (auto const map = internal::ValueBitmap::of_close_values(values)) return map->count();
  std::sort(values.begin(), values.end());
  return static_cast<std::size_t>(std::unique(values.begin(), values.end()) - values.begin());
}

}  // namespace hostlist_internal
}  // namespace krel
