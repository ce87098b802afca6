// Host sets: turning notation into a set. Plain names are cut into a pattern
// and numbers and gathered by pattern, then sorted and built into a tree in
// one go; a piece with brackets is a product of runs, built directly.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_bracket_piece.hpp"
#include "hostset_build.hpp"
#include "hostset_data.hpp"
#include "hostset_read.hpp"
#include "hostset_sort.hpp"
#include "internal/decimal.hpp"
#include "internal/hash.hpp"

namespace krel {
namespace hostset_internal {
namespace {

using internal::is_digit;

// The names of one pattern met while reading.
// Pieces with brackets are kept apart (SetReader::boxes_), and so are the
// plain names that come after one of them (SetReader::late_names_): a
// pattern can only grow too large through brackets, and is then named by
// the last of those pieces.
static_assert(kMaxNumbers <= UINT8_MAX, "a bucket counts its numbers in a byte");
struct Bucket {
  std::uint32_t key_at = 0;  // where the key starts in SetReader::keys_
  NumberList numbers;        // number_count per plain name, name after name
  std::uint32_t key_size = 0;
  std::uint32_t hash = 0;         // of the key, for growing the slots
  std::uint8_t number_count = 0;  // at most kMaxNumbers
  bool plain_names = false;       // whether a plain name was met
  bool digit_free = false;        // no text piece holds digits
  bool has_boxes = false;
};

// A piece with brackets: its tree, its bucket's number and its text.
struct Box {
  std::size_t bucket;
  NodePtr tree;
  std::string_view piece;
};

// Whether two texts are equal. Texts that differ mostly differ in their
// first byte, which is looked at before the library's comparison is called.
bool same_text(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         (a.empty() || (a[0] == b[0] && std::memcmp(a.data(), b.data(), a.size()) == 0));
}

// Whether `text` is written in `name` at `position`. The texts between the
// numbers of a name are short: they are compared in place, not through a
// call.
bool text_at(std::string_view name, std::size_t position, std::string_view text) {
  if (name.size() - position < text.size()) return false;
  char const* const at = name.data() + position;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (at[i] != text[i]) return false;
  }
  return true;
}

class SetReader {
 public:
  void add_name(std::string_view name) {
    if (add_to_last(name)) return;
    split_name(name, key_, numbers_);
    Bucket& bucket = find_bucket(numbers_.size());
    bucket.numbers.append(numbers_.data(), numbers_.size());
    bucket.plain_names = true;
    if (bucket.has_boxes) late_names_.emplace_back(last_bucket_, name);
  }

  Problem add_piece(Layout const& layout, Piece const& piece) {
    BracketPiece built;
    Problem const problem = build_bracket_piece(layout, piece, separate_values_, built);
    if (!problem.ok()) return problem;
    key_ = std::move(built.key);
    Bucket& bucket = find_bucket(built.number_count);
    boxes_.push_back(Box{last_bucket_, std::move(built.tree), piece.text});
    bucket.has_boxes = true;
    return Problem{};
  }

  // The set read; false (and the piece) when it would hold too many names.
  bool finish(std::shared_ptr<Data>& out, std::string_view& too_large_piece) {
    // The slots are no longer needed: their memory goes to the patterns.
    std::vector<std::uint8_t>().swap(tags_);
    std::vector<std::uint32_t>().swap(slot_buckets_);
    auto storage = std::make_shared<Data>();
    std::size_t const bucket_count = buckets_.size();
    std::vector<std::uint32_t> const place = pattern_places();
    storage->patterns.resize(bucket_count);
    // The boxes of each bucket together, in the order they came.
    std::stable_sort(boxes_.begin(), boxes_.end(),
                     [](Box const& a, Box const& b) { return a.bucket < b.bucket; });
    std::size_t next_box = 0;
    Count total = 0;
    for (std::size_t index = 0; index < bucket_count; ++index) {
#if defined(__GNUC__)
      // The places are scattered: the one a few buckets ahead is fetched
      // while this bucket is built.
      constexpr std::size_t kAhead = 8;
      if (index + kAhead < bucket_count)
        __builtin_prefetch(&storage->patterns[place[index + kAhead]], 1);
#endif
      // Buckets are let go as they are built, so that the trees take the
      // same memory again.
      Bucket& bucket = buckets_.front();
      std::size_t const numbers = bucket.number_count;
      NodePtr root;
      if (bucket.plain_names)
        root = numbers == 0 ? unit_node() : build_tree(bucket.numbers, numbers, leaves_);
      std::size_t const first_box = next_box;
      while (next_box < boxes_.size() && boxes_[next_box].bucket == index)
        ++next_box;
      if (next_box > first_box)
        root = combine(root,
                       balanced_union(first_box, next_box, numbers,
                                      [this](std::size_t box) { return boxes_[box].tree; }),
                       Operation::kUnion, numbers);
      if (root->count >= kTooMany) {
        too_large_piece = last_piece_of(index, first_box, next_box);
        return false;
      }
      total = add_counts(total, root->count);
      Pattern& pattern = storage->patterns[place[index]];
      pattern.key.assign(keys_.data() + bucket.key_at, bucket.key_size);
      pattern.root = std::move(root);
      buckets_.pop_front();
    }
    storage->count = total;
    if (storage->count >= kTooMany) {
      too_large_piece = last_piece_;
      return false;
    }
    out = std::move(storage);
    return true;
  }

