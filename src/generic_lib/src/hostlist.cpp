#include "krel/hostlist.hpp"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "krel/str.hpp"
#include "record.hpp"

namespace krel {

// ---------------------------------------------------------------------------
// Tokens, tokenising and merging
// ---------------------------------------------------------------------------

namespace {

constexpr char kRecordSource[] = "src/generic_lib/src/hostlist";

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Padding zeros of a non-empty digit run; an all-zero run keeps its last zero
// as the value's own digit.
int run_padding(char const* begin, char const* end) {
  char const* first_non_zero = begin;
  while (first_non_zero != end && *first_non_zero == '0')
    ++first_non_zero;
  if (first_non_zero == end) return static_cast<int>(end - begin) - 1;
  return static_cast<int>(first_non_zero - begin);
}

// The value of a non-empty digit run, as std::stoi reads it: a run above
// INT_MAX (padding zeros not counted) throws std::out_of_range("stoi").
int run_value(char const* begin, char const* end) {
  while (end - begin > 1 && *begin == '0')
    ++begin;
  constexpr std::ptrdiff_t kMaxIntDigits = 10;
  if (end - begin > kMaxIntDigits) throw std::out_of_range("stoi");
  std::uint64_t value = 0;
  for (; begin != end; ++begin)
    value = value * 10 + static_cast<std::uint64_t>(*begin - '0');
  if (value > static_cast<std::uint64_t>(INT_MAX)) throw std::out_of_range("stoi");
  return static_cast<int>(value);
}

// Calls on_text(begin, end) for every text run and on_number(begin, end) for
// every digit run of `name`, in order.
template <typename OnText, typename OnNumber>
void for_each_run(std::string_view name, OnText&& on_text, OnNumber&& on_number) {
  char const* const end = name.data() + name.size();
  char const* run = name.data();
  while (run != end) {
    bool const digits = is_digit(*run);
    char const* run_end = run + 1;
    while (run_end != end && is_digit(*run_end) == digits)
      ++run_end;
    if (digits) {
      on_number(run, run_end);
    } else {
      on_text(run, run_end);
    }
    run = run_end;
  }
}

void append_number(std::string& out, int zeroes, int number) {
  if (zeroes > 0) out.append(static_cast<std::size_t>(zeroes), '0');
  out += std::to_string(number);
}

// 64-bit FNV-1a steps: cheap, and good enough to spread the keys of the
// partitions below; equal keys always hash equally, which is all that
// correctness needs.
constexpr std::uint64_t kHashSeed = 0xcbf29ce484222325ULL;
constexpr std::uint64_t kHashPrime = 0x100000001b3ULL;

std::uint64_t hash_step(std::uint64_t hash, std::uint64_t value) {
  return (hash ^ value) * kHashPrime;
}

std::uint64_t hash_finish(std::uint64_t hash) {
  hash ^= hash >> 33;
  hash *= 0xff51afd7ed558ccdULL;
  hash ^= hash >> 33;
  return hash;
}

std::uint64_t hash_text(std::uint64_t hash, std::string const& text) {
  for (char const c : text)
    hash = hash_step(hash, static_cast<unsigned char>(c));
  return hash;
}

// Partitions items 0..count-1 into classes of `same`, an equivalence relation
// that `hash` respects. Gives each item its class number; classes are
// numbered in order of first appearance, exactly as testing every item
// against the first member of every earlier class would number them, but in
// linear time.
template <typename Hash, typename Same>
std::vector<std::uint32_t> classes_by_first_appearance(std::size_t count, Hash&& hash, Same&& same,
                                                       std::vector<std::size_t>& first_members) {
  struct Slot {
    std::uint64_t hash;
    std::uint32_t class_plus_one;  // 0: empty slot
  };
  std::vector<std::uint32_t> class_of(count);
  first_members.clear();
  std::vector<Slot> slots(16, Slot{0, 0});
  std::size_t mask = slots.size() - 1;
  for (std::size_t item = 0; item < count; ++item) {
    std::uint64_t const item_hash = hash(item);
    std::size_t slot = static_cast<std::size_t>(item_hash) & mask;
    for (;;) {
      Slot const& probe = slots[slot];
      if (probe.class_plus_one == 0) break;
      if (probe.hash == item_hash && same(item, first_members[probe.class_plus_one - 1])) break;
      slot = (slot + 1) & mask;
    }
    if (slots[slot].class_plus_one != 0) {
      class_of[item] = slots[slot].class_plus_one - 1;
      continue;
    }
    auto const new_class = static_cast<std::uint32_t>(first_members.size());
    first_members.push_back(item);
    class_of[item] = new_class;
    slots[slot] = Slot{item_hash, new_class + 1};
    if (first_members.size() * 2 > slots.size()) {
      std::vector<Slot> grown(slots.size() * 2, Slot{0, 0});
      std::size_t const grown_mask = grown.size() - 1;
      for (Slot const& old : slots) {
        if (old.class_plus_one == 0) continue;
        std::size_t at = static_cast<std::size_t>(old.hash) & grown_mask;
        while (grown[at].class_plus_one != 0)
          at = (at + 1) & grown_mask;
        grown[at] = old;
      }
      slots.swap(grown);
      mask = grown_mask;
    }
  }
  return class_of;
}

// The members of every class, class after class, each class in item order:
// members[starts[c] .. starts[c + 1]) are the items of class c.
void members_by_class(std::vector<std::uint32_t> const& class_of, std::size_t class_count,
                      std::vector<std::uint32_t>& members, std::vector<std::size_t>& starts) {
  starts.assign(class_count + 1, 0);
  for (std::uint32_t const c : class_of)
    ++starts[c + 1];
  for (std::size_t c = 0; c < class_count; ++c)
    starts[c + 1] += starts[c];
  members.resize(class_of.size());
  std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
  for (std::size_t item = 0; item < class_of.size(); ++item) {
    members[next[class_of[item]]++] = static_cast<std::uint32_t>(item);
  }
}

// How many different values `values` holds; reorders it.
std::size_t count_distinct(std::vector<int>& values) {
  std::sort(values.begin(), values.end());
  return static_cast<std::size_t>(std::unique(values.begin(), values.end()) - values.begin());
}

template <typename Group>
std::vector<std::vector<TokenizedHost>> gather_classes(std::vector<TokenizedHost> const& hosts,
                                                       Group&& classes) {
  std::vector<std::size_t> first_members;
  std::vector<std::uint32_t> const class_of = classes(first_members);
  std::vector<std::vector<TokenizedHost>> groups(first_members.size());
  for (std::size_t i = 0; i < hosts.size(); ++i)
    groups[class_of[i]].push_back(hosts[i]);
  return groups;
}

// The host list as get_merged_hosts sees it: for every name the hash of its
// shape and texts and its numbers, kept flat so that a million names cost a
// handful of allocations rather than millions.
class ScannedNames {
 public:
  struct Number {
    int value;
    int zeroes;
  };

