// strip, rstrip, fstrip, stripws, stripallws, squeeze, replace (and lower,
// upper, startswith, endswith, in_vect, string_search). Input fields: the
// text, the character set (its first byte is also the byte squeezed; the set
// is also the prefix, suffix and searched text), the text to replace, its
// replacement.
//
// Checked: every result equals the plain model of its steps; trimming is
// idempotent and leaves no set byte at the trimmed end; the text comes back
// as prefix + result + suffix; squeezing leaves no run of the byte;
// replacing an empty text changes nothing (the chosen rule for that case).
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/str.hpp"
#include "models.hpp"

namespace {

using krel_fuzz::expect;
using krel_fuzz::quoted;

void same(std::string const& got, std::string const& want, std::string const& what,
          std::string const& detail) {
  expect(got == want, what + " equals the model",
         detail + "\ngot  " + quoted(got) + "\nwant " + quoted(want));
}

void check_trimming(std::string const& s, std::string const& chars, std::string const& detail) {
  std::string const right = krel::str::rstrip(s, chars);
  std::string const left = krel::str::fstrip(s, chars);
  std::string const both = krel::str::strip(s, chars);
  same(right, krel_model::rstrip(s, chars), "rstrip", detail);
  same(left, krel_model::fstrip(s, chars), "fstrip", detail);
  same(both, krel_model::strip(s, chars), "strip", detail);
  expect(s.compare(0, right.size(), right) == 0, "rstrip keeps a prefix", detail);
  expect(s.size() >= left.size() && s.compare(s.size() - left.size(), left.size(), left) == 0,
         "fstrip keeps a suffix", detail);
  expect(s.find(both) != std::string::npos, "strip keeps a substring", detail);
  expect(krel::str::rstrip(right, chars) == right && krel::str::fstrip(left, chars) == left &&
             krel::str::strip(both, chars) == both,
         "trimming is idempotent", detail);
  expect(right.empty() || chars.find(right.back()) == std::string::npos,
         "rstrip leaves no set byte at the end", detail);
  expect(left.empty() || chars.find(left.front()) == std::string::npos,
         "fstrip leaves no set byte at the start", detail);
}

void check_white_space(std::string const& s, std::string const& detail) {
  std::string const trimmed = krel::str::stripws(s);
  same(trimmed, krel_model::stripws(s), "stripws", detail);
  same(krel::str::stripallws(s), krel_model::stripallws(s), "stripallws", detail);
  for (char c : s) {
    expect(krel::str::isSpace(c) == krel_model::is_space(c), "isSpace is the C locale's", detail);
  }
  same(krel::str::lower(s), krel_model::lower(s), "lower", detail);
  same(krel::str::upper(s), krel_model::upper(s), "upper", detail);
}

void check_squeeze(std::string const& s, char c, std::string const& detail) {
  std::string const squeezed = krel::str::squeeze(s, c);
  same(squeezed, krel_model::squeeze(s, c), "squeeze", detail);
  expect(squeezed.find(std::string(2, c)) == std::string::npos, "no run is left", detail);
}

void check_replace(std::string const& s, std::string const& from, std::string const& to,
                   std::string const& detail) {
  std::string const replaced = krel::str::replace(s, from, to);
  if (from.empty()) {
    expect(replaced == s, "replacing an empty text changes nothing", detail);
    return;
  }
  same(replaced, krel_model::replace(s, from, to), "replace", detail);
}

void check_searches(std::vector<std::string> const& input, std::string const& detail) {
  std::string const& s = input[0];
  std::string const& part = input[1];
  bool const prefix = s.size() >= part.size() && s.compare(0, part.size(), part) == 0;
  bool const suffix =
      s.size() >= part.size() && s.compare(s.size() - part.size(), part.size(), part) == 0;
  expect(krel::str::startswith(s, part) == prefix, "startswith", detail);
  expect(krel::str::endswith(s, part) == suffix, "endswith", detail);
  std::vector<std::string> const list = {input[0], input[2], input[3]};
  bool const listed = s == part || input[2] == part || input[3] == part;
  bool found = false;
  for (std::string const& element : list) {
    found = found || (!element.empty() && element.find(part) != std::string::npos);
  }
  expect(krel::str::in_vect(list, part) == listed, "in_vect", detail);
  expect(krel::str::string_search(list, part) == found, "string_search skips empty elements",
         detail);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const input = krel_fuzz::fields(data, size, 4);
  std::string const& s = input[0];
  std::string const& chars = input[1];
  std::string const detail = "text " + quoted(s) + " chars " + quoted(chars) + " from " +
                             quoted(input[2]) + " to " + quoted(input[3]);
  check_trimming(s, chars, detail);
  check_white_space(s, detail);
  check_squeeze(s, chars.empty() ? ' ' : chars[0], detail);
  check_replace(s, input[2], input[3], detail);
  check_searches(input, detail);
  return 0;
}