  void set_last_piece(std::string_view piece) {
    last_piece_ = piece;
  }

 private:
  // Where each bucket's pattern goes among the patterns, in bucket order.
  // Patterns go where their key puts them: sorting bucket numbers is
  // cheaper than sorting the patterns themselves, and the buckets are
  // visited in the order they were made, which is the order of their
  // memory. The first eight bytes of each key, read big-endian, settle most
  // comparisons without reaching the keys.
  std::vector<std::uint32_t> pattern_places() const {
    std::size_t const bucket_count = buckets_.size();
    std::vector<std::pair<std::uint64_t, std::size_t>> order(bucket_count);
    for (std::size_t i = 0; i < bucket_count; ++i)
      order[i] = {key_prefix(key_of(buckets_[i])), i};
    sort_by_prefix(order);
    // Keys that share their first eight bytes are put in order by the rest.
    for (std::size_t begin = 0; begin < bucket_count;) {
      std::size_t end = begin + 1;
      while (end < bucket_count && order[end].first == order[begin].first)
        ++end;
      if (end - begin > 1)
        std::sort(order.begin() + static_cast<std::ptrdiff_t>(begin),
                  order.begin() + static_cast<std::ptrdiff_t>(end),
                  [this](std::pair<std::uint64_t, std::size_t> const& a,
                         std::pair<std::uint64_t, std::size_t> const& b) {
                    return key_of(buckets_[a.second]) < key_of(buckets_[b.second]);
                  });
      begin = end;
    }
    // Each bucket's place. The order is let go on return, before the
    // patterns are made, which then take its memory.
    std::vector<std::uint32_t> place(bucket_count);
    for (std::size_t k = 0; k < bucket_count; ++k)
      place[order[k].second] = static_cast<std::uint32_t>(k);
    return place;
  }

  // Names of one pattern tend to come in a row: a name is first matched
  // against the text pieces of the last pattern met, which needs no key.
  bool add_to_last(std::string_view name) {
    if (last_bucket_ == kNone || !buckets_[last_bucket_].digit_free) return false;
    Bucket& bucket = buckets_[last_bucket_];
    if (texts_of_ != last_bucket_) {
      // The key up to its first '%' is where a name of the pattern starts:
      // a name of another pattern mostly differs there already.
      std::string_view const key = key_of(bucket);
      std::string_view const start = key.substr(0, key.find('%'));
      if (!same_text(name.substr(0, start.size()), start)) return false;
      last_texts_.read(key_of(bucket));
      texts_of_ = last_bucket_;
    }
    PatternTexts const& texts = last_texts_;
    std::size_t const numbers = bucket.number_count;
    std::size_t const old_size = bucket.numbers.size();
    std::size_t position = 0;
    for (std::size_t i = 0;; ++i) {
      std::string_view const text = texts[i];
      if (!text_at(name, position, text)) break;
      position += text.size();
      if (i == numbers) {
        if (position != name.size()) break;
        bucket.plain_names = true;
        if (bucket.has_boxes) late_names_.emplace_back(last_bucket_, name);
        return true;
      }
      std::size_t end = position;
      std::uint64_t value = 0;
      while (end < name.size() && is_digit(name[end])) {
        value = value * 10 + static_cast<std::uint64_t>(name[end] - '0');
        ++end;
      }
      // Up to 19 digits always fit; longer runs take the long way.
      if (end == position || end - position > 19) break;
      bucket.numbers.push_back(Number{value, static_cast<std::uint32_t>(end - position)});
      position = end;
    }
    bucket.numbers.shrink_to(old_size);
    return false;
  }

