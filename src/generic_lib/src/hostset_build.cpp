// Host sets: turning notation into a set. Plain names are cut into a pattern
// and numbers and gathered by pattern, then sorted and built into a tree in
// one go; a piece with brackets is a product of runs, built directly.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_bracket_piece.hpp"
#include "hostset_build.hpp"
#include "hostset_data.hpp"
#include "hostset_pattern_table.hpp"
#include "hostset_read.hpp"
#include "hostset_sort.hpp"
#include "internal/decimal.hpp"

namespace krel {
namespace hostset_internal {
namespace {

using internal::is_digit;

// A piece with brackets: its tree, its bucket's number and its text.
struct Box {
  std::size_t bucket;
  NodePtr tree;
  std::string_view piece;
};

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
    if (bucket.has_boxes) late_names_.emplace_back(patterns_.last(), name);
  }

  Problem add_piece(Layout const& layout, Piece const& piece) {
    BracketPiece built;
    Problem const problem = build_bracket_piece(layout, piece, separate_values_, built);
    if (!problem.ok()) return problem;
    key_ = std::move(built.key);
    Bucket& bucket = find_bucket(built.number_count);
    boxes_.push_back(Box{patterns_.last(), std::move(built.tree), piece.text});
    bucket.has_boxes = true;
    return Problem{};
  }

  // The set read; false (and the piece) when it would hold too many names.
  bool finish(std::shared_ptr<Data>& out, std::string_view& too_large_piece) {
    // The look-up is no longer needed: its memory goes to the patterns.
    patterns_.end_finding();
    auto storage = std::make_shared<Data>();
    std::size_t const bucket_count = patterns_.size();
    std::vector<std::uint32_t> const place = patterns_.places();
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
      Bucket& bucket = patterns_.front();
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
      pattern.key = patterns_.key_of(bucket);
      pattern.root = std::move(root);
      patterns_.pop_front();
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
  // Names of one pattern tend to come in a row: a name is first matched
  // against the text pieces of the last pattern met, which needs no key.
  bool add_to_last(std::string_view name) {
    std::size_t const last = patterns_.last();
    if (last == PatternTable::kNone || !patterns_[last].digit_free) return false;
    Bucket& bucket = patterns_[last];
    if (texts_of_ != last) {
      // The key up to its first '%' is where a name of the pattern starts:
      // a name of another pattern mostly differs there already.
      std::string_view const key = patterns_.key_of(bucket);
      if (!text_at(name, 0, key.substr(0, key.find('%')))) return false;
      last_texts_.read(key);
      texts_of_ = last;
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
        if (bucket.has_boxes) late_names_.emplace_back(last, name);
        return true;
      }
      std::uint64_t value = 0;
      char const* const digits = name.data() + position;
      std::size_t const width = static_cast<std::size_t>(
          internal::scan_decimal(digits, name.data() + name.size(), value) - digits);
      // Longer runs than always fit take the long way.
      if (width == 0 || width > internal::kExactDigits) break;
      bucket.numbers.push_back(Number{value, static_cast<std::uint32_t>(width)});
      position += width;
    }
    bucket.numbers.shrink_to(old_size);
    return false;
  }

  // The bucket of the pattern whose key is in key_ and which has
  // `number_count` numbers.
  Bucket& find_bucket(std::size_t number_count) {
    bool made = false;
    Bucket& bucket = patterns_.find(key_, number_count, made);
    // The views of the last texts may point into keys moved as one was added.
    if (made) texts_of_ = PatternTable::kNone;
    return bucket;
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

  PatternTable patterns_;
  // Shared last nodes of the patterns of one name.
  LeafCache leaves_;
  std::string key_;
  // The text pieces of the bucket numbered texts_of_, for add_to_last.
  PatternTexts last_texts_;
  std::size_t texts_of_ = PatternTable::kNone;
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
    std::uint64_t value = 0;
    std::size_t const j = static_cast<std::size_t>(
        internal::scan_decimal(name.data() + i, name.data() + name.size(), value) - name.data());
    if (numbers.size() < kMaxNumbers &&
        (j - i <= internal::kExactDigits || digits_value(name.substr(i, j - i), value))) {
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
