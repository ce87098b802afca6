#include "internal/bytewise_sort.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace krel {
namespace internal {

// Each piece carries its first eight bytes as a big-endian number
// (zero-padded), whose order is the byte-wise order of those bytes.
void sort_bytewise(std::vector<std::string_view>& pieces) {
  struct Keyed {
    std::uint64_t prefix;
    std::string_view piece;
  };
  auto const full_order = [](Keyed const& a, Keyed const& b) {
    if (a.prefix != b.prefix) return a.prefix < b.prefix;
    return a.piece < b.piece;
  };
  std::vector<Keyed> keyed;
  keyed.reserve(pieces.size());
  for (std::string_view const piece : pieces) {
    unsigned char bytes[8] = {};
    std::memcpy(bytes, piece.data(), std::min<std::size_t>(piece.size(), 8));
    std::uint64_t prefix = 0;
    for (unsigned char const byte : bytes)
      prefix = (prefix << 8) | byte;
    keyed.push_back(Keyed{prefix, piece});
  }

  constexpr std::size_t kFewPieces = 512;
  if (keyed.size() <= kFewPieces) {
    std::sort(keyed.begin(), keyed.end(), full_order);
  } else {
    radix_sort_by_key<8>(keyed, 64, [](Keyed const& k) { return k.prefix; });
    for (std::size_t first = 0; first < keyed.size();) {
      std::size_t last = first + 1;
      while (last < keyed.size() && keyed[last].prefix == keyed[first].prefix)
        ++last;
      if (last - first > 1) std::sort(keyed.begin() + first, keyed.begin() + last, full_order);
      first = last;
    }
  }
  for (std::size_t i = 0; i < keyed.size(); ++i)
    pieces[i] = keyed[i].piece;
}

}  // namespace internal
}  // namespace krel