  std::string_view key_of(Bucket const& bucket) const {
    return std::string_view(keys_.data() + bucket.key_at, bucket.key_size);
  }

  // The first eight bytes of a key as a number that orders like them (zeros
  // past the end: a shorter key sorts first, and ties go to the full keys).
  static std::uint64_t key_prefix(std::string_view key) {
    std::uint64_t prefix = 0;
    for (std::size_t i = 0; i < 8; ++i) {
      prefix <<= 8;
      if (i < key.size()) prefix |= static_cast<unsigned char>(key[i]);
    }
    return prefix;
  }

  // The last piece of a bucket whose boxes are boxes_[first_box, end_box):
  // pieces are views of the notation, so the last is the one that starts
  // last.
  std::string_view last_piece_of(std::size_t bucket, std::size_t first_box,
                                 std::size_t end_box) const {
    std::string_view last = first_box < end_box ? boxes_[first_box].piece : last_piece_;
    for (std::size_t b = first_box; b < end_box; ++b) {
      if (boxes_[b].piece.data() > last.data()) last = boxes_[b].piece;
    }
    for (auto const& late : late_names_) {
      if (late.first == bucket && late.second.data() > last.data()) last = late.second;
    }
    return last;
  }

  // The bucket of the pattern whose key is in key_ and which has
  // `number_count` numbers.
  Bucket& find_bucket(std::size_t number_count) {
    if (last_bucket_ != kNone && same_text(key_of(buckets_[last_bucket_]), key_))
      return buckets_[last_bucket_];
    std::uint32_t const hash = key_hash(key_);
    std::size_t const slot = find_slot(hash);
    if (tags_[slot] != kFree) {
      last_bucket_ = slot_buckets_[slot];
    } else {
      // Buckets and the bytes of their keys are counted in 32 bits: the
      // memory of today runs out well before a list has that many patterns.
      if (buckets_.size() >= UINT32_MAX || key_.size() > UINT32_MAX - keys_.size())
        throw std::bad_alloc();
      Bucket& bucket = buckets_.emplace_back();
      bucket.key_at = static_cast<std::uint32_t>(keys_.size());
      bucket.hash = hash;
      bucket.key_size = static_cast<std::uint32_t>(key_.size());
      keys_ += key_;
      // The views of the last texts may point into the old keys_.
      texts_of_ = kNone;
      bucket.number_count = static_cast<std::uint8_t>(number_count);
      bucket.digit_free = std::none_of(key_.begin(), key_.end(), is_digit);
      tags_[slot] = tag_of(hash);
      slot_buckets_[slot] = static_cast<std::uint32_t>(buckets_.size() - 1);
      if (buckets_.size() * 2 > tags_.size()) grow();
      last_bucket_ = buckets_.size() - 1;
    }
    return buckets_[last_bucket_];
  }

  // The hash of a key, eight bytes at a time. The bytes past the last eight
  // are taken as the key's last eight bytes when it has that many (some are
  // mixed in twice, which does no harm), and are otherwise gathered in a
  // register: a word put together in memory byte by byte is slow to read.
  static std::uint32_t key_hash(std::string_view key) {
    char const* data = key.data();
    std::size_t size = key.size();
    std::uint64_t hash = internal::hash_step(internal::kHashSeed, size);
    for (; size >= 8; data += 8, size -= 8) {
      std::uint64_t word;
      std::memcpy(&word, data, 8);
      hash = internal::hash_step(hash, word);
    }
    if (size != 0) {
      std::uint64_t word = 0;
      if (key.size() >= 8) {
        std::memcpy(&word, key.data() + key.size() - 8, 8);
      } else {
        for (std::size_t i = 0; i < size; ++i)
          word |= static_cast<std::uint64_t>(static_cast<unsigned char>(data[i])) << (8 * i);
      }
      hash = internal::hash_step(hash, word);
    }
    return static_cast<std::uint32_t>(internal::hash_finish(hash));
  }
  // Seven bits of the hash that slot numbers of up to 2^25 slots do not
  // use, and a bit that tells a used slot from a free one.
  static std::uint8_t tag_of(std::uint32_t hash) {
    return static_cast<std::uint8_t>(0x80 | (hash >> 25));
  }

