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
    __builtin_prefetch(&slots_[static_cast<std::size_t>(hash) & mask_]);
  }

  // The class of an item with `hash`; `same(c)` tells whether the item is
  // equivalent to the members of class c. `opened` says whether the item
  // opened a new class.
  template <typename Same>
  std::uint32_t find_or_open(std::uint64_t hash, Same&& same, bool& opened) {
    auto const tag = static_cast<std::uint32_t>(hash >> 32);
    std::size_t slot = static_cast<std::size_t>(hash) & mask_;
    for (; slots_[slot].class_plus_one != 0; slot = (slot + 1) & mask_) {
      Slot const& probe = slots_[slot];
      if (probe.tag == tag && same(probe.class_plus_one - 1)) {
        opened = false;
        return probe.class_plus_one - 1;
      }
    }
    auto const opened_class = static_cast<std::uint32_t>(class_hashes_.size());
    slots_[slot] = Slot{tag, opened_class + 1};
    class_hashes_.push_back(hash);
    if (class_hashes_.size() * 2 > slots_.size()) grow();
    opened = true;
    return opened_class;
  }

 private:
  // Small slots keep more of the table in cache; the full hashes, needed
  // only when the table grows, are kept per class.
  struct Slot {
    std::uint32_t tag;             // the hash's upper half
    std::uint32_t class_plus_one;  // 0: empty slot
  };

  // Doubles the table and places every class again.
  void grow();

  std::vector<Slot> slots_ = std::vector<Slot>(16, Slot{0, 0});
  std::size_t mask_ = 15;
  std::vector<std::uint64_t> class_hashes_;
};

}  // namespace internal
}  // namespace krel
