// space_wrap. Input fields: the width, the indent, the text.
//
// Checked: the result equals the plain model of the alignment passes (first
// spaces from the search start aligned to the furthest one, pass after pass,
// lines joined without a final newline) on top of the model of word_wrap;
// with a width too large to break anything, taking out the padding spaces
// leaves the non-space bytes of the text in order.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/text_layout.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;
using krel_fuzz::without_spaces_and_newlines;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static int const terminal = krel::str::terminal_width();
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 3);
  int const width = krel_fuzz::leading_int(input[0]);
  std::string const& indent = input[1];
  std::string const& text = input[2];
  std::string const detail =
      "width " + std::to_string(width) + " indent " + quoted(indent) + " text " + quoted(text);

  std::string const got = krel::str::space_wrap(text, width, indent);
  std::string const want = krel_model::space_wrap(text, width, indent, terminal);
  expect(got == want, "space wrapping equals the model",
         detail + "\ngot  " + quoted(got) + "\nwant " + quoted(want));
  bool const blank_indent = indent.find_first_not_of(' ') == std::string::npos;
  if (blank_indent && (width > 0 || terminal > 0)) {
    expect(without_spaces_and_newlines(got) == without_spaces_and_newlines(text),
           "alignment and wrapping only add spaces and breaks", detail + "\ngot " + quoted(got));
  }
  return 0;
}
