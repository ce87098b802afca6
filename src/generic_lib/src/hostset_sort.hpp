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
// numbers are neither copied nor paged in again as they grow.
//   NumberList numbers;
//   numbers.push_back(Number{7, 1});  // numbers.size() == 1, numbers[0].value == 7
class NumberList {
 public:
  NumberList() = default;
  NumberList(NumberList const&) = delete;
  NumberList& operator=(NumberList const&) = delete;
  NumberList(NumberList&& other) noexcept
      : data_(other.data_), size_(other.size_), capacity_(other.capacity_) {
    other.data_ = nullptr;
    other.size_ = other.capacity_ = 0;
  }
  NumberList& operator=(NumberList&& other) noexcept {
    if (this != &other) {
      std::free(data_);
      data_ = other.data_;
      size_ = other.size_;
      capacity_ = other.capacity_;
      other.data_ = nullptr;
      other.size_ = other.capacity_ = 0;
    }
    return *this;
  }
  ~NumberList() { std::free(data_); }

  std::size_t size() const { return size_; }
  Number const& operator[](std::size_t i) const { return data_[i]; }

  void push_back(Number number) {
    if (size_ == capacity_) grow(size_ + 1);
    data_[size_++] = number;
  }
  void append(Number const* first, std::size_t count) {
    if (capacity_ - size_ < count) grow(size_ + count);
    for (std::size_t i = 0; i < count; ++i)
      data_[size_ + i] = first[i];
    size_ += count;
  }
  // Drops the numbers from `size` on.
  void shrink_to(std::size_t size) { size_ = size; }

 private:
  void grow(std::size_t need) {
    // A pattern of one name takes room for one name only.
    std::size_t capacity = 2 * capacity_;
    if (capacity < need) capacity = need;
    void* const grown = std::realloc(data_, capacity * sizeof(Number));
    if (grown == nullptr) throw std::bad_alloc();
    data_ = static_cast<Number*>(grown);
    capacity_ = capacity;
  }

  Number* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
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
