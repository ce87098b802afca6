// split, with both flags. Input: the first byte is the delimiter, the rest
// the text.
//
// Checked: the fields equal those of a standard line reader over the
// (squeezed) text; joined with the delimiter they give back the text, less
// one final delimiter, when nothing was squeezed, and the squeezed text
// otherwise; no field holds the delimiter; squeezed fields are never empty
// except a first one.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/str.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

std::string joined(std::vector<std::string> const& fields, char delimiter) {
  std::string text;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i) text += delimiter;
    text += fields[i];
  }
  return text;
}

std::string without_final(std::string text, char delimiter) {
  if (!text.empty() && text.back() == delimiter) text.pop_back();
  return text;
}

void check(std::string const& text, char delimiter, bool squeeze_runs) {
  std::vector<std::string> const got = krel::str::split(text, delimiter, squeeze_runs);
  std::vector<std::string> const want = krel_model::split(text, delimiter, squeeze_runs);
  std::string const detail = "text " + quoted(text) + " delimiter " +
                             quoted(std::string(1, delimiter)) +
                             (squeeze_runs ? " squeezed" : " unsqueezed");
  expect(got == want, "fields equal the line reader's",
         detail + "\ngot  " + quoted(got) + "\nwant " + quoted(want));
  std::string const working = squeeze_runs ? krel_model::squeeze(text, delimiter) : text;
  expect(joined(got, delimiter) == without_final(working, delimiter),
         "joined fields give back the text", detail);
  for (std::size_t i = 0; i < got.size(); ++i) {
    expect(got[i].find(delimiter) == std::string::npos, "no field holds the delimiter", detail);
    expect(!squeeze_runs || i == 0 || !got[i].empty(), "squeezed fields are not empty", detail);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  char const delimiter = static_cast<char>(data[0]);
  std::string const text(reinterpret_cast<char const*>(data) + 1, size - 1);
  check(text, delimiter, false);
  check(text, delimiter, true);
  return 0;
}
