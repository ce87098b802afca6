// Host sets: the tree of runs, its canonical building and the set algebra.
//
// A name is cut into text pieces and numbers: "x1000c0s7" is the pattern
// "x%sc%ss%s" (three numbers) and the numbers 1000, 0, 7. A number is its
// written width together with its value, so "07" is (2, 7) and "7" is (1, 7);
// numbers order by width, then value.
//
// The names of one pattern with k numbers form a subset of a k-dimensional
// space, kept as a tree of nodes: a node lists disjoint runs of values of its
// number position (sorted, each run within one width), and for every run the
// node of the remaining positions that each value of the run leads to. The
// last position has no children. Two neighbouring runs of one width that lead
// to equal nodes are always merged, so every set has exactly one tree and
// equal sets have equal trees; a rectangle "x[1-9]c[0-7]" is one run per
// level whatever its count of names. The invariant every node keeps, and
// its checker, are in hostset_verify.hpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hostset_numbers.hpp"
#include "internal/inline_one_vector.hpp"

namespace krel {
namespace hostset_internal {

// A run of values lo..hi, all written with `width` digits.
struct Run {
  std::uint64_t lo = 0;
  std::uint64_t hi = 0;
  std::uint32_t width = 1;

  Count count() const { return static_cast<Count>(hi - lo) + 1; }
  bool operator==(Run const& other) const {
    return lo == other.lo && hi == other.hi && width == other.width;
  }
};

struct Node;
using NodePtr = std::shared_ptr<Node const>;

// The runs of one node. Most nodes of scattered sets hold a single run,
// which is kept inside the node instead of in memory of its own.
using RunList = internal::InlineOneVector<Run>;

// Runs seen from outside their list: a node's, or any vector of them.
struct RunSpan {
  RunSpan(RunList const& runs) : first(runs.begin()), count(runs.size()) {}          // NOLINT
  RunSpan(std::vector<Run> const& runs) : first(runs.data()), count(runs.size()) {}  // NOLINT
  RunSpan(Run const* runs, std::size_t size) : first(runs), count(size) {}

  Run const* begin() const { return first; }
  Run const* end() const { return first + count; }
  std::size_t size() const { return count; }

  Run const* first;
  std::size_t count;
};

// One level of the tree. `children` is empty on the last level; elsewhere it
// has one entry per run. A node is never empty, except the unit node, which
// stands for the one name of a pattern without numbers.
struct Node {
  RunList runs;
  std::vector<NodePtr> children;
  Count count = 0;
  std::size_t hash = 0;
};

// The node of a pattern without numbers: the set holding the empty tuple.
NodePtr const& unit_node();

bool nodes_equal(Node const* a, Node const* b);

// Builds one node run by run, in order: merges a run into the previous one
// when they touch, share a width and lead to equal children.
class NodeBuilder {
 public:
  explicit NodeBuilder(bool last_level) : last_level_(last_level) {}
  void reserve(std::size_t runs);
  // Adds values lo..hi of one width; `child` must be null on the last level
  // and non-null elsewhere. Runs must come in increasing order.
  void add(std::uint32_t width, std::uint64_t lo, std::uint64_t hi, NodePtr child);
  // The node, or null when nothing was added.
  NodePtr finish();

 private:
  bool last_level_;
  Node node_;
};

// The count and the hash of a node from its runs and children.
void node_summary(Node const& node, bool last_level, Count& count, std::size_t& hash);

enum class Operation { kUnion, kIntersection, kDifference, kSymmetricDifference };

// The set operation on two trees of `depth` levels; null stands for the empty
// set and is what an empty result gives.
NodePtr combine(NodePtr const& a, NodePtr const& b, Operation operation, std::size_t depth);

// The union of the trees tree_at(begin) .. tree_at(end - 1), all of `depth`
// levels, merged two by two as a balanced tree: each name takes part in
// about log2(end - begin) merges, not in one per tree. Null when the range
// is empty.
//
//   balanced_union(0, boxes.size(), depth,
//                  [&](std::size_t i) { return boxes[i].tree; })
template <typename TreeAt>
NodePtr balanced_union(std::size_t begin, std::size_t end, std::size_t depth,
                       TreeAt const& tree_at) {
  if (begin == end) return nullptr;
  if (end - begin == 1) return tree_at(begin);
  std::size_t const middle = begin + (end - begin) / 2;
  return combine(balanced_union(begin, middle, depth, tree_at),
                 balanced_union(middle, end, depth, tree_at), Operation::kUnion, depth);
}

// Whether every tuple of `a` is in `b` (both `depth` levels, either null).
bool node_subset(Node const* a, Node const* b, std::size_t depth);

}  // namespace hostset_internal
}  // namespace krel
