// Host sets: the tree of runs, its canonical building and the set algebra.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "hostset_node.hpp"
#include "hostset_verify.hpp"
#include "internal/hash.hpp"

namespace krel {
namespace hostset_internal {
namespace {

// A position in the runs of one node while two nodes are walked side by side:
// the current run, with its values before `lo` already dealt with.
class Cursor {
 public:
  explicit Cursor(Node const* node) : node_(node) {
    if (!done()) lo_ = node_->runs[0].lo;
  }
  bool done() const { return node_ == nullptr || index_ >= node_->runs.size(); }
  std::uint32_t width() const { return node_->runs[index_].width; }
  std::uint64_t lo() const { return lo_; }
  std::uint64_t hi() const { return node_->runs[index_].hi; }
  NodePtr const* child() const {
    return node_->children.empty() ? nullptr : &node_->children[index_];
  }
  // Marks the values up to `end` (within the current run) as dealt with.
  void consume_through(std::uint64_t end) {
    if (end == hi()) {
      ++index_;
      if (!done()) lo_ = node_->runs[index_].lo;
    } else {
      lo_ = end + 1;
    }
  }

 private:
  Node const* node_;
  std::size_t index_ = 0;
  std::uint64_t lo_ = 0;
};

NodePtr const kNoNode;

NodePtr combine_children(NodePtr const* a, NodePtr const* b, Operation operation,
                         std::size_t depth) {
  return combine(a ? *a : kNoNode, b ? *b : kNoNode, operation, depth);
}

}  // namespace

NodePtr const& unit_node() {
  static NodePtr const unit = [] {
    auto node = std::make_shared<Node>();
    node->count = 1;
    node->hash = 0x51ab1e;
    return NodePtr(std::move(node));
  }();
  return unit;
}

bool nodes_equal(Node const* a, Node const* b) {
  if (a == b) return true;
  if (a == nullptr || b == nullptr) return false;
  if (a->hash != b->hash || a->count != b->count || a->runs.size() != b->runs.size() ||
      a->children.size() != b->children.size())
    return false;
  if (!std::equal(a->runs.begin(), a->runs.end(), b->runs.begin())) return false;
  for (std::size_t i = 0; i < a->children.size(); ++i) {
    if (!nodes_equal(a->children[i].get(), b->children[i].get())) return false;
  }
  return true;
}

void NodeBuilder::reserve(std::size_t runs) {
  node_.runs.reserve(runs);
  if (!last_level_) node_.children.reserve(runs);
}

void NodeBuilder::add(std::uint32_t width, std::uint64_t lo, std::uint64_t hi, NodePtr child) {
  if (!node_.runs.empty()) {
    Run& last = node_.runs.back();
    if (last.width == width && last.hi != kMaxValue && last.hi + 1 == lo &&
        (last_level_ || nodes_equal(node_.children.back().get(), child.get()))) {
      last.hi = hi;
      return;
    }
  }
  node_.runs.push_back(Run{lo, hi, width});
  if (!last_level_) node_.children.push_back(std::move(child));
}

void node_summary(Node const& node, bool last_level, Count& count, std::size_t& hash) {
  count = 0;
  hash = internal::hash_step(internal::kHashSeed, node.runs.size());
  for (std::size_t i = 0; i < node.runs.size(); ++i) {
    Run const& run = node.runs[i];
    hash = internal::hash_step(hash, run.lo);
    hash = internal::hash_step(hash, run.hi);
    hash = internal::hash_step(hash, run.width);
    if (last_level) {
      count = add_counts(count, run.count());
    } else {
      hash = internal::hash_step(hash, node.children[i]->hash);
      count = add_counts(count, multiply_counts(run.count(), node.children[i]->count));
    }
  }
}

NodePtr NodeBuilder::finish() {
  if (node_.runs.empty()) return nullptr;
  node_summary(node_, last_level_, node_.count, node_.hash);
  // The children were checked when they were made: this node alone is.
  assert(check_node(node_, last_level_, nullptr));
  return std::make_shared<Node const>(std::move(node_));
}

NodePtr combine(NodePtr const& a, NodePtr const& b, Operation operation, std::size_t depth) {
  bool const has_a = a != nullptr;
  bool const has_b = b != nullptr;
  if (!has_a || !has_b || a.get() == b.get() || depth == 0) {
    bool same = has_a && has_b;
    switch (operation) {
      case Operation::kUnion:
        return has_a ? a : b;
      case Operation::kIntersection:
        return same ? a : nullptr;
      case Operation::kDifference:
        return same ? nullptr : a;
      case Operation::kSymmetricDifference:
        return same ? nullptr : (has_a ? a : b);
    }
  }
  bool const last_level = depth == 1;
  NodeBuilder builder(last_level);
  builder.reserve(a->runs.size() + b->runs.size());
  Cursor x(a.get());
  Cursor y(b.get());
  bool const keep_only_a = operation != Operation::kIntersection;  // values in a alone survive
  bool const keep_only_b =
      operation == Operation::kUnion || operation == Operation::kSymmetricDifference;
  while (!x.done() || !y.done()) {
    bool take_x_alone;
    bool both = false;
    if (y.done()) {
      take_x_alone = true;
    } else if (x.done()) {
      take_x_alone = false;
    } else if (x.width() == y.width() && x.lo() == y.lo()) {
      both = true;
      take_x_alone = false;
    } else {
      take_x_alone = number_less(x.width(), x.lo(), y.width(), y.lo());
    }
    if (both) {
      std::uint64_t const end = std::min(x.hi(), y.hi());
      if (last_level) {
        if (operation == Operation::kUnion || operation == Operation::kIntersection)
          builder.add(x.width(), x.lo(), end, nullptr);
      } else {
        NodePtr child = combine_children(x.child(), y.child(), operation, depth - 1);
        if (child) builder.add(x.width(), x.lo(), end, std::move(child));
      }
      x.consume_through(end);
      y.consume_through(end);
      continue;
    }
    Cursor& alone = take_x_alone ? x : y;
    Cursor const& other = take_x_alone ? y : x;
    std::uint64_t end = alone.hi();
    if (!other.done() && other.width() == alone.width() && other.lo() <= end) end = other.lo() - 1;
    if (take_x_alone ? keep_only_a : keep_only_b)
      builder.add(alone.width(), alone.lo(), end, last_level ? nullptr : *alone.child());
    alone.consume_through(end);
  }
  return builder.finish();
}

bool node_subset(Node const* a, Node const* b, std::size_t depth) {
  if (a == nullptr) return true;
  if (b == nullptr) return false;
  if (a == b || depth == 0) return true;
  if (a->count > b->count) return false;
  Cursor x(a);
  Cursor y(b);
  while (!x.done()) {
    if (y.done()) return false;
    if (number_less(y.width(), y.hi(), x.width(), x.lo())) {
      y.consume_through(y.hi());  // wholly before x's next value
      continue;
    }
    if (y.width() != x.width() || y.lo() > x.lo()) return false;  // x's next value is not in b
    if (y.lo() < x.lo()) {
      y.consume_through(x.lo() - 1);
      continue;
    }
    std::uint64_t const end = std::min(x.hi(), y.hi());
    if (depth > 1 && !node_subset(x.child()->get(), y.child()->get(), depth - 1)) return false;
    x.consume_through(end);
    y.consume_through(end);
  }
  return true;
}

}  // namespace hostset_internal
}  // namespace krel