  explicit ScannedNames(std::vector<std::string> const& names) : names_(names) {
    shape_hashes_.resize(names.size());
    number_starts_.resize(names.size() + 1);
    numbers_.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      std::uint64_t hash = kHashSeed;
      number_starts_[i] = numbers_.size();
      for_each_run(
          names[i],
          [&hash](char const* begin, char const* end) {
            for (; begin != end; ++begin)
              hash = hash_step(hash, static_cast<unsigned char>(*begin));
          },
          [this, &hash](char const* begin, char const* end) {
            // A marker outside the byte range stands for the whole number.
            hash = hash_step(hash, 0x100);
            numbers_.push_back(Number{run_value(begin, end), run_padding(begin, end)});
          });
      shape_hashes_[i] = hash_finish(hash);
    }
    number_starts_[names.size()] = numbers_.size();
  }

  std::size_t size() const { return names_.size(); }
  std::string const& name(std::size_t i) const { return names_[i]; }
  std::uint64_t shape_hash(std::size_t i) const { return shape_hashes_[i]; }
  std::size_t number_count(std::size_t i) const {
    return number_starts_[i + 1] - number_starts_[i];
  }
  Number const* numbers(std::size_t i) const { return numbers_.data() + number_starts_[i]; }

  // Same token count, same types and the same texts: digit runs match any
  // digit run, every other byte must be equal.
  bool same_shape_and_texts(std::size_t a, std::size_t b) const {
    std::string const& x = names_[a];
    std::string const& y = names_[b];
    std::size_t i = 0;
    std::size_t j = 0;
    for (;;) {
      if (i == x.size() || j == y.size()) return i == x.size() && j == y.size();
      bool const digit = is_digit(x[i]);
      if (digit != is_digit(y[j])) return false;
      if (digit) {
        while (i < x.size() && is_digit(x[i]))
          ++i;
        while (j < y.size() && is_digit(y[j]))
          ++j;
      } else {
        if (x[i] != y[j]) return false;
        ++i;
        ++j;
      }
    }
  }

