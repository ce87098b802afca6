#include "krel/hostlist.hpp"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstring>
#include <optional>
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

// One number of a host name: its value and its padding zeros.
struct Number {
  int value;
  int zeroes;
};

// Reads a non-empty digit run. The value is read as std::stoi reads it, so a
// run above INT_MAX (padding zeros not counted) throws
// std::out_of_range("stoi"). An all-zero run keeps its last zero as the
// value's own digit, not padding.
Number read_digit_run(char const* begin, char const* end) {
  char const* significant = begin;
  while (end - significant > 1 && *significant == '0')
    ++significant;
  constexpr std::ptrdiff_t kMaxIntDigits = 10;
  if (end - significant > kMaxIntDigits) throw std::out_of_range("stoi");
  std::uint64_t value = 0;
  for (char const* digit = significant; digit != end; ++digit) {
    value = value * 10 + static_cast<std::uint64_t>(*digit - '0');
  }
  if (value > static_cast<std::uint64_t>(INT_MAX)) throw std::out_of_range("stoi");
  return Number{static_cast<int>(value), static_cast<int>(significant - begin)};
}

// The end of the run that starts at `run`: digits or text, whichever `*run` is.
char const* run_end(char const* run, char const* end) {
  bool const digits = is_digit(*run);
  char const* last = run + 1;
  while (last != end && is_digit(*last) == digits)
    ++last;
  return last;
}

