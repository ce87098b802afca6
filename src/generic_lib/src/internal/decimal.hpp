// Decimal digits: telling them apart, their padding, and writing and
// counting numbers in them. Private to the library and its tool.
#pragma once

#include <charconv>
#include <cstddef>
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
