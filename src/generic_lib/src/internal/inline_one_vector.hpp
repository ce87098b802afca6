// A growable array that keeps its first value inside itself. Private to the
// library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>

namespace krel {
namespace internal {

// A growable array of trivially copyable values whose first value is kept
// inside the array object: a list of one value (the most common list in a
// scattered host set) takes no memory of its own. Values beyond the first
// live in one block grown with realloc, so a large block grows by remapping
// its pages instead of copying them. Sizes and capacities are 32-bit; growing
// past 2^31 values, or memory running out, throws std::bad_alloc.
//
// One bit, the mark, is kept beside the values for the owner to use (a list
// may say with it how its values are encoded); it moves with them.
//
//   InlineOneVector<int> values;
//   values.push_back(7);  // values.size() == 1, values[0] == 7, no allocation
//   values.push_back(9);  // now in a block of two
template <typename T>
class InlineOneVector {
  static_assert(std::is_trivially_copyable<T>::value, "values are moved with realloc");

 public:
  InlineOneVector() noexcept : inline_() {}
  InlineOneVector(InlineOneVector const&) = delete;
  InlineOneVector& operator=(InlineOneVector const&) = delete;
  InlineOneVector(InlineOneVector&& other) noexcept : inline_() { take(other); }
  InlineOneVector& operator=(InlineOneVector&& other) noexcept {
    if (this != &other) {
      release();
      take(other);
    }
    return *this;
  }
  ~InlineOneVector() { release(); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  std::size_t capacity() const { return capacity_ & kCapacityBits; }
  T* data() { return on_heap() ? heap_ : &inline_; }
  T const* data() const { return on_heap() ? heap_ : &inline_; }
  T const* begin() const { return data(); }
  T const* end() const { return data() + size_; }
  T const& operator[](std::size_t i) const { return data()[i]; }
  T& back() { return data()[size_ - 1]; }

  bool mark() const { return (capacity_ & kMarkBit) != 0; }
  void set_mark() { capacity_ |= kMarkBit; }

  // Room for `capacity` values, exactly, when there is less.
  void reserve(std::size_t capacity) {
    if (capacity > this->capacity()) reallocate(capacity);
  }
  // Room for `count` values in all, at least doubling the room when it grows.
  void grow_to(std::size_t count) {
    if (count > capacity()) reallocate(std::max(count, 2 * capacity()));
  }
  void push_back(T const& value) {
    if (size_ == capacity()) grow_to(static_cast<std::size_t>(size_) + 1);
    data()[size_++] = value;
  }
  // Drops the values from `size` on.
  void shrink_to(std::size_t size) { size_ = static_cast<std::uint32_t>(size); }

 private:
  static constexpr std::uint32_t kMarkBit = std::uint32_t{1} << 31;
  static constexpr std::uint32_t kCapacityBits = kMarkBit - 1;

  bool on_heap() const { return capacity() > 1; }
  // Growing is seldom: it is kept out of the callers' path.
  [[gnu::noinline]] void reallocate(std::size_t capacity) {
    if (capacity > kCapacityBits) throw std::bad_alloc();
    bool const was_inline = !on_heap();
    void* const grown = std::realloc(was_inline ? nullptr : heap_, capacity * sizeof(T));
    if (grown == nullptr) throw std::bad_alloc();
    T* const values = static_cast<T*>(grown);
    if (was_inline && size_ > 0) values[0] = inline_;
    heap_ = values;
    capacity_ = static_cast<std::uint32_t>(capacity) | (capacity_ & kMarkBit);
  }
  void take(InlineOneVector& other) noexcept {
    size_ = other.size_;
    capacity_ = other.capacity_;
    if (on_heap()) {
      heap_ = other.heap_;
    } else {
      inline_ = other.inline_;
    }
    other.size_ = 0;
    other.capacity_ = 1;
  }
  void release() noexcept {
    if (on_heap()) std::free(heap_);
    size_ = 0;
    capacity_ = 1;
  }

  union {
    T inline_;
    T* heap_;
  };
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 1;  // above 1: the values are in heap_
};

}  // namespace internal
}  // namespace krel
