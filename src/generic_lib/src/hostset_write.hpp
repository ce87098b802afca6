// Host sets: writing runs and trees as notation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
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
// When `joined` is set, pieces are appended to it with `separator` between
// them instead of kept in `pieces`.
struct FoldOutput {
  std::vector<std::string> pieces;
  std::vector<std::vector<NumberKey>>* firsts = nullptr;
  std::vector<NumberKey> path;
  std::string* joined = nullptr;
  std::string_view separator;
  bool any = false;

  void add(std::string_view piece) {
    if (joined == nullptr) {
      pieces.emplace_back(piece);
      return;
    }
    if (any) joined->append(separator.data(), separator.size());
    joined->append(piece.data(), piece.size());
    any = true;
  }
};

// Writes the values of `runs` (sorted, one position) as "7", "[1-3,5]" ...
void append_runs(std::string& out, RunSpan runs, FoldStyle const& style);

// The pieces of one tree, every position folded, in order; each starts with
// `prefix`, which is left as it was.
void fold_node(PatternTexts const& texts, Node const* node, std::size_t level, std::string& prefix,
               FoldStyle const& style, FoldOutput& out);

// The pieces of a whole set, every position folded, in order.
std::vector<std::string> fold_pieces(Data const& storage, FoldStyle const& style);

// The pieces of a whole set as one text, `separator` between them.
std::string fold_joined(Data const& storage, FoldStyle const& style, std::string_view separator);

}  // namespace hostset
}  // namespace krel
