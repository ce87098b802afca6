// TokenizedHost and get_merged_hosts on a list of host names, one per input
// line (empty lines are empty names).
//
// Checked: every name's tokens match the tokenising that krel/hostlist.hpp
// describes and write back to the name; the fold equals the plain model of the
// merging steps; it does not depend on the order of the names; a digit run
// above INT_MAX makes both throw std::out_of_range "stoi"; expanding the fold
// gives back exactly the distinct names, for names that host-list notation can
// carry (no brackets or commas, no blanks at either end; empty names too,
// unless all are empty, since the fold is then the blank notation that names
// nothing).
// The exported steps of the merging (the two partitions, their match tests,
// the choice of the folded position, the writing of one piece, the padding
// count) are each checked against the model too, since the fold itself need
// not go through them; an empty group writes its warning record and the fold
// writes none.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/hostlist.hpp"
#include "models.hpp"

namespace {

using krel::TokenizedHost;
using krel_fuzz::expect;
using krel_fuzz::quoted;

std::string written_back(TokenizedHost const& host) {
  std::string text;
  for (TokenizedHost::Token const& token : host.tokens) {
    text += token.type == TokenizedHost::TOKEN_INT
                ? TokenizedHost::get_zeroes_str(token.leading_zeroes) + std::to_string(token.number)
                : token.text;
  }
  return text;
}

void check_tokens(TokenizedHost const& host, std::vector<krel_model::Token> const& expected,
                  std::string const& name) {
  std::string const detail = "name " + quoted(name);
  expect(host.tokens.size() == expected.size(), "token count", detail);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    TokenizedHost::Token const& token = host.tokens[i];
    krel_model::Token const& want = expected[i];
    int const want_type = want.is_number ? TokenizedHost::TOKEN_INT : TokenizedHost::TOKEN_STR;
    expect(token.type == want_type && token.number == want.number && token.text == want.text &&
               token.leading_zeroes == want.leading_zeroes,
           "token " + std::to_string(i), detail);
    expect(i == 0 || host.tokens[i - 1].type != token.type, "tokens alternate", detail);
  }
  expect(written_back(host) == name, "tokens write back the name", detail);
}

void check_tokenizer(std::string const& name) {
  std::optional<std::vector<krel_model::Token>> const expected = krel_model::tokenize(name);
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
  std::optional<std::vector<krel_model::Token>> const c_expected = krel_model::tokenize(c_name);
  if (c_expected) check_tokens(TokenizedHost(c_name.c_str()), *c_expected, c_name);
}

