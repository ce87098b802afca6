#include "internal/first_appearance_classes.hpp"

namespace krel {
namespace internal {

void FirstAppearanceClasses::grow() {
  slots_.assign(slots_.size() * 2, Slot{0, 0});
  mask_ = slots_.size() - 1;
  for (std::size_t c = 0; c < class_hashes_.size(); ++c) {
    std::uint64_t const hash = class_hashes_[c];
    std::size_t at = static_cast<std::size_t>(hash) & mask_;
    while (slots_[at].class_plus_one != 0)
      at = (at + 1) & mask_;
    slots_[at] = Slot{static_cast<std::uint32_t>(hash >> 32), static_cast<std::uint32_t>(c + 1)};
  }
}

}  // namespace internal
}  // namespace krel
