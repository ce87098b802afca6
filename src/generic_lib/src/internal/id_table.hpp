// A hash set of 32-bit ids whose keys live elsewhere: the caller keeps the
// keys (in an array indexed by id) and says how to compare one with the key
// looked for. Slots hold 32 bits of the key's hash beside the id, so a probe
// touches a key only when the hashes agree, and growing never reads keys.
//
//   IdTable table;
//   bool inserted = false;
//   std::uint32_t const id = table.find_or_insert(
//       hash, [&](std::uint32_t id) { return keys[id] == key; }, keys.size(), inserted);
//   if (inserted) keys.push_back(key);
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace krel {
namespace internal {

class IdTable {
 public:
  // The id whose key `equal` accepts among those hashed to `hash`, or, when
  // there is none, `new_id`, which is then stored (and `inserted` set).
  template <typename Equal>
  std::uint32_t find_or_insert(std::uint64_t hash, Equal const& equal, std::uint32_t new_id,
                               bool& inserted) {
    if ((count_ + 1) * 8 > slots_.size() * 7) grow();
    auto const tag = static_cast<std::uint32_t>(hash);
    std::size_t const mask = slots_.size() - 1;
    for (std::size_t at = tag & mask;; at = (at + 1) & mask) {
      Slot& slot = slots_[at];
      if (slot.id_plus_one == 0) {
        slot = Slot{tag, new_id + 1};
        ++count_;
        inserted = true;
        return new_id;
      }
      if (slot.tag == tag && equal(slot.id_plus_one - 1)) {
        inserted = false;
        return slot.id_plus_one - 1;
      }
    }
  }

  // The id whose key `equal` accepts, or kMissing.
  template <typename Equal>
  std::uint32_t find(std::uint64_t hash, Equal const& equal) const {
    if (slots_.empty()) return kMissing;
    auto const tag = static_cast<std::uint32_t>(hash);
    std::size_t const mask = slots_.size() - 1;
    for (std::size_t at = tag & mask;; at = (at + 1) & mask) {
      Slot const& slot = slots_[at];
      if (slot.id_plus_one == 0) return kMissing;
      if (slot.tag == tag && equal(slot.id_plus_one - 1)) return slot.id_plus_one - 1;
    }
  }

  // Starts fetching the slot where a probe for `hash` begins, so that a
  // lookup soon after finds it in the cache.
  void prefetch(std::uint64_t hash) const {
    if (!slots_.empty())
      __builtin_prefetch(&slots_[static_cast<std::uint32_t>(hash) & (slots_.size() - 1)]);
  }

  // The first id stored under `hash`'s tag, whatever its key, or kMissing:
  // a guess at the answer of a lookup, for fetching its key ahead.
  std::uint32_t first_candidate(std::uint64_t hash) const {
    return find(hash, [](std::uint32_t) { return true; });
  }

  static constexpr std::uint32_t kMissing = 0xffffffffU;

 private:
  struct Slot {
    std::uint32_t tag = 0;
    std::uint32_t id_plus_one = 0;  // 0: free
  };

  // Doubles the slots (16 at first) and puts every id back by its tag.
  void grow() {
    std::vector<Slot> old(slots_.empty() ? 16 : slots_.size() * 2);
    old.swap(slots_);
    std::size_t const mask = slots_.size() - 1;
    for (Slot const& slot : old) {
      if (slot.id_plus_one == 0) continue;
      std::size_t at = slot.tag & mask;
      while (slots_[at].id_plus_one != 0)
        at = (at + 1) & mask;
      slots_[at] = slot;
    }
  }

  std::vector<Slot> slots_;
  std::size_t count_ = 0;
};

}  // namespace internal
}  // namespace krel
