// Host sets: building the tree of one pattern from the numbers of many names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_storage.hpp"

namespace krel {
namespace hostset {

// One number of a name: its value and written width.
struct Number {
  std::uint64_t value;
  std::uint32_t width;
};

// The numbers of many names, name after name, in one block grown with
// realloc: a large block grows by remapping its pages, so a million names'
// numbers are neither copied nor paged in again as they grow. The one
// number of a pattern met once is kept inside the list.
//   NumberList numbers;
//   numbers.push_back(Number{7, 1});  // numbers.size() == 1, numbers[0].value == 7
class NumberList {
 public:
  NumberList() noexcept : inline_() {}
  NumberList(NumberList const&) = delete;
  NumberList& operator=(NumberList const&) = delete;
  NumberList(NumberList&& other) noexcept : inline_() { take(other); }
  NumberList& operator=(NumberList&& other) noexcept {
    if (this != &other) {
      release();
      take(other);
    }
    return *this;
  }
  ~NumberList() { release(); }

  std::size_t size() const { return size_; }
  Number const& operator[](std::size_t i) const { return data()[i]; }

  void push_back(Number number) {
    if (size_ == capacity_) grow(size_ + 1);
    data()[size_++] = number;
  }
  void append(Number const* first, std::size_t count) {
    if (capacity_ - size_ < count) grow(size_ + count);
    Number* const numbers = data();
    for (std::size_t i = 0; i < count; ++i)
      numbers[size_ + i] = first[i];
    size_ += static_cast<std::uint32_t>(count);
  }
  // Drops the numbers from `size` on.
  void shrink_to(std::size_t size) { size_ = static_cast<std::uint32_t>(size); }

 private:
  Number* data() { return capacity_ > 1 ? heap_ : &inline_; }
  Number const* data() const { return capacity_ > 1 ? heap_ : &inline_; }

  void grow(std::size_t need) {
    // A pattern of a few names takes room for those names only.
    std::size_t capacity = 2 * static_cast<std::size_t>(capacity_);
    if (capacity < need) capacity = need;
    if (capacity > UINT32_MAX) throw std::bad_alloc();
    bool const was_inline = capacity_ <= 1;
    void* const grown = std::realloc(was_inline ? nullptr : heap_, capacity * sizeof(Number));
    if (grown == nullptr) throw std::bad_alloc();
    auto* const numbers = static_cast<Number*>(grown);
    if (was_inline && size_ > 0) numbers[0] = inline_;
    heap_ = numbers;
    capacity_ = static_cast<std::uint32_t>(capacity);
  }
  void take(NumberList& other) noexcept {
    size_ = other.size_;
    capacity_ = other.capacity_;
    if (capacity_ > 1) {
      heap_ = other.heap_;
    } else {
      inline_ = other.inline_;
    }
    other.size_ = 0;
    other.capacity_ = 1;
  }
  void release() noexcept {
    if (capacity_ > 1) std::free(heap_);
    size_ = 0;
    capacity_ = 1;
  }

  union {
    Number inline_;
    Number* heap_;
  };
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 1;  // above 1: the numbers are in heap_
};

// Cuts a plain name into its pattern key (see Pattern::key) and numbers. A
// digit run too long for 64 bits stays text.
void split_name(std::string_view name, std::string& key, std::vector<Number>& numbers);

// The tree of the names whose numbers are `numbers`, `per_name` numbers per
// name, name after name (duplicates allowed; per_name >= 1). Near-linear:
// the tuples are packed into 64-bit keys and radix-sorted when they fit.
NodePtr build_tree(NumberList const& numbers, std::size_t per_name);

}  // namespace hostset
}  // namespace krel