 private:
  std::vector<std::string> const& names_;
  std::vector<std::uint64_t> shape_hashes_;
  std::vector<std::size_t> number_starts_;
  std::vector<Number> numbers_;
};

// Within one group of equal shape and texts: which number to fold. The one
// with the most distinct values, the leftmost on ties.
std::size_t number_to_fold(ScannedNames const& scanned, std::uint32_t const* members,
                           std::size_t member_count) {
  std::size_t const numbers = scanned.number_count(members[0]);
  if (numbers < 2) return 0;
  std::size_t best = 0;
  std::size_t best_count = 0;
  std::vector<int> values(member_count);
  for (std::size_t n = 0; n < numbers; ++n) {
    for (std::size_t m = 0; m < member_count; ++m) {
      values[m] = scanned.numbers(members[m])[n].value;
    }
    std::size_t const count = count_distinct(values);
    if (count > best_count) {
      best = n;
      best_count = count;
    }
  }
  return best;
}

// The name with its `fold`th digit run replaced by `folded`. Every other digit
// run writes back as itself, so the rest of the name is copied as it stands.
std::string replace_number(std::string const& name, std::size_t fold, std::string const& folded) {
  std::size_t seen = 0;
  std::size_t at = 0;
  while (at < name.size()) {
    std::size_t run_end = at + 1;
    bool const digits = is_digit(name[at]);
    while (run_end < name.size() && is_digit(name[run_end]) == digits)
      ++run_end;
    if (digits && seen++ == fold) {
      std::string piece;
      piece.reserve(name.size() - (run_end - at) + folded.size());
      piece.append(name, 0, at).append(folded).append(name, run_end, std::string::npos);
      return piece;
    }
    at = run_end;
  }
  return name;
}

// Folds one group of names of equal shape and texts into pieces, appended
// to `pieces`.
void fold_group(ScannedNames const& scanned, std::uint32_t const* members, std::size_t member_count,
                std::vector<std::string>& pieces) {
  std::size_t const numbers = scanned.number_count(members[0]);
  if (numbers == 0) {
    // Equal texts and no numbers: every member is the same name.
    pieces.push_back(scanned.name(members[0]));
    return;
  }
  std::size_t const fold = number_to_fold(scanned, members, member_count);

  // Second partition: the same paddings everywhere and the same numbers away
  // from the folded one.
  auto const hash = [&](std::size_t m) {
    ScannedNames::Number const* own = scanned.numbers(members[m]);
    std::uint64_t h = kHashSeed;
    for (std::size_t n = 0; n < numbers; ++n) {
      h = hash_step(h, static_cast<std::uint32_t>(own[n].zeroes));
      if (n != fold) h = hash_step(h, static_cast<std::uint32_t>(own[n].value));
    }
    return hash_finish(h);
  };
  auto const same = [&](std::size_t a, std::size_t b) {
    ScannedNames::Number const* x = scanned.numbers(members[a]);
    ScannedNames::Number const* y = scanned.numbers(members[b]);
    for (std::size_t n = 0; n < numbers; ++n) {
      if (x[n].zeroes != y[n].zeroes) return false;
      if (n != fold && x[n].value != y[n].value) return false;
    }
    return true;
  };
  std::vector<std::size_t> first_members;
  std::vector<std::uint32_t> const subgroup_of =
      classes_by_first_appearance(member_count, hash, same, first_members);
  std::vector<std::uint32_t> order;
  std::vector<std::size_t> starts;
  members_by_class(subgroup_of, first_members.size(), order, starts);

  std::vector<int> values;
  for (std::size_t s = 0; s < first_members.size(); ++s) {
    values.clear();
    for (std::size_t k = starts[s]; k < starts[s + 1]; ++k) {
      values.push_back(scanned.numbers(members[order[k]])[fold].value);
    }
    std::uint32_t const first = members[order[starts[s]]];
    bool multiple = false;
    std::string const folded =
        str::get_merged_ints(values, multiple, scanned.numbers(first)[fold].zeroes);
    pieces.push_back(
        replace_number(scanned.name(first), fold, multiple ? "[" + folded + "]" : folded));
  }
}

}  // namespace

