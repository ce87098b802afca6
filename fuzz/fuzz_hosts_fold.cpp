// TokenizedHost and get_merged_hosts on a list of host names, one per input
// line (empty lines are empty names).
//
// Checked: every name's tokens match the documented tokenising and write
// back to the name; the fold equals the plain model of the merging steps; it
// does not depend on the order of the names; a digit run above INT_MAX makes
// both throw std::out_of_range "stoi"; expanding the fold gives back exactly
// the distinct names, for names that host-list notation can carry (no
// brackets or commas, no blanks at either end; empty names too, unless all
// are empty, since the fold is then the blank notation that names nothing).
#include <algorithm>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/hostlist.hpp"
#include "reference.hpp"

namespace {

using krel::TokenizedHost;
using krel_fuzz::expect;
using krel_fuzz::quoted;
namespace model = krel_fuzz::model;

std::string written_back(TokenizedHost const& host) {
  std::string text;
  for (TokenizedHost::Token const& token : host.tokens) {
    text += token.type == TokenizedHost::TOKEN_INT
                ? TokenizedHost::get_zeroes_str(token.leading_zeroes) + std::to_string(token.number)
                : token.text;
  }
  return text;
}

void check_tokens(TokenizedHost const& host, std::vector<model::Token> const& expected,
                  std::string const& name) {
  std::string const detail = "name " + quoted(name);
  expect(host.tokens.size() == expected.size(), "token count", detail);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    TokenizedHost::Token const& token = host.tokens[i];
    model::Token const& want = expected[i];
    int const want_type = want.is_number ? TokenizedHost::TOKEN_INT : TokenizedHost::TOKEN_STR;
    expect(token.type == want_type && token.number == want.number && token.text == want.text &&
               token.leading_zeroes == want.leading_zeroes,
           "token " + std::to_string(i), detail);
    expect(i == 0 || host.tokens[i - 1].type != token.type, "tokens alternate", detail);
  }
  expect(written_back(host) == name, "tokens write back the name", detail);
}

void check_tokenizer(std::string const& name) {
  std::optional<std::vector<model::Token>> const expected = model::tokenize(name);
  try {
    TokenizedHost const host(name);
    expect(expected.has_value(), "digit run above INT_MAX throws", "name " + quoted(name));
    check_tokens(host, *expected, name);
  } catch (std::out_of_range const& error) {
    expect(!expected && std::string(error.what()) == "stoi", "only an INT_MAX overflow throws",
           "name " + quoted(name) + " what " + error.what());
  }
  // The C-string constructor sees the name up to its first NUL byte.
  std::string const c_name(name.c_str());
  std::optional<std::vector<model::Token>> const c_expected = model::tokenize(c_name);
  if (c_expected) check_tokens(TokenizedHost(c_name.c_str()), *c_expected, c_name);
}

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool notation_can_carry(std::string const& name) {
  if (name.find_first_of("[],") != std::string::npos) return false;
  return name.empty() || (!is_blank(name.front()) && !is_blank(name.back()));
}

std::string folded(std::vector<std::string> const& names) {
  try {
    return TokenizedHost::get_merged_hosts(names);
  } catch (std::out_of_range const& error) {
    expect(std::string(error.what()) == "stoi", "fold throws only \"stoi\"", error.what());
    throw;
  }
}

void check_round_trip(std::vector<std::string> const& names, std::string const& fold) {
  if (!std::all_of(names.begin(), names.end(), notation_can_carry) || fold.empty()) return;
  std::vector<std::string> const expanded = TokenizedHost::expand_hosts(fold);
  std::set<std::string> const got(expanded.begin(), expanded.end());
  std::set<std::string> const want(names.begin(), names.end());
  expect(got == want, "expanding the fold gives the distinct names",
         "names " + quoted(names) + "\nfold " + quoted(fold) + "\nexpanded " + quoted(expanded));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> const names = krel_fuzz::lines(text);
  for (std::string const& name : names)
    check_tokenizer(name);

  std::optional<std::string> const expected = model::merged_hosts(names);
  std::string fold;
  try {
    fold = folded(names);
  } catch (std::out_of_range const&) {
    expect(!expected.has_value(), "fold throws only for a digit run above INT_MAX", quoted(names));
    return 0;
  }
  expect(expected.has_value(), "a digit run above INT_MAX makes the fold throw", quoted(names));
  expect(fold == *expected, "fold equals the model",
         "names " + quoted(names) + "\ngot  " + quoted(fold) + "\nwant " + quoted(*expected));

  std::vector<std::string> reordered(names.rbegin(), names.rend());
  expect(folded(reordered) == fold, "fold independent of order (reversed)", quoted(names));
  std::rotate(reordered.begin(), reordered.begin() + reordered.size() / 2, reordered.end());
  expect(folded(reordered) == fold, "fold independent of order (rotated)", quoted(names));
  std::sort(reordered.begin(), reordered.end());
  expect(folded(reordered) == fold, "fold independent of order (sorted)", quoted(names));

  check_round_trip(names, fold);
  return 0;
}
