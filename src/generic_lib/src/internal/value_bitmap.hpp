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
    // Offsets past the span are clear, so every run ends inside the map or
    // exactly at its end.
    std::uint64_t const bits = words_.size() * 64;
    for (std::uint64_t start = 0; start < bits;) {
      start = next_with(start, true);
      if (start == bits) break;
      std::uint64_t const stop = next_with(start, false);
      on_run(static_cast<int>(low_ + static_cast<std::int64_t>(start)),
             static_cast<int>(low_ + static_cast<std::int64_t>(stop) - 1));
      start = stop;
    }
  }

 private:
  ValueBitmap(std::int64_t low, std::vector<std::uint64_t> words)
      : low_(low), words_(std::move(words)) {}

  // The first offset from `from` on whose bit is `set`; the map's size in
  // bits when there is none.
  std::uint64_t next_with(std::uint64_t from, bool set) const {
    std::size_t word = static_cast<std::size_t>(from / 64);
    std::uint64_t const flip = set ? 0 : ~std::uint64_t{0};
    std::uint64_t candidates = (words_[word] ^ flip) & (~std::uint64_t{0} << (from % 64));
    while (candidates == 0) {
      if (++word == words_.size()) return words_.size() * 64;
      candidates = words_[word] ^ flip;
    }
    return std::uint64_t{word} * 64 + static_cast<std::uint64_t>(__builtin_ctzll(candidates));
  }

  std::int64_t low_;                  // the value of bit 0
  std::vector<std::uint64_t> words_;  // bit i of word w: low_ + 64 w + i is present
};

}  // namespace internal
}  // namespace krel