void append_number(std::string& out, int zeroes, int value) {
  if (zeroes > 0) out.append(static_cast<std::size_t>(zeroes), '0');
  char digits[16];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

// Hashing for the partitions below. Equal keys always hash equally, which is
// all that correctness needs; the mixing only has to spread the keys.
constexpr std::uint64_t kHashSeed = 0xcbf29ce484222325ULL;
constexpr std::uint64_t kHashMultiplier = 0x9e3779b97f4a7c15ULL;

std::uint64_t hash_step(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * kHashMultiplier;
  return hash ^ (hash >> 29);
}

std::uint64_t hash_finish(std::uint64_t hash) {
  hash ^= hash >> 33;
  hash *= 0xff51afd7ed558ccdULL;
  hash ^= hash >> 33;
  return hash;
}

// Eight bytes at a time, the length first so that short keys do not collide
// with their zero-padded neighbours.
std::uint64_t hash_bytes(std::uint64_t hash, char const* data, std::size_t size) {
  hash = hash_step(hash, size);
  for (; size >= 8; data += 8, size -= 8) {
    std::uint64_t word;
    std::memcpy(&word, data, 8);
    hash = hash_step(hash, word);
  }
  if (size != 0) {
    std::uint64_t word = 0;
    std::memcpy(&word, data, size);
    hash = hash_step(hash, word);
  }
  return hash;
}

// Assigns items to classes of an equivalence relation in order of first
// appearance: an item joins the class of the first earlier item it is
// equivalent to, or opens the next class. The result is the one that testing
// every item against the first member of every class gives, at the cost of a
// hash look-up per item. The caller's hash must give equivalent items equal
// hashes.
class FirstAppearanceClasses {
 public:
  // Asks for the slot an item with `hash` starts its search at to be cached.
  void prefetch(std::uint64_t hash) const {
    __builtin_prefetch(&slots_[static_cast<std::size_t>(hash) & mask_]);
  }

  // The class of an item with `hash`; `same(c)` tells whether the item is
  // equivalent to the members of class c. `opened` says whether the item
  // opened a new class.
  template <typename Same>
  std::uint32_t find_or_open(std::uint64_t hash, Same&& same, bool& opened) {
    auto const tag = static_cast<std::uint32_t>(hash >> 32);
    std::size_t slot = static_cast<std::size_t>(hash) & mask_;
    for (; slots_[slot].class_plus_one != 0; slot = (slot + 1) & mask_) {
      Slot const& probe = slots_[slot];
      if (probe.tag == tag && same(probe.class_plus_one - 1)) {
        opened = false;
        return probe.class_plus_one - 1;
      }
    }
    auto const opened_class = static_cast<std::uint32_t>(class_hashes_.size());
    slots_[slot] = Slot{tag, opened_class + 1};
    class_hashes_.push_back(hash);
    if (class_hashes_.size() * 2 > slots_.size()) grow();
    opened = true;
    return opened_class;
  }

 private:
  // Small slots keep more of the table in cache; the full hashes, needed
  // only when the table grows, are kept per class.
  struct Slot {
    std::uint32_t tag;             // the hash's upper half
    std::uint32_t class_plus_one;  // 0: empty slot
  };

  void grow() {
    slots_.assign(slots_.size() * 2, Slot{0, 0});
    mask_ = slots_.size() - 1;
    for (std::size_t c = 0; c < class_hashes_.size(); ++c) {
      std::uint64_t const hash = class_hashes_[c];
      std::size_t at = static_cast<std::size_t>(hash) & mask_;
      while (slots_[at].class_plus_one != 0)
        at = (at + 1) & mask_;
      slots_[at] = Slot{static_cast<std::uint32_t>(hash >> 32), static_cast<std::uint32_t>(c + 1)};
    }
  }

  std::vector<Slot> slots_ = std::vector<Slot>(16, Slot{0, 0});
  std::size_t mask_ = 15;
  std::vector<std::uint64_t> class_hashes_;
};

// The hosts split into classes of an equivalence relation (`same` on two
// hosts, respected by `hash`), classes by first appearance, members in order.
template <typename Hash, typename Same>
std::vector<std::vector<TokenizedHost>> partition_hosts(std::vector<TokenizedHost> const& hosts,
                                                        Hash&& hash, Same&& same) {
  std::vector<std::vector<TokenizedHost>> groups;
  FirstAppearanceClasses classes;
  for (TokenizedHost const& host : hosts) {
    bool opened = false;
    std::uint32_t const group = classes.find_or_open(
        hash(host), [&](std::uint32_t c) { return same(groups[c].front(), host); }, opened);
    if (opened) groups.emplace_back();
    groups[group].push_back(host);
  }
  return groups;
}

// How many different values `values` holds. Values close together (host
// numbers, mostly) are counted in a bit map rather than sorted; reorders
// `values` otherwise.
std::size_t count_distinct(std::vector<int>& values) {
  if (values.empty()) return 0;
  auto const [lowest, highest] = std::minmax_element(values.begin(), values.end());
  std::int64_t const low = *lowest;
  auto const span = static_cast<std::uint64_t>(std::int64_t{*highest} - low);
  if (span / 8 > values.size()) {
    std::sort(values.begin(), values.end());
    return static_cast<std::size_t>(std::unique(values.begin(), values.end()) - values.begin());
  }
  std::vector<std::uint64_t> present(static_cast<std::size_t>(span / 64) + 1, 0);
  for (int const value : values) {
    auto const offset = static_cast<std::uint64_t>(value - low);
    present[offset / 64] |= std::uint64_t{1} << (offset % 64);
  }
  std::size_t count = 0;
  for (std::uint64_t const word : present)
    count += static_cast<std::size_t>(__builtin_popcountll(word));
  return count;
}

// Names of one shape and the same texts, as get_merged_hosts gathers them.
struct NameGroup {
  std::size_t first_name;  // index of the first member in the names
  std::size_t key_offset;  // its key in the key store
  std::size_t key_length;
  std::size_t first_numbers;  // its numbers in the store of first members' numbers
  std::size_t number_count;   // numbers per name
  std::size_t members;
  // Every member's numbers, member after member; filled once a second member
  // arrives, so that the many groups of a single name cost no allocation.
  std::vector<Number> numbers;
};

// Gathers names into groups of the same shape and texts while reading them
// once. A name's key is its texts with one '0' for each number; digits never
// occur in texts, so equal keys mean the same shape and the same texts.
class NameGrouper {
 public:
  // Names are read in small blocks: the whole block is scanned and hashed
  // first, and the table slots it needs are fetched into the cache while the
  // rest of the block is scanned, so that long lists of many groups do not
  // wait on memory name by name.
  explicit NameGrouper(std::vector<std::string> const& names) {
    constexpr std::size_t kBlock = 16;
    Scanned block[kBlock];
    for (std::size_t start = 0; start < names.size(); start += kBlock) {
      std::size_t const count = std::min(kBlock, names.size() - start);
      block_keys_.clear();
      block_numbers_.clear();
      for (std::size_t b = 0; b < count; ++b) {
        block[b] = scan(names[start + b]);
        classes_.prefetch(block[b].hash);
      }
      for (std::size_t b = 0; b < count; ++b)
        add(block[b], start + b);
    }
  }

  std::vector<NameGroup>& groups() { return groups_; }

  Number const* numbers_of_first(NameGroup const& group) const {
    return first_numbers_.data() + group.first_numbers;
  }

 private:
  // A name of the current block: its key and numbers in the block's stores.
  struct Scanned {
    std::size_t key_offset;
    std::size_t key_length;
    std::size_t numbers_offset;
    std::size_t number_count;
    std::uint64_t hash;
  };

  Scanned scan(std::string const& name) {
    Scanned scanned{block_keys_.size(), 0, block_numbers_.size(), 0, 0};
    char const* const end = name.data() + name.size();
    for (char const* run = name.data(); run != end;) {
      char const* const next = run_end(run, end);
      if (is_digit(*run)) {
        block_keys_ += '0';
        block_numbers_.push_back(read_digit_run(run, next));
      } else {
        block_keys_.append(run, next);
      }
      run = next;
    }
    scanned.key_length = block_keys_.size() - scanned.key_offset;
    scanned.number_count = block_numbers_.size() - scanned.numbers_offset;
    scanned.hash = hash_finish(
        hash_bytes(kHashSeed, block_keys_.data() + scanned.key_offset, scanned.key_length));
    return scanned;
  }

  void add(Scanned const& scanned, std::size_t index) {
    char const* const key = block_keys_.data() + scanned.key_offset;
    auto const same_key = [&](std::uint32_t c) {
      NameGroup const& candidate = groups_[c];
      return candidate.key_length == scanned.key_length &&
             std::memcmp(keys_.data() + candidate.key_offset, key, scanned.key_length) == 0;
    };
    // Neighbouring names mostly share their group: try it before the table.
    bool opened = false;
    std::uint32_t const group = !groups_.empty() && same_key(last_group_)
                                    ? last_group_
                                    : classes_.find_or_open(scanned.hash, same_key, opened);
    last_group_ = group;
    Number const* const numbers = block_numbers_.data() + scanned.numbers_offset;
    if (opened) {
      groups_.push_back(NameGroup{index,
                                  keys_.size(),
                                  scanned.key_length,
                                  first_numbers_.size(),
                                  scanned.number_count,
                                  1,
                                  {}});
      keys_.append(key, scanned.key_length);
      first_numbers_.insert(first_numbers_.end(), numbers, numbers + scanned.number_count);
      return;
    }
    NameGroup& joined = groups_[group];
    ++joined.members;
    if (joined.number_count == 0) return;
    if (joined.numbers.empty()) {
      // Room for a few members at once: most groups have more than two.
      Number const* const first = numbers_of_first(joined);
      joined.numbers.reserve(4 * joined.number_count);
      joined.numbers.assign(first, first + joined.number_count);
    }
    joined.numbers.insert(joined.numbers.end(), numbers, numbers + scanned.number_count);
  }

  FirstAppearanceClasses classes_;
  std::vector<NameGroup> groups_;
  std::string keys_;
  std::vector<Number> first_numbers_;
  std::uint32_t last_group_ = 0;
  std::string block_keys_;             // keys of the block being added
  std::vector<Number> block_numbers_;  // numbers of the block being added
};

// Appends a piece to `out`: the texts of `name` with the numbers of
// `numbers`, the one at `fold` replaced by `folded`.
void append_piece(std::string& out, std::string const& name, Number const* numbers,
                  std::size_t fold, std::string const& folded, bool bracketed) {
  char const* const end = name.data() + name.size();
  std::size_t number = 0;
  for (char const* run = name.data(); run != end;) {
    char const* const next = run_end(run, end);
    if (!is_digit(*run)) {
      out.append(run, next);
    } else if (number != fold) {
      append_number(out, numbers[number].zeroes, numbers[number].value);
      ++number;
    } else {
      if (bracketed) out += '[';
      out += folded;
      if (bracketed) out += ']';
      ++number;
    }
    run = next;
  }
}

// Folds groups of two or more names that have numbers into their pieces,
// keeping its working storage from one group to the next, and the pieces
// one after another in one string: a list of many small groups then costs
// few allocations.
class GroupFolder {
 public:
  // The names of `group` are split again so that all paddings and every
  // number but the folded one agree, and each part becomes one piece.
  void fold(NameGroup const& group, std::string const& name) {
    std::size_t const per_name = group.number_count;
    std::size_t const fold = number_to_fold(group);
    Number const* const numbers = group.numbers.data();
    part_count_ = 0;

    std::optional<FirstAppearanceClasses> classes;  // made only for large groups
    std::size_t last_part = 0;
    for (std::size_t m = 0; m < group.members; ++m) {
      Number const* const own = numbers + m * per_name;
      auto const same = [&](std::size_t c) {
        Number const* const other = numbers + parts_[c].first_member * per_name;
        for (std::size_t n = 0; n < per_name; ++n) {
          if (own[n].zeroes != other[n].zeroes) return false;
          if (n != fold && own[n].value != other[n].value) return false;
        }
        return true;
      };
      // Neighbouring names mostly share their part: try it first. Small
      // groups are then searched part by part, large ones through a hash.
      std::size_t part = last_part;
      if (part_count_ == 0 || !same(last_part)) {
        if (group.members <= kSmallGroup) {
          part = 0;
          while (part < part_count_ && !same(part))
            ++part;
        } else {
          std::uint64_t hash = kHashSeed;
          for (std::size_t n = 0; n < per_name; ++n) {
            hash = hash_step(hash, static_cast<std::uint32_t>(own[n].zeroes));
            if (n != fold) hash = hash_step(hash, static_cast<std::uint32_t>(own[n].value));
          }
          if (!classes) classes.emplace();
          bool opened = false;
          part = classes->find_or_open(hash_finish(hash), same, opened);
        }
        if (part == part_count_) open_part(m, part == 0 ? group.members : 0);
      }
      last_part = part;
      parts_[part].values.push_back(own[fold].value);
    }

    for (std::size_t p = 0; p < part_count_; ++p) {
      Number const* const own = numbers + parts_[p].first_member * per_name;
      bool multiple = false;
      std::string const folded = str::get_merged_ints(parts_[p].values, multiple, own[fold].zeroes);
      std::size_t const start = text_.size();
      append_piece(text_, name, own, fold, folded, multiple);
      spans_.emplace_back(start, text_.size() - start);
    }
  }

  // Adds views of the pieces written so far; they stay valid while the
  // folder lives and folds nothing more.
  void add_pieces_to(std::vector<std::string_view>& pieces) const {
    for (auto const& [start, length] : spans_)
      pieces.emplace_back(text_.data() + start, length);
  }

 private:
  static constexpr std::size_t kSmallGroup = 16;

  struct Part {
    std::size_t first_member;
    std::vector<int> values;
  };

  // Which number of a group to fold: the one with the most distinct values,
  // the leftmost on ties.
  std::size_t number_to_fold(NameGroup const& group) {
    std::size_t const per_name = group.number_count;
    if (per_name < 2) return 0;
    std::size_t best = 0;
    std::size_t best_count = 0;
    values_.resize(group.members);
    for (std::size_t n = 0; n < per_name; ++n) {
      for (std::size_t m = 0; m < group.members; ++m) {
        values_[m] = group.numbers[m * per_name + n].value;
      }
      std::size_t const count = count_distinct(values_);
      if (count > best_count) {
        best = n;
        best_count = count;
      }
    }
    return best;
  }

  // Opens the next part with `first_member`; the first part of a group gets
  // room for `room` values, since most groups stay whole.
  void open_part(std::size_t first_member, std::size_t room) {
    if (part_count_ == parts_.size()) parts_.emplace_back();
    Part& part = parts_[part_count_++];
    part.first_member = first_member;
    part.values.clear();
    part.values.reserve(room);
  }

  std::vector<Part> parts_;  // the first part_count_ are in use
  std::size_t part_count_ = 0;
  std::vector<int> values_;
  std::string text_;                                        // the pieces, one after another
  std::vector<std::pair<std::size_t, std::size_t>> spans_;  // start and length of each
};

// Sorts pieces in plain byte-wise order. Each piece carries its first eight
// bytes as a big-endian number (zero-padded), whose order is the byte-wise
// order of those bytes: the pieces are ordered by that number with a radix
// sort, and only pieces with equal numbers are then compared in full.
void sort_bytewise(std::vector<std::string_view>& pieces) {
  struct Keyed {
    std::uint64_t prefix;
    std::string_view piece;
  };
  auto const full_order = [](Keyed const& a, Keyed const& b) {
    if (a.prefix != b.prefix) return a.prefix < b.prefix;
    return a.piece < b.piece;
  };
  std::vector<Keyed> keyed;
  keyed.reserve(pieces.size());
  for (std::string_view const piece : pieces) {
    unsigned char bytes[8] = {};
    std::memcpy(bytes, piece.data(), std::min<std::size_t>(piece.size(), 8));
    std::uint64_t prefix = 0;
    for (unsigned char const byte : bytes)
      prefix = (prefix << 8) | byte;
    keyed.push_back(Keyed{prefix, piece});
  }

  constexpr std::size_t kFewPieces = 512;
  if (keyed.size() <= kFewPieces) {
    std::sort(keyed.begin(), keyed.end(), full_order);
  } else {
    // Least significant byte first; a byte that all pieces share needs no pass.
    std::vector<std::size_t> counts(8 * 256, 0);
    for (Keyed const& k : keyed) {
      for (int b = 0; b < 8; ++b)
        ++counts[static_cast<std::size_t>(b) * 256 + ((k.prefix >> (8 * b)) & 0xff)];
    }
    std::vector<Keyed> moved(keyed.size());
    for (std::size_t b = 0; b < 8; ++b) {
      std::size_t* const count = counts.data() + b * 256;
      if (std::find(count, count + 256, keyed.size()) != count + 256) continue;
      std::size_t start = 0;
      for (std::size_t digit = 0; digit < 256; ++digit) {
        std::size_t const here = count[digit];
        count[digit] = start;
        start += here;
      }
      for (Keyed const& k : keyed)
        moved[count[(k.prefix >> (8 * b)) & 0xff]++] = k;
      keyed.swap(moved);
    }
    for (std::size_t first = 0; first < keyed.size();) {
      std::size_t last = first + 1;
      while (last < keyed.size() && keyed[last].prefix == keyed[first].prefix)
        ++last;
      if (last - first > 1) std::sort(keyed.begin() + first, keyed.begin() + last, full_order);
      first = last;
    }
  }
  for (std::size_t i = 0; i < keyed.size(); ++i)
    pieces[i] = keyed[i].piece;
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
    if (is_digit(*run)) {
      Number const number = read_digit_run(run, next);
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
  NameGrouper grouper(names);

  // A group of one name, or of equal names without numbers, is the name
  // itself; every number token writes back its own digit run.
  std::vector<std::string_view> pieces;
  pieces.reserve(grouper.groups().size());
  GroupFolder folder;
  for (NameGroup const& group : grouper.groups()) {
    std::string const& name = names[group.first_name];
    if (group.members == 1 || group.number_count == 0) {
      pieces.emplace_back(name);
    } else {
      folder.fold(group, name);
    }
  }
  folder.add_pieces_to(pieces);

  sort_bytewise(pieces);
  std::size_t length = 2 * (pieces.size() - 1);
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
  auto const hash = [](TokenizedHost const& host) {
    std::uint64_t h = hash_step(kHashSeed, host.tokens.size());
    for (Token const& token : host.tokens) {
      h = hash_step(h, static_cast<std::uint32_t>(token.type));
      if (token.type == TOKEN_STR) h = hash_bytes(h, token.text.data(), token.text.size());
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
