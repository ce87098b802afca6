// Host sets: sorting, and building the tree of one pattern from the numbers of
// many names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_storage.hpp"

namespace krel {
namespace hostset_internal {

// One number of a name: its value and written width.
struct Number {
  std::uint64_t value;
  std::uint32_t width;
};

// The numbers of many names, name after name, in one block grown with
// realloc: a large block grows by remapping its pages, so a million names'
// numbers are neither copied nor paged in again as they grow. While every
// number fits, each is packed in 64 bits (its width in the top byte, its
// value below), which halves that memory; the first that does not (a value
// of 2^56 or more, a width of 256 or more) turns the list into full
// Numbers. The one number of a pattern met once is kept inside the list
// when it packs.
//   NumberList numbers;
//   numbers.push_back(Number{7, 1});  // numbers.size() == 1, numbers[0].value == 7
class NumberList {
 public:
  NumberList() noexcept : inline_(0) {}
  NumberList(NumberList const&) = delete;
  NumberList& operator=(NumberList const&) = delete;
  NumberList(NumberList&& other) noexcept : inline_(0) { take(other); }
  NumberList& operator=(NumberList&& other) noexcept {
    if (this != &other) {
      release();
      take(other);
    }
    return *this;
  }
  ~NumberList() { release(); }

  std::size_t size() const { return size_; }
  Number operator[](std::size_t i) const {
    if (capacity() <= 1) return unpack(inline_);
    if (wide()) return static_cast<Number const*>(heap_)[i];
    return unpack(static_cast<std::uint64_t const*>(heap_)[i]);
  }

  void push_back(Number number) {
    if (size_ == capacity()) grow(static_cast<std::size_t>(size_) + 1);
    store(size_, number);
    ++size_;
  }
  void append(Number const* first, std::size_t count) {
    if (capacity() - size_ < count) grow(size_ + count);
    // One at a time: a number that widens the list finds the ones before
    // it counted.
    for (std::size_t i = 0; i < count; ++i) {
      store(size_, first[i]);
      ++size_;
    }
  }
  // Drops the numbers from `size` on.
  void shrink_to(std::size_t size) { size_ = static_cast<std::uint32_t>(size); }

 private:
  static constexpr int kWidthShift = 56;
  static constexpr std::uint64_t kValueMask = (std::uint64_t{1} << kWidthShift) - 1;
  static constexpr std::uint32_t kWide = std::uint32_t{1} << 31;  // a flag in capacity_

  static bool fits(Number number) { return number.value <= kValueMask && number.width < 256; }
  static std::uint64_t pack(Number number) {
    return (static_cast<std::uint64_t>(number.width) << kWidthShift) | number.value;
  }
  static Number unpack(std::uint64_t packed) {
    return Number{packed & kValueMask, static_cast<std::uint32_t>(packed >> kWidthShift)};
  }
  std::size_t capacity() const { return capacity_ & ~kWide; }
  bool wide() const { return (capacity_ & kWide) != 0; }
  std::size_t element_size() const { return wide() ? sizeof(Number) : sizeof(std::uint64_t); }

  void store(std::size_t i, Number number) {
    if (capacity() <= 1) {
      if (fits(number)) {
        inline_ = pack(number);
        return;
      }
      grow(2);  // into packed numbers, which widen() then turns into full ones
    }
    if (!wide() && !fits(number)) widen();
    if (wide()) {
      static_cast<Number*>(heap_)[i] = number;
    } else {
      static_cast<std::uint64_t*>(heap_)[i] = pack(number);
    }
  }

  void grow(std::size_t need) {
    // A pattern of a few names takes room for those names only.
    std::size_t capacity = 2 * this->capacity();
    if (capacity < need) capacity = need;
    if (capacity >= kWide) throw std::bad_alloc();
    bool const was_inline = this->capacity() <= 1;
    std::uint64_t const kept = inline_;
    std::size_t const element = wide() ? sizeof(Number) : sizeof(std::uint64_t);
    void* const grown = std::realloc(was_inline ? nullptr : heap_, capacity * element);
    if (grown == nullptr) throw std::bad_alloc();
    heap_ = grown;
    capacity_ = static_cast<std::uint32_t>(capacity) | (capacity_ & kWide);
    if (was_inline && size_ > 0) static_cast<std::uint64_t*>(heap_)[0] = kept;
  }

  // Turns packed numbers into full ones.
  void widen() {
    std::size_t const capacity = this->capacity();
    void* const wide = std::malloc(capacity * sizeof(Number));
    if (wide == nullptr) throw std::bad_alloc();
    auto* const numbers = static_cast<Number*>(wide);
    for (std::size_t i = 0; i < size_; ++i)
      numbers[i] = (*this)[i];
    std::free(heap_);
    heap_ = wide;
    capacity_ = static_cast<std::uint32_t>(capacity) | kWide;
  }

  void take(NumberList& other) noexcept {
    size_ = other.size_;
    capacity_ = other.capacity_;
    if (capacity() > 1) {
      heap_ = other.heap_;
    } else {
      inline_ = other.inline_;
    }
    other.size_ = 0;
    other.capacity_ = 1;
  }
  void release() noexcept {
    if (capacity() > 1) std::free(heap_);
    size_ = 0;
    capacity_ = 1;
  }

  union {
    std::uint64_t inline_;  // packed
    void* heap_;
  };
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 1;  // above 1: the numbers are in heap_
};

// Sorts pairs by their first member, a byte at a time from the lowest (a
// radix sort, stable). Bytes that every pair shares cost one counting pass.
//   {{3, 0}, {1, 1}, {3, 2}} -> {{1, 1}, {3, 0}, {3, 2}}
void sort_by_prefix(std::vector<std::pair<std::uint64_t, std::size_t>>& items);

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
