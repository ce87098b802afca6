// Host sets: counts of names, and the numbers in names (their widths,
// values and how they are written).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "internal/decimal.hpp"

namespace krel {
namespace hostset_internal {

// Counts are exact up to 2^64; kTooMany (2^64) stands for "2^64 or more",
// which no set may hold.
__extension__ using Count = unsigned __int128;
constexpr Count kTooMany = static_cast<Count>(1) << 64;
constexpr std::uint64_t kMaxValue = UINT64_MAX;

inline Count add_counts(Count a, Count b) {
  Count const sum = a + b;
  return sum > kTooMany ? kTooMany : sum;
}
inline Count multiply_counts(Count a, Count b) {
  if (a == 0 || b == 0) return 0;
  if (a >= kTooMany || b >= kTooMany) return kTooMany;
  Count const product = a * b;  // both below 2^64 + 1: no 128-bit overflow
  return product > kTooMany ? kTooMany : product;
}

// The numbers a name may have: digit runs after them are text. It bounds
// the depth of the tree, which the code walks recursively.
constexpr std::size_t kMaxNumbers = 128;

// Longest digit run taken as a number: widths are 32-bit.
constexpr std::size_t kMaxWidth = std::size_t{1} << 30;

// Reads a run of digits (nothing else) as a number of a name; false when
// it is longer than kMaxWidth or its value needs more than 64 bits.
//
//   digits_value("0042", value)                  // true, value == 42
//   digits_value("18446744073709551616", value)  // false: 2^64
inline bool digits_value(std::string_view digits, std::uint64_t& value) {
  return digits.size() <= kMaxWidth && internal::decimal_value(digits, value);
}

// Decimal digits of a value written without padding.
int digit_count(std::uint64_t value);
// 10^exponent for exponent 0..19.
std::uint64_t power_of_ten(int exponent);
// Appends `value` written with at least `width` digits (zeros in front as
// needed); a width of 0 writes the digits alone.
//
//   append_to_width(out = "n", 3, 7)   // out == "n007"
//   append_to_width(out = "n", 0, 42)  // out == "n42"
void append_to_width(std::string& out, std::uint32_t width, std::uint64_t value);

// Whether the number (width, value) sorts before the number (other_width,
// other_value).
inline bool number_less(std::uint32_t width, std::uint64_t value, std::uint32_t other_width,
                        std::uint64_t other_value) {
  return width != other_width ? width < other_width : value < other_value;
}

}  // namespace hostset_internal
}  // namespace krel
