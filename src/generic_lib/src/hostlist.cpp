// Host names as tokens: TokenizedHost's tokenizer and the exported steps of
// host-list folding. get_merged_hosts, which folds whole lists, is in
// hostlist_merge.cpp, the expansion of notation in hostlist_expand.cpp, the
// number runs that folding writes in ranges.cpp.
#include "krel/hostlist.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hostlist_runs.hpp"
#include "internal/decimal.hpp"
#include "internal/first_appearance_classes.hpp"
#include "internal/hash.hpp"
#include "krel/ranges.hpp"
#include "record.hpp"

namespace krel {

namespace {

using hostlist_internal::run_end;
using internal::hash_finish;
using internal::hash_step;
using internal::kHashSeed;

constexpr char kRecordSource[] = "src/generic_lib/src/hostlist";

// The hosts split into classes of an equivalence relation (`same` on two
// hosts, respected by `hash`), classes by first appearance, members in order.
template <typename Hash, typename Same>
std::vector<std::vector<TokenizedHost>> partition_hosts(std::vector<TokenizedHost> const& hosts,
                                                        Hash&& hash, Same&& same) {
  std::vector<std::vector<TokenizedHost>> groups;
  internal::FirstAppearanceClasses classes;
  for (TokenizedHost const& host : hosts) {
    bool opened = false;
    std::uint32_t const group = classes.find_or_open(
        hash(host), [&](std::uint32_t c) { return same(groups[c].front(), host); }, opened);
    if (opened) groups.emplace_back();
    groups[group].push_back(host);
  }
  return groups;
}

}  // namespace

TokenizedHost::Token::Token() : type(TOKEN_INT), number(0), leading_zeroes(0) {}

TokenizedHost::Token::Token(int value) : type(TOKEN_INT), number(value), leading_zeroes(0) {}

TokenizedHost::Token::Token(std::string const& text)
    : type(TOKEN_STR), number(0), text(text), leading_zeroes(0) {}

TokenizedHost::Token::~Token() = default;

TokenizedHost::TokenizedHost(std::string name) {
  char const* const end = name.data() + name.size();
  std::size_t runs = 0;
  for (char const* run = name.data(); run != end; run = run_end(run, end))
    ++runs;
  tokens.reserve(runs);
  for (char const* run = name.data(); run != end;) {
    char const* const next = run_end(run, end);
    if (internal::is_digit(*run)) {
      hostlist_internal::Number const number = hostlist_internal::read_digit_run(run, next);
      tokens.emplace_back(number.value).leading_zeroes = number.zeroes;
    } else {
      // Filled in place: no temporary string per token.
      Token& token = tokens.emplace_back();
      token.type = TOKEN_STR;
      token.text.assign(run, next);
    }
    run = next;
  }
}

TokenizedHost::TokenizedHost(char const* name) : TokenizedHost(std::string(name)) {}

TokenizedHost::~TokenizedHost() = default;

int TokenizedHost::count_leading_zeroes(std::string const& digits) {
  return static_cast<int>(internal::padding_zeros(digits));
}

std::string TokenizedHost::get_zeroes_str(int count) {
  return internal::zero_string(count);
}

std::string TokenizedHost::get_merged_hosts_ints(std::vector<int> const& values, bool& multiple,
                                                 int zeroes) {
  return str::get_merged_ints(values, multiple, zeroes);
}

bool TokenizedHost::host_merge_match_str(TokenizedHost const& a, TokenizedHost const& b) {
  if (a.tokens.size() != b.tokens.size()) return false;
  for (std::size_t i = 0; i < a.tokens.size(); ++i) {
    Token const& x = a.tokens[i];
    Token const& y = b.tokens[i];
    if (x.type != y.type) return false;
    if (x.type == TOKEN_STR && x.text != y.text) return false;
  }
  return true;
}

bool TokenizedHost::host_merge_match_int(TokenizedHost const& a, TokenizedHost const& b,
                                         unsigned long idx) {
  if (a.tokens.size() != b.tokens.size()) return false;
  for (std::size_t i = 0; i < a.tokens.size(); ++i) {
    Token const& x = a.tokens[i];
    Token const& y = b.tokens[i];
    if (x.type != y.type) return false;
    if (x.type != TOKEN_INT) continue;
    if (x.leading_zeroes != y.leading_zeroes) return false;
    if (i != idx && x.number != y.number) return false;
  }
  return true;
}

std::vector<std::vector<TokenizedHost>> TokenizedHost::get_host_sets_str(
    std::vector<TokenizedHost> const& hosts) {
  // The hash covers exactly what host_merge_match_str compares.
  auto const hash = [](TokenizedHost const& host) {
    std::uint64_t h = hash_step(kHashSeed, host.tokens.size());
    for (Token const& token : host.tokens) {
      h = hash_step(h, static_cast<std::uint32_t>(token.type));
      if (token.type == TOKEN_STR)
        h = internal::hash_bytes(h, token.text.data(), token.text.size());
    }
    return hash_finish(h);
  };
  return partition_hosts(hosts, hash, host_merge_match_str);
}

std::vector<std::vector<TokenizedHost>> TokenizedHost::get_host_sets_int(
    std::vector<TokenizedHost> const& hosts, unsigned long idx) {
  // The hash covers exactly what host_merge_match_int compares.
  auto const hash = [idx](TokenizedHost const& host) {
    std::uint64_t h = hash_step(kHashSeed, host.tokens.size());
    for (std::size_t t = 0; t < host.tokens.size(); ++t) {
      Token const& token = host.tokens[t];
      h = hash_step(h, static_cast<std::uint32_t>(token.type));
      if (token.type != TOKEN_INT) continue;
      h = hash_step(h, static_cast<std::uint32_t>(token.leading_zeroes));
      if (t != idx) h = hash_step(h, static_cast<std::uint32_t>(token.number));
    }
    return hash_finish(h);
  };
  auto const same = [idx](TokenizedHost const& a, TokenizedHost const& b) {
    return host_merge_match_int(a, b, idx);
  };
  return partition_hosts(hosts, hash, same);
}

unsigned long TokenizedHost::get_token_idx(std::vector<TokenizedHost> hosts) {
  if (hosts.empty()) return 0;
  std::vector<Token> const& first = hosts.front().tokens;
  unsigned long best = 0;
  std::size_t best_count = 0;
  std::vector<int> values;
  values.reserve(hosts.size());
  for (std::size_t position = 0; position < first.size(); ++position) {
    if (first[position].type != TOKEN_INT) continue;
    values.clear();
    // A host shorter than the first has nothing at this position; callers
    // never pass one, and it must not be read past its end.
    for (TokenizedHost const& host : hosts) {
      if (position < host.tokens.size()) values.push_back(host.tokens[position].number);
    }
    std::size_t const count = hostlist_internal::count_distinct(values);
    if (count > best_count) {
      best = position;
      best_count = count;
    }
  }
  return best;
}

std::string TokenizedHost::get_merged_hosts_str(std::vector<TokenizedHost> const& hosts,
                                                unsigned long idx) {
  if (hosts.empty()) {
    KREL_RECORD(4) << "attempted to merge empty host list";
    return std::string();
  }
  std::string piece;
  std::vector<Token> const& first = hosts.front().tokens;
  for (std::size_t position = 0; position < first.size(); ++position) {
    Token const& token = first[position];
    if (token.type != TOKEN_INT) {
      piece += token.text;
    } else if (position != idx) {
      hostlist_internal::append_after_zeros(piece, token.leading_zeroes, token.number);
    } else {
      std::vector<int> values;
      values.reserve(hosts.size());
      for (TokenizedHost const& host : hosts) {
        if (position < host.tokens.size()) values.push_back(host.tokens[position].number);
      }
      bool multiple = false;
      std::string const folded = get_merged_hosts_ints(values, multiple, token.leading_zeroes);
      if (multiple) {
        piece.append("[").append(folded).append("]");
      } else {
        piece += folded;
      }
    }
  }
  return piece;
}

}  // namespace krel
