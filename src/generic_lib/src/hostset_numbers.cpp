// Host sets: counting digits and writing padded numbers.
#include <cstdint>
#include <string>

#include "hostset_numbers.hpp"

namespace krel {
namespace hostset_internal {

int digit_count(std::uint64_t value) {
  int digits = 1;
  while (value >= 10) {
    value /= 10;
    ++digits;
  }
  return digits;
}

std::uint64_t power_of_ten(int exponent) {
  std::uint64_t result = 1;
  for (int i = 0; i < exponent; ++i)
    result *= 10;
  return result;
}

void append_to_width(std::string& out, std::uint32_t width, std::uint64_t value) {
  char digits[20];
  int length = 0;
  do {
    digits[length++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  if (width > static_cast<std::uint32_t>(length)) out.append(width - length, '0');
  while (length > 0)
    out += digits[--length];
}

}  // namespace hostset_internal
}  // namespace krel