TokenizedHost::Token::Token() : type(TOKEN_INT), number(0), leading_zeroes(0) {}

TokenizedHost::Token::Token(int value) : type(TOKEN_INT), number(value), leading_zeroes(0) {}

TokenizedHost::Token::Token(std::string const& text)
    : type(TOKEN_STR), number(0), text(text), leading_zeroes(0) {}

TokenizedHost::Token::~Token() = default;

TokenizedHost::TokenizedHost(std::string name) {
  std::size_t runs = 0;
  for_each_run(
      name, [&runs](char const*, char const*) { ++runs; },
      [&runs](char const*, char const*) { ++runs; });
  tokens.reserve(runs);
  for_each_run(
      name,
      [this](char const* begin, char const* end) {
        Token& token = tokens.emplace_back();
        token.type = TOKEN_STR;
        token.text.assign(begin, end);
      },
      [this](char const* begin, char const* end) {
        Token& token = tokens.emplace_back(run_value(begin, end));
        token.leading_zeroes = run_padding(begin, end);
      });
}

TokenizedHost::TokenizedHost(char const* name) : TokenizedHost(std::string(name)) {}

TokenizedHost::~TokenizedHost() = default;

int TokenizedHost::count_leading_zeroes(std::string const& digits) {
  if (digits.empty()) return 0;
  std::size_t const first_non_zero = digits.find_first_not_of('0');
  if (first_non_zero != std::string::npos) return static_cast<int>(first_non_zero);
  return static_cast<int>(digits.size()) - 1;
}

std::string TokenizedHost::get_zeroes_str(int count) {
  if (count <= 0) return std::string();
  return std::string(static_cast<std::size_t>(count), '0');
}

std::string TokenizedHost::get_merged_hosts_ints(std::vector<int> const& values, bool& multiple,
                                                 int zeroes) {
  return str::get_merged_ints(values, multiple, zeroes);
}

std::string TokenizedHost::get_merged_hosts(std::vector<std::string> const& names) {
  if (names.empty()) return std::string();
  ScannedNames const scanned(names);

  std::vector<std::size_t> first_members;
  std::vector<std::uint32_t> const group_of = classes_by_first_appearance(
      scanned.size(), [&scanned](std::size_t i) { return scanned.shape_hash(i); },
      [&scanned](std::size_t a, std::size_t b) { return scanned.same_shape_and_texts(a, b); },
      first_members);
  std::vector<std::uint32_t> members;
  std::vector<std::size_t> starts;
  members_by_class(group_of, first_members.size(), members, starts);

  // A single name is its own piece; only larger groups are folded.
  std::vector<std::string> folded_pieces;
  std::vector<std::string_view> pieces;
  pieces.reserve(first_members.size());
  for (std::size_t g = 0; g < first_members.size(); ++g) {
    std::size_t const count = starts[g + 1] - starts[g];
    if (count == 1) {
      pieces.emplace_back(names[first_members[g]]);
    } else {
      fold_group(scanned, members.data() + starts[g], count, folded_pieces);
    }
  }
  for (std::string const& piece : folded_pieces)
    pieces.emplace_back(piece);

  std::sort(pieces.begin(), pieces.end());
  std::size_t length = pieces.size() > 1 ? 2 * (pieces.size() - 1) : 0;
  for (std::string_view const piece : pieces)
    length += piece.size();
  std::string result;
  result.reserve(length);
  for (std::size_t p = 0; p < pieces.size(); ++p) {
    if (p != 0) result += ", ";
    result += pieces[p];
  }
  return result;
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
  auto const hash = [&hosts](std::size_t i) {
    std::uint64_t h = hash_step(kHashSeed, hosts[i].tokens.size());
    for (Token const& token : hosts[i].tokens) {
      h = hash_step(h, static_cast<std::uint32_t>(token.type));
      if (token.type == TOKEN_STR) h = hash_text(h, token.text);
    }
    return hash_finish(h);
  };
  auto const same = [&hosts](std::size_t a, std::size_t b) {
    return host_merge_match_str(hosts[a], hosts[b]);
  };
  return gather_classes(hosts, [&](std::vector<std::size_t>& first_members) {
    return classes_by_first_appearance(hosts.size(), hash, same, first_members);
  });
}

