// Classes of an equivalence relation, numbered by first appearance. Private
// to the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace krel {
namespace internal {

// Assigns items to classes of an equivalence relation in order of first
// appearance: an item joins the class of the first earlier item it is
// equivalent to, or opens the next class. The result is the one that testing
// every item against the first member of every class gives, at the cost of a
// hash look-up per item. The caller's hash must give equivalent items equal
// hashes (see hash.hpp).
//
//   FirstAppearanceClasses classes;
//   bool opened = false;
//   classes.find_or_open(hash("b"), same_as_b, opened);  // 0, opened true
//   classes.find_or_open(hash("a"), same_as_a, opened);  // 1, opened true
//   classes.find_or_open(hash("b"), same_as_b, opened);  // 0, opened false
class FirstAppearanceClasses {
 public:
  // Asks for the slot an item with `hash` starts its search at to be cached.
  void prefetch(std::uint64_t hash) const {
    __builtin_prefetch(&tags_[static_cast<std::size_t>(hash) & mask_]);
  }
  // The class of an item with `hash`; `same(c)` tells whether the item is
  // equivalent to the members of class c. `opened` says whether the item
  // opened a new class.
  template <typename Same>
  std::uint32_t find_or_open(std::uint64_t hash, Same&& same, bool& opened) {
    std::uint8_t const tag = tag_of(static_cast<std::uint32_t>(hash));
    std::size_t slot = static_cast<std::size_t>(hash) & mask_;
    for (; tags_[slot] != kFree; slot = (slot + 1) & mask_) {
      if (tags_[slot] == tag && same(slot_classes_[slot])) {
        opened = false;
        return slot_classes_[slot];
      }
    }
    auto const opened_class = static_cast<std::uint32_t>(class_hashes_.size());
    tags_[slot] = tag;
    slot_classes_[slot] = opened_class;
    class_hashes_.push_back(static_cast<std::uint32_t>(hash));
    if (class_hashes_.size() * 2 > tags_.size()) grow();
    opened = true;
    return opened_class;
  }

 private:
  // A byte of tag per slot is probed before the slot's class is read, and
  // small slots keep more of the table in cache: a list of many classes
  // spends its time and its memory here. A class keeps the low half of its
  // hash, which places it again when the table grows (tables stay below
  // 2^32 slots) and gives its tag.
  static constexpr std::uint8_t kFree = 0;
  static std::uint8_t tag_of(std::uint32_t low_hash) {
    return static_cast<std::uint8_t>((low_hash >> 25) + 1);  // 1 .. 128
  }
  // Doubles the table and places every class again.
  void grow();

  std::vector<std::uint8_t> tags_ = std::vector<std::uint8_t>(16, kFree);
  std::vector<std::uint32_t> slot_classes_ = std::vector<std::uint32_t>(16);
  std::size_t mask_ = 15;
  std::vector<std::uint32_t> class_hashes_;
};

}  // namespace internal
}  // namespace krel
