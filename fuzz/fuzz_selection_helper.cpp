// convert_to_selection_helper for double, float and long double on the
// whole input.
//
// Checked: value and position equal those of strtod, strtof and strtold on
// the text (up to its first NUL byte); no conversion throws
// std::invalid_argument and a range error std::out_of_range, with the
// message "stod", "stof" or "stold", and then nothing is stored.
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "fuzz_support.hpp"
#include "krel/str.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

template <typename Number>
bool same_number(Number a, Number b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return a == b && std::signbit(a) == std::signbit(b);
}

template <typename Number, typename Convert>
void check(std::string const& text, Convert convert, std::string const& name) {
  char const* const begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  Number const want = convert(begin, &end);
  bool const none = end == begin;
  bool const range = !none && errno == ERANGE;
  std::string const detail = name + " of " + quoted(text);

  Number value = Number(-42);
  unsigned long position = 12345;
  try {
    krel::str::convert_to_selection_helper(text, value, position);
    expect(!none && !range, "a failed conversion throws", detail);
    expect(same_number(value, want), "value equals the C library's", detail);
    expect(position == static_cast<unsigned long>(end - begin), "position counts the bytes read",
           detail + " got " + std::to_string(position));
  } catch (std::invalid_argument const& error) {
    expect(none && name == error.what(), "invalid-argument only without digits", detail);
    expect(value == Number(-42) && position == 12345, "nothing stored on failure", detail);
  } catch (std::out_of_range const& error) {
    expect(range && name == error.what(), "out-of-range only on a range error", detail);
    expect(value == Number(-42) && position == 12345, "nothing stored on failure", detail);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  check<double>(text, std::strtod, "stod");
  check<float>(text, std::strtof, "stof");
  check<long double>(text, std::strtold, "stold");
  return 0;
}
