// Sorting byte strings in plain byte-wise order, fast for long lists.
// Private to the library.
#pragma once

#include <string_view>
#include <vector>

namespace krel {
namespace internal {

// Sorts `pieces` in plain byte-wise order (each byte unsigned, a prefix
// before its extensions), the order std::string_view's operator< gives.
// Long lists are ordered by their first eight bytes with a radix sort, and
// only pieces that share those are then compared in full.
//
//   {"n2", "N1", "n10", "\xe9"}  ->  {"N1", "n10", "n2", "\xe9"}
void sort_bytewise(std::vector<std::string_view>& pieces);

}  // namespace internal
}  // namespace krel
