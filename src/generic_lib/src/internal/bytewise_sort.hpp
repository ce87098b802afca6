// Sorting by 64-bit keys a digit at a time (a radix sort), and byte strings
// in plain byte-wise order, fast for long lists. Private to the library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace krel {
namespace internal {

// Sorts `items` by the low `bits` bits of key_of(item), a 64-bit key, and
// keeps the order of items with equal keys (a least-significant-digit radix
// sort, kDigitBits bits a digit). A digit that all keys share costs its
// counting pass only. Short lists sort faster by comparison.
//
//   radix_sort_by_key<8>(items = {{3, 'a'}, {1, 'b'}, {3, 'c'}}, 64, first)
//       // {{1, 'b'}, {3, 'a'}, {3, 'c'}}
//   radix_sort_by_key<11>(keys = {5, 2, 7}, 3, itself)  // {2, 5, 7}
template <int kDigitBits, typename Item, typename KeyOf>
void radix_sort_by_key(std::vector<Item>& items, int bits, KeyOf&& key_of) {
  constexpr std::size_t kBuckets = std::size_t{1} << kDigitBits;
  constexpr std::uint64_t kMask = kBuckets - 1;
  std::vector<std::size_t> counts(kBuckets);
  std::vector<Item> moved(items.size());
  for (int shift = 0; shift < bits; shift += kDigitBits) {
    std::fill(counts.begin(), counts.end(), 0);
    for (Item const& item : items)
      ++counts[(key_of(item) >> shift) & kMask];
    if (std::find(counts.begin(), counts.end(), items.size()) != counts.end()) continue;
    std::size_t start = 0;
    for (std::size_t& count : counts) {
      std::size_t const here = count;
      count = start;
      start += here;
    }
    for (Item const& item : items)
      moved[counts[(key_of(item) >> shift) & kMask]++] = item;
    items.swap(moved);
  }
}

// Sorts `pieces` in plain byte-wise order (each byte unsigned, a prefix
// before its extensions), the order std::string_view's operator< gives.
// Long lists are ordered by their first eight bytes with a radix sort, and
// only pieces that share those are then compared in full.
//
//   {"n2", "N1", "n10", "\xe9"}  ->  {"N1", "n10", "n2", "\xe9"}
void sort_bytewise(std::vector<std::string_view>& pieces);

}  // namespace internal
}  // namespace krel
