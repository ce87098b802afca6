// A set of ints that lie close together, one bit per value between the
// lowest and the highest. Private to the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace krel {
namespace internal {

// The first offset from `from` on whose bit in `words` is `set` (bit i of
// word w is offset 64 w + i); the size in bits when there is none. `from`
// must lie inside the words.
//
//   next_bit_with({0b0110}, 0, true)   // 1
//   next_bit_with({0b0110}, 1, false)  // 3
inline std::uint64_t next_bit_with(std::vector<std::uint64_t> const& words, std::uint64_t from,
                                   bool set) {
  std::size_t word = static_cast<std::size_t>(from / 64);
  std::uint64_t const flip = set ? 0 : ~std::uint64_t{0};
  std::uint64_t candidates = (words[word] ^ flip) & (~std::uint64_t{0} << (from % 64));
  while (candidates == 0) {
    if (++word == words.size()) return words.size() * 64;
    candidates = words[word] ^ flip;
  }
  return std::uint64_t{word} * 64 + static_cast<std::uint64_t>(__builtin_ctzll(candidates));
}

// Calls on_run(first, last) for every maximal run of set bits in `words`,
// as offsets (see next_bit_with), in ascending order.
//
//   for_each_bit_run({0b1101}, on_run)  // (0, 0), then (2, 3)
template <typename OnRun>
void for_each_bit_run(std::vector<std::uint64_t> const& words, OnRun&& on_run) {
  std::uint64_t const bits = words.size() * 64;
  for (std::uint64_t start = 0; start < bits;) {
    start = next_bit_with(words, start, true);
    if (start == bits) break;
    std::uint64_t const stop = next_bit_with(words, start, false);
    on_run(start, stop - 1);
    start = stop;
  }
}

// The distinct values of a list of ints, kept as a bit map. Building it and
// walking it cost time in proportion to the count and span of the values,
// not a sort, which pays for values close together (host numbers, mostly).
//
//   auto map = ValueBitmap::of_close_values({7, 3, 4, 3});
//   map->count();                                     // 3
//   map->for_each_run([](int first, int last) {...});  // (3, 4), then (7, 7)
class ValueBitmap {
 public:
  // The map of `values`; nullopt when there are none, or when they lie too
  // far apart for a map to pay (a span of more than eight per value).
  static std::optional<ValueBitmap> of_close_values(std::vector<int> const& values);

  // How many distinct values there are.
  std::size_t count() const;

  // Calls on_run(first, last) for every maximal run of consecutive values,
  // in ascending order.
  template <typename OnRun>
  void for_each_run(OnRun&& on_run) const {
    for_each_bit_run(words_, [&](std::uint64_t first, std::uint64_t last) {
      on_run(static_cast<int>(low_ + static_cast<std::int64_t>(first)),
             static_cast<int>(low_ + static_cast<std::int64_t>(last)));
    });
  }

 private:
  ValueBitmap(std::int64_t low, std::vector<std::uint64_t> words)
      : low_(low), words_(std::move(words)) {}

  std::int64_t low_;                  // the value of bit 0
  std::vector<std::uint64_t> words_;  // bit i of word w: low_ + 64 w + i is present
};

}  // namespace internal
}  // namespace krel
