// get_lib_name on the whole input.
//
// Checked: the result equals the model (after the last '/', "lib" taken off
// a longer name, an exact final ".so" or ".a" cut); it holds no '/'; it is a
// substring of the path.
#include <cstdint>
#include <string>

#include "fuzz_support.hpp"
#include "krel/fs.hpp"
#include "models.hpp"

using krel_fuzz::expect;
using krel_fuzz::quoted;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const path(reinterpret_cast<char const*>(data), size);
  std::string const got = krel::str::get_lib_name(path);
  std::string const want = krel_model::get_lib_name(path);
  std::string const detail = "path " + quoted(path) + "\ngot  " + quoted(got);
  expect(got == want, "library name equals the model", detail + "\nwant " + quoted(want));
  expect(got.find('/') == std::string::npos, "no slash in the name", detail);
  expect(path.find(got) != std::string::npos, "the name is part of the path", detail);
  return 0;
}