bool notation_can_carry(std::string const& name) {
  if (name.find_first_of("[],") != std::string::npos) return false;
  return name.empty() ||
         (!krel_model::is_space(name.front()) && !krel_model::is_space(name.back()));
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

std::vector<std::string> written_back(std::vector<TokenizedHost> const& hosts) {
  std::vector<std::string> names;
  for (TokenizedHost const& host : hosts)
    names.push_back(written_back(host));
  return names;
}

void same_groups(std::vector<std::vector<TokenizedHost>> const& got, krel_model::Groups const& want,
                 std::vector<std::string> const& names, std::string const& what) {
  expect(got.size() == want.size(), what + ": group count", quoted(names));
  for (std::size_t g = 0; g < want.size(); ++g) {
    std::vector<std::string> want_names;
    for (std::size_t i : want[g])
      want_names.push_back(names[i]);
    expect(written_back(got[g]) == want_names, what + ": group " + std::to_string(g),
           "names " + quoted(names) + "\ngot  " + quoted(written_back(got[g])) + "\nwant " +
               quoted(want_names));
  }
}

template <typename T>
std::vector<T> picked(std::vector<T> const& all, std::vector<std::size_t> const& indexes) {
  std::vector<T> result;
  for (std::size_t i : indexes)
    result.push_back(all[i]);
  return result;
}

void check_match_tests(std::vector<TokenizedHost> const& hosts,
                       std::vector<krel_model::Host> const& models, std::string const& detail) {
  for (std::size_t i = 1; i < hosts.size(); ++i) {
    expect(TokenizedHost::host_merge_match_str(hosts[i - 1], hosts[i]) ==
               krel_model::same_texts(models[i - 1], models[i]),
           "host_merge_match_str equals the model", detail);
    for (unsigned long idx : {0UL, 1UL, 2UL, ULONG_MAX}) {
      expect(TokenizedHost::host_merge_match_int(hosts[i - 1], hosts[i], idx) ==
                 krel_model::same_fixed_numbers(models[i - 1], models[i], idx),
             "host_merge_match_int equals the model", detail + " idx " + std::to_string(idx));
    }
  }
}

void check_group(std::vector<TokenizedHost> const& group,
                 std::vector<krel_model::Host> const& models,
                 std::vector<std::string> const& names) {
  std::string const detail = "group " + quoted(names);
  if (group.size() == 1) {
    expect(TokenizedHost::get_merged_hosts_str(group, ULONG_MAX) == names[0],
           "a single host is written back", detail);
    return;
  }
  unsigned long const idx = TokenizedHost::get_token_idx(group);
  expect(idx == krel_model::token_idx(models), "get_token_idx equals the model",
         detail + " got " + std::to_string(idx));
  std::vector<std::vector<TokenizedHost>> const subgroups =
      TokenizedHost::get_host_sets_int(group, idx);
  krel_model::Groups const want = krel_model::groups_by_fixed_numbers(models, idx);
  same_groups(subgroups, want, names, "get_host_sets_int");
  for (std::size_t g = 0; g < want.size(); ++g) {
    std::string const piece = TokenizedHost::get_merged_hosts_str(subgroups[g], idx);
    std::string const want_piece = krel_model::merged_piece(picked(models, want[g]), idx);
    expect(piece == want_piece, "get_merged_hosts_str equals the model",
           detail + "\ngot  " + quoted(piece) + "\nwant " + quoted(want_piece));
  }
}

void check_steps(std::vector<std::string> const& names) {
  for (std::string const& name : names) {
    expect(TokenizedHost::count_leading_zeroes(name) == krel_model::count_leading_zeroes(name),
           "count_leading_zeroes equals the model", quoted(name));
  }
  std::vector<TokenizedHost> hosts;
  std::vector<krel_model::Host> models;
  for (std::string const& name : names) {
    std::optional<krel_model::Host> host = krel_model::tokenize(name);
    if (!host) return;
    models.push_back(*host);
    hosts.emplace_back(name);
  }
  std::string const detail = "names " + quoted(names);
  check_match_tests(hosts, models, detail);
  std::vector<std::vector<TokenizedHost>> const groups = TokenizedHost::get_host_sets_str(hosts);
  krel_model::Groups const want = krel_model::groups_by_texts(models);
  same_groups(groups, want, names, "get_host_sets_str");
  same_groups(TokenizedHost::get_host_sets_int(hosts, 1),
              krel_model::groups_by_fixed_numbers(models, 1), names,
              "get_host_sets_int over all names");
  for (std::size_t g = 0; g < want.size(); ++g) {
    check_group(groups[g], picked(models, want[g]), picked(names, want[g]));
  }
}

void check_empty_group() {
  krel_fuzz::RecordCapture& records = krel_fuzz::RecordCapture::instance();
  records.take();
  expect(TokenizedHost::get_merged_hosts_str({}, 0).empty(), "an empty group writes nothing");
  expect(records.take() == "attempted to merge empty host list\n",
         "an empty group writes the warning record");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  krel_fuzz::RecordCapture::instance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> const names = krel_fuzz::lines(text);
  for (std::string const& name : names)
    check_tokenizer(name);

  check_steps(names);
  check_empty_group();

  std::optional<std::string> const expected = krel_model::merged_hosts(names);
  std::string fold;
  krel_fuzz::RecordCapture::instance().take();
  try {
    fold = folded(names);
    expect(krel_fuzz::RecordCapture::instance().take().empty(), "folding writes no record",
           quoted(names));
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
