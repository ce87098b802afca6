// Host sets: the patterns met while reading, found by key.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_pattern_table.hpp"
#include "hostset_sort.hpp"
#include "internal/bytewise_sort.hpp"
#include "internal/decimal.hpp"
#include "internal/hash.hpp"

namespace krel {
namespace hostset_internal {
namespace {

// Whether two texts are equal. Texts that differ mostly differ in their
// first byte, which is looked at before the library's comparison is called.
bool same_text(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         (a.empty() || (a[0] == b[0] && std::memcmp(a.data(), b.data(), a.size()) == 0));
}

// The first eight bytes of a key as a number that orders like them (zeros
// past the end: a shorter key sorts first, and ties go to the full keys).
std::uint64_t key_prefix(std::string_view key) {
  std::uint64_t prefix = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    prefix <<= 8;
    if (i < key.size()) prefix |= static_cast<unsigned char>(key[i]);
  }
  return prefix;
}

}  // namespace

Bucket& PatternTable::find(std::string_view key, std::size_t number_count, bool& made) {
  made = false;
  if (last_ != kNone && same_text(key_of(buckets_[last_]), key)) return buckets_[last_];
  std::uint64_t const hash =
      internal::hash_finish(internal::hash_bytes(internal::kHashSeed, key.data(), key.size()));
  last_ = classes_.find_or_open(
      hash, [&](std::uint32_t bucket) { return same_text(key_of(buckets_[bucket]), key); }, made);
  if (!made) return buckets_[last_];
  // Buckets and the bytes of their keys are counted in 32 bits: the memory
  // of today runs out well before a list has that many patterns.
  if (buckets_.size() >= UINT32_MAX || key.size() > UINT32_MAX - keys_.size())
    throw std::bad_alloc();
  Bucket& bucket = buckets_.emplace_back();
  bucket.key_at = static_cast<std::uint32_t>(keys_.size());
  bucket.key_size = static_cast<std::uint32_t>(key.size());
  keys_ += key;
  bucket.number_count = static_cast<std::uint8_t>(number_count);
  bucket.digit_free = std::none_of(key.begin(), key.end(), internal::is_digit);
  return bucket;
}

// Sorting bucket numbers is cheaper than sorting the patterns themselves, and
// the buckets are then visited in the order they were made, which is the
// order of their memory. The first eight bytes of each key, read big-endian,
// settle most comparisons without reaching the keys.
std::vector<std::uint32_t> PatternTable::places() const {
  std::size_t const bucket_count = buckets_.size();
  std::vector<std::pair<std::uint64_t, std::size_t>> order(bucket_count);
  for (std::size_t i = 0; i < bucket_count; ++i)
    order[i] = {key_prefix(key_of(buckets_[i])), i};
  using Keyed = std::pair<std::uint64_t, std::size_t>;
  auto const prefix = [](Keyed const& keyed) { return keyed.first; };
  if (bucket_count < 64) {
    std::stable_sort(order.begin(), order.end(),
                     [&](Keyed const& a, Keyed const& b) { return prefix(a) < prefix(b); });
  } else {
    internal::radix_sort_by_key<8>(order, 64, prefix);
  }
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
  // Each bucket's place. The order is let go on return, before the patterns
  // are made, which then take its memory.
  std::vector<std::uint32_t> place(bucket_count);
  for (std::size_t k = 0; k < bucket_count; ++k)
    place[order[k].second] = static_cast<std::uint32_t>(k);
  return place;
}

void PatternTable::end_finding() {
  classes_ = internal::FirstAppearanceClasses();
  last_ = kNone;
}

}  // namespace hostset_internal
}  // namespace krel
