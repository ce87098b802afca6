// Host sets: the patterns met while reading, each with the numbers of its
// plain names, found by key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_sort.hpp"
#include "internal/first_appearance_classes.hpp"

namespace krel {
namespace hostset_internal {

// The names of one pattern met while reading. Pieces with brackets are kept
// apart by the reader, and so are the plain names that come after one of
// them: a pattern can only grow too large through brackets, and is then
// named by the last of those pieces.
static_assert(kMaxNumbers <= UINT8_MAX, "a bucket counts its numbers in a byte");
struct Bucket {
  std::uint32_t key_at = 0;  // where the key starts in the table's keys
  std::uint32_t key_size = 0;
  NumberList numbers;             // number_count per plain name, name after name
  std::uint8_t number_count = 0;  // at most kMaxNumbers
  bool plain_names = false;       // whether a plain name was met
  bool digit_free = false;        // no text piece holds digits
  bool has_boxes = false;
};

// The buckets of the patterns met, numbered in the order they were met and
// found by key. Buckets never move as more come, so their memory is written
// once; the keys are kept one after another.
//
//   PatternTable table;
//   table.find("n%s", 1, made);  // bucket 0, made
//   table.find("m%s", 1, made);  // bucket 1, made
//   table.find("n%s", 1, made);  // bucket 0 again, not made; table.last() == 0
class PatternTable {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  // The bucket whose key is `key`, made (with `number_count` numbers) when
  // the key is new, which `made` tells. It becomes the last bucket met.
  Bucket& find(std::string_view key, std::size_t number_count, bool& made);

  // The number of the last bucket met, kNone before any.
  std::size_t last() const { return last_; }
  std::size_t size() const { return buckets_.size(); }
  Bucket& operator[](std::size_t bucket) { return buckets_[bucket]; }
  Bucket const& operator[](std::size_t bucket) const { return buckets_[bucket]; }
  // A view of the bucket's key, valid until the next bucket is made.
  std::string_view key_of(Bucket const& bucket) const {
    return std::string_view(keys_.data() + bucket.key_at, bucket.key_size);
  }

  // Where each bucket's pattern goes among the patterns put in key order,
  // in bucket order.
  //
  //   after finding "n%s", then "m%s": places() == {1, 0}
  std::vector<std::uint32_t> places() const;

  // Ends the finding and lets the look-up's memory go. From then on the
  // buckets can be let go in the order they were made: front, then
  // pop_front.
  void end_finding();
  Bucket& front() { return buckets_.front(); }
  void pop_front() { buckets_.pop_front(); }

 private:
  internal::FirstAppearanceClasses classes_;
  std::deque<Bucket> buckets_;
  std::string keys_;
  std::size_t last_ = kNone;
};

}  // namespace hostset_internal
}  // namespace krel
