#include "internal/first_appearance_classes.hpp"

namespace krel {
namespace internal {

void FirstAppearanceClasses::grow() {
  std::size_t const size = tags_.size() * 2;
  mask_ = size - 1;
  // The old slots go before the new class numbers are made: the two tables
  // are never whole at once.
  tags_.assign(size, kFree);
  std::vector<std::uint32_t>().swap(slot_classes_);
  slot_classes_.resize(size);
  for (std::size_t c = 0; c < class_hashes_.size(); ++c) {
    std::uint32_t const hash = class_hashes_[c];
    std::size_t at = static_cast<std::size_t>(hash) & mask_;
    while (tags_[at] != kFree)
      at = (at + 1) & mask_;
    tags_[at] = tag_of(hash);
    slot_classes_[at] = static_cast<std::uint32_t>(c);
  }
}

}  // namespace internal
}  // namespace krel
