#include "internal/value_bitmap.hpp"

#include <algorithm>
#include <utility>

namespace krel {
namespace internal {

std::optional<ValueBitmap> ValueBitmap::of_close_values(std::vector<int> const& values) {
  if (values.empty()) return std::nullopt;
  auto const [lowest, highest] = std::minmax_element(values.begin(), values.end());
  std::int64_t const low = *lowest;
  auto const span = static_cast<std::uint64_t>(std::int64_t{*highest} - low);
  if (span / 8 > values.size()) return std::nullopt;
  std::vector<std::uint64_t> words(static_cast<std::size_t>(span / 64) + 1, 0);
  for (int const value : values) {
    auto const offset = static_cast<std::uint64_t>(value - low);
    words[offset / 64] |= std::uint64_t{1} << (offset % 64);
  }
  return ValueBitmap(low, std::move(words));
}

std::size_t ValueBitmap::count() const {
  std::size_t count = 0;
  for (std::uint64_t const word : words_)
    count += static_cast<std::size_t>(__builtin_popcountll(word));
  return count;
}

}  // namespace internal
}  // namespace krel
