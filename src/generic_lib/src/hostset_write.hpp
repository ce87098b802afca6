// Host sets: writing runs and trees as notation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_data.hpp"

namespace krel {
namespace hostset_internal {

struct FoldStyle {
  std::uint64_t autostep = 0;  // 0: never write steps
};

// A number as it orders: written width, then value.
using NumberKey = std::pair<std::uint32_t, std::uint64_t>;

// Pieces and, when `firsts` is given, the numbers of each piece's first name.
// When `joined` is set, pieces are appended to it with `separator` between
// them instead of kept in `pieces`; when `visit` is set, they are handed to
// it as they are written.
struct FoldOutput {
  std::vector<std::string> pieces;
  std::vector<std::vector<NumberKey>>* firsts = nullptr;
  std::vector<NumberKey> path;
  std::string* joined = nullptr;
  std::string_view separator;
  std::function<void(std::string_view)> const* visit = nullptr;
  bool any = false;

  void add(std::string_view piece) {
    if (visit != nullptr) {
      (*visit)(piece);
      return;
    }
    if (joined == nullptr) {
      pieces.emplace_back(piece);
      return;
    }
    if (any) joined->append(separator.data(), separator.size());
    joined->append(piece.data(), piece.size());
    any = true;
  }
};

// The runs of one node whose values lead to one child, in the order the
// child first appears: such values share a folded piece.
struct ChildGroup {
  Node const* child;
  std::vector<Run> runs;
};
std::vector<ChildGroup> groups_by_child(Node const* node);

// Where each chain of consecutive values starts in `runs` (sorted, one
// position): the indexes of the runs that do not continue the one before.
// Plain values continue across a width, as "n[8-10]" reads.
//   runs 1-3, 5, 8-9 and 10-12 (width 2)  ->  0, 1, 2
std::vector<std::size_t> consecutive_chains(RunSpan runs);

// Writes the values of `runs` (sorted, one position) as "7", "[1-3,5]" ...
void append_runs(std::string& out, RunSpan runs, FoldStyle const& style);

// The pieces of one tree, every position folded, in order; each starts with
// `prefix`, which is left as it was.
void fold_node(PatternTexts const& texts, Node const* node, std::size_t level, std::string& prefix,
               FoldStyle const& style, FoldOutput& out);

// The pieces of a whole set as one text, `separator` between them.
std::string fold_joined(Data const& storage, FoldStyle const& style, std::string_view separator);

// Hands the pieces of a whole set to `visit`, in order.
void fold_visited(Data const& storage, FoldStyle const& style,
                  std::function<void(std::string_view)> const& visit);

// Iteration over one storage, in order.
void visit_names(Data const& storage, std::function<void(std::string_view)> const& visit);

}  // namespace hostset_internal
}  // namespace krel
