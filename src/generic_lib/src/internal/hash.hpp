// Hashing for the library's hash tables. Equal keys always hash equally,
// which is all that correctness needs; the mixing only has to spread the
// keys. Private to the library.
//
//   std::uint64_t h = hash_step(kHashSeed, tokens.size());
//   h = hash_bytes(h, text.data(), text.size());
//   std::uint64_t const hash = hash_finish(h);
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace krel {
namespace internal {

// Where every hash starts.
constexpr std::uint64_t kHashSeed = 0xcbf29ce484222325ULL;

// Mixes one value into `hash`.
inline std::uint64_t hash_step(std::uint64_t hash, std::uint64_t value) {
  constexpr std::uint64_t kMultiplier = 0x9e3779b97f4a7c15ULL;
  hash = (hash ^ value) * kMultiplier;
  return hash ^ (hash >> 29);
}

// The last mixing, which spreads every bit of `hash` over the whole value,
// so that its lower and upper halves can serve on their own.
inline std::uint64_t hash_finish(std::uint64_t hash) {
  hash ^= hash >> 33;
  hash *= 0xff51afd7ed558ccdULL;
  hash ^= hash >> 33;
  return hash;
}

// Mixes `size` bytes into `hash`, eight at a time, the length first so that
// short keys do not collide with their zero-padded neighbours. The bytes
// past the last eight are taken as the text's last eight bytes when it has
// that many (some are mixed in twice, which does no harm), and are otherwise
// gathered in a register: a word put together in memory byte by byte is slow
// to read.
inline std::uint64_t hash_bytes(std::uint64_t hash, char const* data, std::size_t size) {
  hash = hash_step(hash, size);
  char const* const end = data + size;
  bool const has_eight = size >= 8;
  for (; size >= 8; data += 8, size -= 8) {
    std::uint64_t word;
    std::memcpy(&word, data, 8);
    hash = hash_step(hash, word);
  }
  if (size != 0) {
    std::uint64_t word = 0;
    if (has_eight) {
      std::memcpy(&word, end - 8, 8);
    } else {
      for (std::size_t i = 0; i < size; ++i)
        word |= static_cast<std::uint64_t>(static_cast<unsigned char>(data[i])) << (8 * i);
    }
    hash = hash_step(hash, word);
  }
  return hash;
}

}  // namespace internal
}  // namespace krel
