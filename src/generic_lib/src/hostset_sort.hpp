// Host sets: sorting, and building the tree of one pattern from the numbers of
// many names.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_data.hpp"

namespace krel {
namespace hostset_internal {

// One number of a name: its value and written width.
struct Number {
  std::uint64_t value;
  std::uint32_t width;
};

// The numbers of many names, name after name, in one block grown with
// realloc (an InlineOneVector of 64-bit words): a large block grows by
// remapping its pages, so a million names' numbers are neither copied nor
// paged in again as they grow. While every number fits, each is packed in
// one word (its width in the top byte, its value below), which halves that
// memory; the first that does not (a value of 2^56 or more, a width of 256
// or more) turns the list into two words per number, value then width, and
// marks it so. The one number of a pattern met once is kept inside the list
// when it packs.
//   NumberList numbers;
//   numbers.push_back(Number{7, 1});  // numbers.size() == 1, numbers[0].value == 7
class NumberList {
 public:
  std::size_t size() const { return wide() ? words_.size() / 2 : words_.size(); }
  Number operator[](std::size_t i) const {
    std::uint64_t const* const words = words_.data();
    if (!wide()) return unpack(words[i]);
    return Number{words[2 * i], static_cast<std::uint32_t>(words[2 * i + 1])};
  }

  void push_back(Number number) {
    if (!wide() && fits(number)) {
      words_.push_back(pack(number));
    } else {
      push_wide(number);
    }
  }
  void append(Number const* first, std::size_t count) {
    // A pattern of a few names takes room for those names only.
    words_.grow_to(words_.size() + (wide() ? 2 * count : count));
    // One at a time: a number that widens the list finds the ones before
    // it counted.
    for (std::size_t i = 0; i < count; ++i)
      push_back(first[i]);
  }
  // Drops the numbers from `size` on.
  void shrink_to(std::size_t size) { words_.shrink_to(wide() ? 2 * size : size); }

 private:
  static constexpr int kWidthShift = 56;
  static constexpr std::uint64_t kValueMask = (std::uint64_t{1} << kWidthShift) - 1;

  static bool fits(Number number) { return number.value <= kValueMask && number.width < 256; }
  static std::uint64_t pack(Number number) {
    return (static_cast<std::uint64_t>(number.width) << kWidthShift) | number.value;
  }
  static Number unpack(std::uint64_t packed) {
    return Number{packed & kValueMask, static_cast<std::uint32_t>(packed >> kWidthShift)};
  }
  bool wide() const { return words_.mark(); }

  // Seldom taken: out of the way of the packed numbers' path.
  [[gnu::noinline]] void push_wide(Number number) {
    if (!wide()) widen();
    words_.grow_to(words_.size() + 2);
    words_.push_back(number.value);
    words_.push_back(number.width);
  }

  // Turns packed numbers into full ones.
  void widen() {
    internal::InlineOneVector<std::uint64_t> wide;
    wide.reserve(std::max<std::size_t>(2 * words_.capacity(), 2));
    for (std::uint64_t const packed : words_) {
      Number const number = unpack(packed);
      wide.push_back(number.value);
      wide.push_back(number.width);
    }
    wide.set_mark();
    words_ = std::move(wide);
  }

  internal::InlineOneVector<std::uint64_t> words_;
};

// Last nodes of one value, shared by the trees built with the same cache:
// the patterns of one name each ("login1", "db1") mostly end in the same
// few values. A small cache by a hash of the value, where a newcomer takes
// the place of the node it collides with.
class LeafCache {
 public:
  NodePtr const& leaf(Number number);

 private:
  struct Leaf {
    std::uint64_t value = 0;
    std::uint32_t width = 0;
    NodePtr node;
  };
  std::array<Leaf, 256> leaves_;
};

// The tree of the names whose numbers are `numbers`, `per_name` numbers per
// name, name after name (duplicates allowed; per_name >= 1). Near-linear:
// the tuples are packed into 64-bit keys and radix-sorted when they fit. The
// tree of a single name takes its last node from `leaves`.
NodePtr build_tree(NumberList const& numbers, std::size_t per_name, LeafCache& leaves);

}  // namespace hostset_internal
}  // namespace krel
