// Host sets: a cursor over the names of a set, in iteration order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hostset_data.hpp"
#include "hostset_sort.hpp"
#include "krel/hostset.hpp"

namespace krel {
namespace hostset_internal {

// Walks the names of a storage one at a time, in iteration order. The
// current name is kept written out; moving on bumps the digits of the last
// number in place, and rewrites the numbers after a position only when that
// position moves, so a name costs O(1) amortised, whatever the patterns.
// The storage must outlive the cursor and stay unchanged (storages never
// change once built).
//
//   NameCursor cursor(storage);  // storage of "n[9-10],m1"
//   cursor.name();  // "m1"; cursor.next(); "n9"; cursor.next(); "n10"
//   cursor.next();  // cursor.done()
class NameCursor {
 public:
  // A cursor past the end.
  NameCursor() = default;
  // A cursor on the first name of `storage` (past the end when it is empty).
  explicit NameCursor(Data const& storage);
  NameCursor(NameCursor const& other);
  NameCursor& operator=(NameCursor const& other);

  bool done() const { return storage_ == nullptr; }
  // The current name; it changes in place at the next call of next().
  std::string const& name() const { return name_; }
  // The place of the current pattern in the storage, and the numbers of
  // the current name: numbers() of them, number(0) the leftmost.
  std::size_t pattern() const { return pattern_; }
  std::size_t numbers() const { return levels_.size(); }
  Number number(std::size_t level) const {
    Level const& at = levels_[level];
    return Number{at.value, at.node->runs[at.run].width};
  }

  // Moves to the next name; past the last, done() becomes true.
  void next();

 private:
  // Where the walk stands at one number position.
  struct Level {
    Node const* node = nullptr;
    std::size_t run = 0;
    std::uint64_t value = 0;
    std::size_t number_at = 0;   // where the number starts in name_
    std::size_t number_end = 0;  // and where it ends
  };

  void enter_pattern();
  void write_from(std::size_t level);

  Data const* storage_ = nullptr;
  std::size_t pattern_ = 0;
  PatternTexts texts_;
  std::vector<Level> levels_;
  std::string name_;
};

// `parts` consecutive parts of near-equal size, the larger ones first (1 <=
// parts <= count), cut while walking the names once: each part's names go
// to the tree builder as numbers.
std::vector<std::shared_ptr<Data>> cut_storage(Data const& storage, std::uint64_t parts);

}  // namespace hostset_internal
}  // namespace krel

namespace krel {

// What a HostSetNameIterator holds: the engine's cursor.
struct HostSetNameIterator::Cursor : hostset_internal::NameCursor {
  using NameCursor::NameCursor;
};

}  // namespace krel