  // The slot of the bucket whose key is key_ (hashing to `hash`), or the
  // free slot where it would go.
  std::size_t find_slot(std::uint32_t hash) const {
    std::size_t const mask = tags_.size() - 1;
    std::uint8_t const tag = tag_of(hash);
    for (std::size_t slot = static_cast<std::size_t>(hash) & mask;; slot = (slot + 1) & mask) {
      std::uint8_t const found = tags_[slot];
      if (found == kFree) return slot;
      if (found == tag && same_text(key_of(buckets_[slot_buckets_[slot]]), key_)) return slot;
    }
  }

  // Doubles the slots, keeping them at most half full.
  void grow() {
    std::size_t const size = tags_.size() * 2;
    std::size_t const mask = size - 1;
    std::vector<std::uint8_t> tags(size, kFree);
    std::vector<std::uint32_t> slot_buckets(size);
    for (std::size_t b = 0; b < buckets_.size(); ++b) {
      std::uint32_t const hash = buckets_[b].hash;
      std::size_t slot = static_cast<std::size_t>(hash) & mask;
      while (tags[slot] != kFree)
        slot = (slot + 1) & mask;
      tags[slot] = tag_of(hash);
      slot_buckets[slot] = static_cast<std::uint32_t>(b);
    }
    tags_.swap(tags);
    slot_buckets_.swap(slot_buckets);
  }

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  // Shared last nodes of the patterns of one name.
  LeafCache leaves_;
  // Open addressing, in two arrays: the tags (a byte per slot, small
  // enough to stay in the processor's cache) are probed first, and a slot's
  // bucket number is read only when its tag matches.
  static constexpr std::uint8_t kFree = 0;
  std::vector<std::uint8_t> tags_ = std::vector<std::uint8_t>(64, kFree);
  std::vector<std::uint32_t> slot_buckets_ = std::vector<std::uint32_t>(64);
  // A deque: buckets never move as more come, so their memory is written
  // once.
  std::deque<Bucket> buckets_;
  // The keys of the buckets, one after another.
  std::string keys_;
  std::string key_;
  std::size_t last_bucket_ = kNone;
  // The text pieces of the bucket numbered texts_of_, for add_to_last.
  PatternTexts last_texts_;
  std::size_t texts_of_ = kNone;
  std::vector<Number> numbers_;
  std::uint64_t separate_values_ = 0;
  std::string_view last_piece_;
  // The trees of the pieces with brackets, each with its bucket's number.
  std::vector<Box> boxes_;
  // Plain names met after a box of their bucket, with the bucket's number.
  std::vector<std::pair<std::size_t, std::string_view>> late_names_;
};

}  // namespace

void split_name(std::string_view name, std::string& key, std::vector<Number>& numbers) {
  // A key is at most twice as long as its name ('%' is doubled, and a
  // number of one digit becomes "%s"): it is written in place.
  key.resize(2 * name.size());
  char* out = &key[0];
  char const* const begin = out;
  numbers.clear();
  std::size_t i = 0;
  while (i < name.size()) {
    char const c = name[i];
    if (!is_digit(c)) {
      *out++ = c;
      if (c == '%') *out++ = '%';
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < name.size() && is_digit(name[j]))
      ++j;
    std::uint64_t value = 0;
    if (numbers.size() < kMaxNumbers && digits_value(name.substr(i, j - i), value)) {
      numbers.push_back(Number{value, static_cast<std::uint32_t>(j - i)});
      *out++ = '%';
      *out++ = 's';
    } else {
      // Too long for a number, or past the numbers a name may have: text.
      for (; i < j; ++i)
        *out++ = name[i];
    }
    i = j;
  }
  key.resize(static_cast<std::size_t>(out - begin));
}

bool read_set(std::string_view notation, std::shared_ptr<Data>& out, std::string& error) {
  ReadOptions const options;
  SetReader reader;
  PieceWalk walk(notation, options);
  std::string_view const& text = walk.text;
  Problem& problem = walk.problem;
  Layout& layout = walk.layout;
  while (walk.next()) {
    if (problem.ok() && !walk.has_bracket) {
      reader.add_name(text);
      continue;
    }
    layout.clear();
    if (problem.ok()) problem = read_piece(text, options, layout);
    if (problem.ok()) problem = reader.add_piece(layout, layout.pieces.back());
    if (!problem.ok()) {
      error = describe(text, problem, options);
      return false;
    }
  }
  // A walk that is done leaves its last piece in place.
  reader.set_last_piece(text);
  std::string_view too_large;
  if (!reader.finish(out, too_large)) {
    error = describe(too_large, Problem{Reason::kTooManyNames, {}}, options);
    return false;
  }
  return true;
}

}  // namespace hostset_internal
}  // namespace krel
