// Decimal digits: telling them apart, their padding, and writing and
// counting numbers in them. Private to the library and its tool.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace krel {
namespace internal {

// True for '0' to '9' only, whatever the locale.
//
//   is_digit('7')  // true
//   is_digit('a')  // false
inline bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// The padding zeros in front of a digit run. In a run of zeros only, the
// last zero is the value's own digit, not padding.
//
//   padding_zeros("007")  // 2
//   padding_zeros("000")  // 2
//   padding_zeros("10")   // 0
//   padding_zeros("")     // 0
inline std::size_t padding_zeros(std::string_view digits) {
  std::size_t zeros = 0;
  while (zeros < digits.size() && digits[zeros] == '0')
    ++zeros;
  return zeros == digits.size() && zeros > 0 ? zeros - 1 : zeros;
}

// The most digits a run can have whose value always fits 64 bits: every
// number of 19 digits is below 2^64.
constexpr std::size_t kExactDigits = 19;

// Reads the digits from `begin` up to `end` or the first other byte, and
// returns where they stop. `value` is their value when there are at most
// kExactDigits of them (it is not checked for overflow, so it means nothing
// for longer runs: decimal_value reads those). No digit at all gives back
// `begin` and 0.
//
//   scan_decimal(at "0042x", end, value)  // at the 'x', value == 42
//   scan_decimal(at "-7", end, value)     // at the '-', value == 0
inline char const* scan_decimal(char const* begin, char const* end, std::uint64_t& value) {
  std::uint64_t read = 0;
  for (; begin != end && is_digit(*begin); ++begin)
    read = read * 10 + static_cast<std::uint64_t>(*begin - '0');
  value = read;
  return begin;
}

// Reads a run of digits (nothing else) of any length, padding zeros and all;
// false when its value needs more than 64 bits.
//
//   decimal_value("0042", value)                  // true, value == 42
//   decimal_value("18446744073709551616", value)  // false: 2^64
inline bool decimal_value(std::string_view digits, std::uint64_t& value) {
  // Padding zeros add nothing to the value: they are skipped only where
  // they would count against the size.
  if (digits.size() > kExactDigits) digits.remove_prefix(padding_zeros(digits));
  char const* const end = digits.data() + digits.size();
  if (digits.size() <= kExactDigits) {
    scan_decimal(digits.data(), end, value);
    return true;
  }
  if (digits.size() > kExactDigits + 1) return false;
  // Twenty digits: the last one may carry past 2^64 - 1.
  std::uint64_t high = 0;
  scan_decimal(digits.data(), end - 1, high);
  std::uint64_t const digit = static_cast<std::uint64_t>(end[-1] - '0');
  if (high > (UINT64_MAX - digit) / 10) return false;
  value = high * 10 + digit;
  return true;
}

// `count` '0' characters; none for 0 or a negative count.
//
//   zero_string(3)   // "000"
//   zero_string(-1)  // ""
inline std::string zero_string(int count) {
  if (count <= 0) return std::string();
  return std::string(static_cast<std::size_t>(count), '0');
}

// Appends the decimal digits of `value` (with a '-' when negative).
//
//   append_decimal(out = "cn", 17)  // out == "cn17"
//   append_decimal(out = "", -3)    // out == "-3"
template <typename Integer>
void append_decimal(std::string& out, Integer value) {
  char digits[24];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

// Adds one to the decimal number written in `digits[0, size)`, in place.
// False when every digit was '9': they are all '0' then, and the caller
// puts the carry's '1' in front.
//
//   "0419" -> "0420", true
//   "99"   -> "00", false
inline bool increment_decimal(char* digits, std::size_t size) {
  for (char* digit = digits + size; digit != digits;) {
    --digit;
    if (*digit != '9') {
      ++*digit;
      return true;
    }
    *digit = '0';
  }
  return false;
}

}  // namespace internal
}  // namespace krel
