// word_wrap. Input fields: the width (a decimal number: negative, 0 and
// beyond the text all occur), the indent, the text.
//
// Checked: the result equals the plain model of the wrapping steps, with the
// chosen rule for an indent longer than the width (the rest of the line
// follows the indent unbroken); and, whenever a width is known, taking out
// every break (a newline and the indent put in place of one space) gives
// back the text exactly: words, their order, every other space and newline.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/text_layout.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

// Whether `wrapped` is `text` with some of its spaces replaced by a newline
// followed by `indent`. A break always starts with a newline where the text
// has a space, so the matching is never ambiguous.
bool only_breaks_added(std::string const& text, std::string const& wrapped,
                       std::string const& indent) {
  std::string const line_break = "\n" + indent;
  std::size_t j = 0;
  for (char c : text) {
    if (j < wrapped.size() && wrapped[j] == c) {
      ++j;
    } else if (c == ' ' && wrapped.compare(j, line_break.size(), line_break) == 0) {
      j += line_break.size();
    } else {
      return false;
    }
  }
  return j == wrapped.size();
}

int terminal_columns() {
  static int const columns = krel::str::terminal_width();
  return columns;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 3);
  int const width = krel_fuzz::leading_int(input[0]);
  std::string const& indent = input[1];
  std::string const& text = input[2];
  std::string const detail =
      "width " + std::to_string(width) + " indent " + quoted(indent) + " text " + quoted(text);

  std::string const got = krel::str::word_wrap(text, width, indent);
  std::string const want = krel_model::word_wrap(text, width, indent, terminal_columns());
  expect(got == want, "wrapping equals the model",
         detail + "\ngot  " + quoted(got) + "\nwant " + quoted(want));
  if (width > 0 || terminal_columns() > 0) {
    expect(only_breaks_added(text, got, indent), "taking out the breaks gives back the text",
           detail + "\ngot " + quoted(got));
  }
  return 0;
}
