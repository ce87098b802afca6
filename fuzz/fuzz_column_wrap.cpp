// column_wrap. Input fields: the width, the indent, options (first byte the
// separator, ':' when missing; an odd second byte hides the separator), the
// text.
//
// Checked: the result equals the plain model of the column steps (column end
// over the first separators, abandoned for plain wrapping past the width,
// values padded to one column, final newline kept as the text had it,
// continuation indent of column end + 2 spaces) on top of the model of
// word_wrap with its chosen rule for indents longer than the width; with the
// separator shown and an indent of spaces only, taking out every space and
// newline leaves the other bytes of the text in order.
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
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 4);
  int const width = krel_fuzz::leading_int(input[0]);
  std::string const& indent = input[1];
  char const separator = input[2].empty() ? ':' : input[2][0];
  bool const hide = input[2].size() > 1 && (input[2][1] & 1) != 0;
  std::string const& text = input[3];
  std::string const detail = "width " + std::to_string(width) + " indent " + quoted(indent) +
                             " separator " + quoted(std::string(1, separator)) +
                             (hide ? " hidden" : " shown") + " text " + quoted(text);

  std::string const got = krel::str::column_wrap(text, width, indent, separator, hide);
  std::string const want = krel_model::column_wrap(text, width, indent, separator, hide, terminal);
  expect(got == want, "column wrapping equals the model",
         detail + "\ngot  " + quoted(got) + "\nwant " + quoted(want));
  bool const blank_indent = indent.find_first_not_of(' ') == std::string::npos;
  if (!hide && blank_indent && (width > 0 || terminal > 0)) {
    expect(without_spaces_and_newlines(got) == without_spaces_and_newlines(text),
           "layout and wrapping only add spaces and breaks", detail + "\ngot " + quoted(got));
  }
  return 0;
}
