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
    // Least significant byte first; a byte that all pieces share needs no pass.
    std::vector<std::size_t> counts(8 * 256, 0);
    for (Keyed const& k : keyed) {
      for (int b = 0; b < 8; ++b)
        ++counts[static_cast<std::size_t>(b) * 256 + ((k.prefix >> (8 * b)) & 0xff)];
    }
    std::vector<Keyed> moved(keyed.size());
    for (std::size_t b = 0; b < 8; ++b) {
      std::size_t* const count = counts.data() + b * 256;
      if (std::find(count, count + 256, keyed.size()) != count + 256) continue;
      std::size_t start = 0;
      for (std::size_t digit = 0; digit < 256; ++digit) {
        std::size_t const here = count[digit];
        count[digit] = start;
        start += here;
      }
      for (Keyed const& k : keyed)
        moved[count[(k.prefix >> (8 * b)) & 0xff]++] = k;
      keyed.swap(moved);
    }
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
