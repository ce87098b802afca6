// clean_previous_formatting on the whole input.
//
// Checked: the result equals the model (every newline a space, then every
// run of spaces one space); it holds no newline and no two spaces in a row;
// cleaning it again changes nothing.
#include <cstdint>
#include <string>

#include "fuzz_support.hpp"
#include "krel/text_layout.hpp"
#include "models.hpp"

using krel_fuzz::expect;
using krel_fuzz::quoted;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::string const got = krel::str::clean_previous_formatting(text);
  std::string const want = krel_model::clean_previous_formatting(text);
  std::string const detail = "text " + quoted(text) + "\ngot  " + quoted(got);
  expect(got == want, "cleaning equals the model", detail + "\nwant " + quoted(want));
  expect(got.find('\n') == std::string::npos, "no newline is left", detail);
  expect(got.find("  ") == std::string::npos, "no two spaces are left", detail);
  expect(krel::str::clean_previous_formatting(got) == got, "cleaning is idempotent", detail);
  return 0;
}
