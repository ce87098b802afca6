// Host sets: writing runs and trees as notation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hostset_storage.hpp"

namespace krel {
namespace hostset {

struct FoldStyle {
  std::uint64_t autostep = 0;  // 0: never write steps
  bool split_last = false;     // one piece per range of the last number
};

// A number as it orders: written width, then value.
using NumberKey = std::pair<std::uint32_t, std::uint64_t>;

// Pieces and, when `firsts` is given, the numbers of each piece's first name.
struct FoldOutput {
  std::vector<std::string> pieces;
  std::vector<std::vector<NumberKey>>* firsts = nullptr;
  std::vector<NumberKey> path;
};

// Writes the values of `runs` (sorted, one position) as "7", "[1-3,5]" ...
void append_runs(std::string& out, std::vector<Run> const& runs, FoldStyle const& style);

// The pieces of one tree, every position folded, in order; each starts with
// `prefix`, which is left as it was.
void fold_node(Pattern const& pattern, Node const* node, std::size_t level, std::string& prefix,
               FoldStyle const& style, FoldOutput& out);

// The pieces of a whole set, every position folded, in order.
std::vector<std::string> fold_pieces(Data const& storage, FoldStyle const& style);

}  // namespace hostset
}  // namespace krel
