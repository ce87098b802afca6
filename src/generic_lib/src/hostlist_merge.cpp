// The folding of host lists into notation: TokenizedHost::get_merged_hosts.
// Names are gathered into groups of one shape and the same texts, each group
// is split into parts that differ in one number only, and each part becomes
// one piece; the pieces are sorted byte-wise and joined.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostlist_runs.hpp"
#include "internal/bytewise_sort.hpp"
#include "internal/decimal.hpp"
#include "internal/first_appearance_classes.hpp"
#include "internal/hash.hpp"
#include "krel/hostlist.hpp"
#include "krel/ranges.hpp"

namespace krel {
namespace {

using hostlist_internal::append_after_zeros;
using hostlist_internal::count_distinct;
using hostlist_internal::Number;
using hostlist_internal::read_digit_run;
using hostlist_internal::run_end;
using internal::FirstAppearanceClasses;
using internal::hash_bytes;
using internal::hash_finish;
using internal::hash_step;
using internal::is_digit;
using internal::kHashSeed;

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
      append_after_zeros(out, numbers[number].zeroes, numbers[number].value);
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

}  // namespace

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

  internal::sort_bytewise(pieces);
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

}  // namespace krel