std::vector<std::vector<TokenizedHost>> TokenizedHost::get_host_sets_int(
    std::vector<TokenizedHost> const& hosts, unsigned long idx) {
  // The hash covers exactly what host_merge_match_int compares.
  auto const hash = [&hosts, idx](std::size_t i) {
    std::vector<Token> const& tokens = hosts[i].tokens;
    std::uint64_t h = hash_step(kHashSeed, tokens.size());
    for (std::size_t t = 0; t < tokens.size(); ++t) {
      h = hash_step(h, static_cast<std::uint32_t>(tokens[t].type));
      if (tokens[t].type != TOKEN_INT) continue;
      h = hash_step(h, static_cast<std::uint32_t>(tokens[t].leading_zeroes));
      if (t != idx) h = hash_step(h, static_cast<std::uint32_t>(tokens[t].number));
    }
    return hash_finish(h);
  };
  auto const same = [&hosts, idx](std::size_t a, std::size_t b) {
    return host_merge_match_int(hosts[a], hosts[b], idx);
  };
  return gather_classes(hosts, [&](std::vector<std::size_t>& first_members) {
    return classes_by_first_appearance(hosts.size(), hash, same, first_members);
  });
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
    std::size_t const count = count_distinct(values);
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
      append_number(piece, token.leading_zeroes, token.number);
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

// ---------------------------------------------------------------------------
// Expansion of host-list notation: TokenizedHost::expand_hosts.
//
// Kept in a block of its own. The notation is read in two passes: the first
// checks every piece and works out how many names it stands for, the second
// writes the names into a vector reserved to the exact size. Nothing is
// generated before the whole notation is known to be good and small enough.
// ---------------------------------------------------------------------------

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "krel/hostlist.hpp"
#include "record.hpp"

namespace krel {
namespace {
namespace expansion {

constexpr char kRecordSource[] = "src/generic_lib/src/hostlist";
// Values up to 10^18 - 1 fit an unsigned 64-bit count with room to spare.
constexpr std::size_t kMaxSignificantDigits = 18;
constexpr std::uint64_t kSaturated = std::numeric_limits<std::uint64_t>::max();

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view trim_blanks(std::string_view text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && is_blank(text[begin]))
    ++begin;
  while (end > begin && is_blank(text[end - 1]))
    --end;
  return text.substr(begin, end - begin);
}

std::uint64_t saturating_add(std::uint64_t a, std::uint64_t b) {
  return a > kSaturated - b ? kSaturated : a + b;
}

std::uint64_t saturating_multiply(std::uint64_t a, std::uint64_t b) {
  if (a == 0 || b == 0) return 0;
  return a > kSaturated / b ? kSaturated : a * b;
}

// One item of a bracket: `count` consecutive values, the first written as
// `first_text`. Each next value is the previous text plus one, where a carry
// never eats into the first `carry_floor` characters: those are padding that
// every value keeps ("09" with floor 1 is followed by "010", "09" with floor
// 0 by "10").
struct RunItem {
  std::string_view first_text;
  std::uint64_t count = 0;
  std::size_t carry_floor = 0;
};

// A bracket and the text in front of it.
struct Bracket {
  std::string_view text_before;
  std::size_t first_item = 0;
  std::size_t item_count = 0;
};

// A piece: its brackets in order and the text after the last one (the whole
// name when it has no bracket).
struct Piece {
  std::size_t first_bracket = 0;
  std::size_t bracket_count = 0;
  std::string_view tail;
};

struct Layout {
  std::vector<RunItem> items;
  std::vector<Bracket> brackets;
  std::vector<Piece> pieces;
};

// Why a piece cannot be expanded; empty when it can.
using Problem = std::string;

std::string quoted(std::string_view text) {
  std::string result;
  result.reserve(text.size() + 2);
  result += '"';
  result += text;
  result += '"';
  return result;
}

// Padding zeros in front of a digit run; in a run of zeros only, the last
// zero is the value's own digit.
std::size_t padding_zeros(std::string_view digits) {
  std::size_t zeros = 0;
  while (zeros < digits.size() && digits[zeros] == '0')
    ++zeros;
  return zeros == digits.size() && zeros > 0 ? zeros - 1 : zeros;
}

// Reads a bound: digits only. Returns false when it is not one.
bool read_bound(std::string_view digits, std::uint64_t& value, Problem& problem,
                std::string_view item) {
  if (digits.empty()) {
    problem = "bad item " + quoted(item);
    return false;
  }
  for (char c : digits) {
    if (!is_digit(c)) {
      problem = "bad item " + quoted(item);
      return false;
    }
  }
  std::size_t const significant = digits.size() - padding_zeros(digits);
  if (significant > kMaxSignificantDigits) {
    problem = "number too large " + quoted(item);
    return false;
  }
  value = 0;
  for (char c : digits)
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  return true;
}

// Reads one item, "n" or "a-b", into `run`.
Problem read_item(std::string_view raw_item, RunItem& run) {
  Problem problem;
  std::string_view const item = trim_blanks(raw_item);
  std::size_t const dash = item.find('-');
  std::string_view const low_text =
      trim_blanks(dash == std::string_view::npos ? item : item.substr(0, dash));
  std::string_view const high_text =
      dash == std::string_view::npos ? low_text : trim_blanks(item.substr(dash + 1));
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  if (!read_bound(low_text, low, problem, item) || !read_bound(high_text, high, problem, item))
    return problem;
  if (low > high) return "descending range " + quoted(item);
  run.first_text = low_text;
  run.count = high - low + 1;
  // Bounds of one width: every value is padded to that width, so a carry may
  // run into the padding. Bounds of different widths: every value keeps the
  // low bound's padding zeros in front of its own digits.
  run.carry_floor = low_text.size() == high_text.size() ? 0 : padding_zeros(low_text);
  return problem;
}

// Reads the inside of one bracket, adding its items to the layout; `count`
// receives the number of values it names.
Problem read_bracket(std::string_view inside, Layout& layout, std::uint64_t& count) {
  if (trim_blanks(inside).empty()) return "empty brackets";
  count = 0;
  std::size_t begin = 0;
  while (true) {
    std::size_t const comma = inside.find(',', begin);
    std::size_t const end = comma == std::string_view::npos ? inside.size() : comma;
    RunItem run;
    Problem problem = read_item(inside.substr(begin, end - begin), run);
    if (!problem.empty()) return problem;
    layout.items.push_back(run);
    count = saturating_add(count, run.count);
    if (comma == std::string_view::npos) return problem;
    begin = comma + 1;
  }
}

// Reads one trimmed piece whose brackets are balanced and not nested.
Problem read_piece(std::string_view text, Layout& layout, std::uint64_t& count) {
  Piece piece;
  piece.first_bracket = layout.brackets.size();
  count = 1;
  std::size_t position = 0;
  while (true) {
    std::size_t const open = text.find('[', position);
    if (open == std::string_view::npos) break;
    std::size_t const close = text.find(']', open);
    Bracket bracket;
    bracket.text_before = text.substr(position, open - position);
    bracket.first_item = layout.items.size();
    std::uint64_t values = 0;
    Problem problem = read_bracket(text.substr(open + 1, close - open - 1), layout, values);
    if (!problem.empty()) return problem;
    bracket.item_count = layout.items.size() - bracket.first_item;
    layout.brackets.push_back(bracket);
    count = saturating_multiply(count, values);
    position = close + 1;
  }
  piece.bracket_count = layout.brackets.size() - piece.first_bracket;
  piece.tail = text.substr(position);
  layout.pieces.push_back(piece);
  return Problem();
}

// The end of the piece that starts at `begin`: the next comma outside
// brackets, or the end of the notation. Bracket trouble met on the way is
// put into `problem`; the scan goes on to the end of the piece anyway so
// that the record can name all of it.
std::size_t find_piece_end(std::string_view notation, std::size_t begin, Problem& problem) {
  int depth = 0;
  for (std::size_t i = begin; i < notation.size(); ++i) {
    char const c = notation[i];
    if (c == '[') {
      if (depth > 0 && problem.empty()) problem = "nested brackets";
      ++depth;
    } else if (c == ']') {
      if (depth == 0) {
        if (problem.empty()) problem = "unbalanced brackets";
      } else {
        --depth;
      }
    } else if (c == ',' && depth == 0) {
      return i;
    }
  }
  if (depth > 0 && problem.empty()) problem = "unbalanced brackets";
  return notation.size();
}

// Steps through the values of one bracket, item after item, keeping the
// current value's text.
class BracketCursor {
 public:
  BracketCursor(Layout const& layout, Bracket const& bracket)
      : first_(layout.items.data() + bracket.first_item),
        end_(first_ + bracket.item_count),
        text_before_(bracket.text_before) {
    load(first_);
  }

  std::string_view text_before() const { return text_before_; }
  std::string const& value() const { return value_; }

  // Moves to the next value; at the last one starts over and returns true.
  bool advance() {
    if (left_ > 0) {
      --left_;
      increment();
      return false;
    }
    if (item_ + 1 != end_) {
      load(item_ + 1);
      return false;
    }
    load(first_);
    return true;
  }

 private:
  void load(RunItem const* item) {
    item_ = item;
    value_.assign(item->first_text.data(), item->first_text.size());
    left_ = item->count - 1;
  }

  void increment() {
    std::size_t const floor = item_->carry_floor;
    std::size_t i = value_.size();
    while (i > floor) {
      --i;
      if (value_[i] != '9') {
        ++value_[i];
        return;
      }
      value_[i] = '0';
    }
    value_.insert(floor, 1, '1');
  }

  RunItem const* first_;
  RunItem const* end_;
  RunItem const* item_ = nullptr;
  std::string_view text_before_;
  std::string value_;
  std::uint64_t left_ = 0;
};

void append(std::string& target, std::string_view text) {
  target.append(text.data(), text.size());
}

// Writes the names of one piece with brackets, leftmost bracket slowest.
// Everything in front of the last bracket's value changes only when an
// earlier bracket moves on, so it is kept ready as `front`, and the inner
// loop writes each name straight into its place.
void write_product(Layout const& layout, Piece const& piece, std::vector<std::string>& names) {
  std::vector<BracketCursor> cursors;
  cursors.reserve(piece.bracket_count);
  for (std::size_t b = 0; b < piece.bracket_count; ++b)
    cursors.emplace_back(layout, layout.brackets[piece.first_bracket + b]);
  BracketCursor& last = cursors.back();
  std::string front;
  while (true) {
    front.clear();
    for (std::size_t b = 0; b + 1 < cursors.size(); ++b) {
      append(front, cursors[b].text_before());
      front += cursors[b].value();
    }
    append(front, last.text_before());
    do {
      std::string const& value = last.value();
      names.emplace_back();
      std::string& name = names.back();
      name.reserve(front.size() + value.size() + piece.tail.size());
      name += front;
      name += value;
      append(name, piece.tail);
    } while (!last.advance());
    std::size_t position = cursors.size() - 1;
    while (true) {
      if (position == 0) return;
      if (!cursors[--position].advance()) break;
    }
  }
}

std::vector<std::string> expand(std::string const& notation, std::size_t max_names) {
  std::vector<std::string> names;
  std::string_view const text(notation);
  if (trim_blanks(text).empty()) return names;

  Layout layout;
  std::uint64_t total = 0;
  std::size_t begin = 0;
  while (true) {
    Problem problem;
    std::size_t const end = find_piece_end(text, begin, problem);
    std::string_view const piece = trim_blanks(text.substr(begin, end - begin));
    std::uint64_t count = 0;
    if (problem.empty()) problem = read_piece(piece, layout, count);
    if (!problem.empty()) {
      KREL_RECORD(4) << "cannot expand " << quoted(piece) << ": " << problem;
      return names;
    }
    total = saturating_add(total, count);
    if (total > max_names) {
      KREL_RECORD(4) << "cannot expand " << quoted(piece) << ": more than " << max_names
                     << " names";
      return names;
    }
    if (end == text.size()) break;
    begin = end + 1;
  }

  names.reserve(static_cast<std::size_t>(total));
  for (Piece const& piece : layout.pieces) {
    if (piece.bracket_count == 0)
      names.emplace_back(piece.tail);
    else
      write_product(layout, piece, names);
  }
  return names;
}

}  // namespace expansion
}  // namespace

std::vector<std::string> TokenizedHost::expand_hosts(std::string const& notation,
                                                     std::size_t max_names) {
  return expansion::expand(notation, max_names);
}

}  // namespace krel
