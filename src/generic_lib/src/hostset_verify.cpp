// Host sets: the checker of the tree's invariant (see check_node).
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

#include "hostset_verify.hpp"

namespace krel {
namespace hostset_internal {
namespace {

bool broken(std::string* problem, std::string const& what) {
  if (problem != nullptr) *problem = what;
  return false;
}

std::string run_text(Run const& run) {
  return std::to_string(run.lo) + "-" + std::to_string(run.hi) + " (width " +
         std::to_string(run.width) + ")";
}

bool check_run_order(Node const& node, bool last_level, std::string* problem) {
  for (std::size_t i = 0; i < node.runs.size(); ++i) {
    Run const& run = node.runs[i];
    if (run.lo > run.hi) return broken(problem, "run " + run_text(run) + " is descending");
    if (run.width < static_cast<std::uint32_t>(digit_count(run.hi)))
      return broken(problem, "run " + run_text(run) + " is wider than its width");
    if (i == 0) continue;
    Run const& previous = node.runs[i - 1];
    if (!number_less(previous.width, previous.hi, run.width, run.lo))
      return broken(problem, "run " + run_text(run) + " does not follow " + run_text(previous));
    bool const touching = previous.width == run.width && previous.hi + 1 == run.lo;
    if (touching && (last_level || nodes_equal(node.children[i - 1].get(), node.children[i].get())))
      return broken(problem, "runs " + run_text(previous) + " and " + run_text(run) +
                                 " lead to one child and are not merged");
  }
  return true;
}

bool verify_below(Node const* node, std::size_t depth, std::unordered_set<Node const*>& seen,
                  std::string* problem) {
  if (node == nullptr) return broken(problem, "a node is missing");
  if (depth == 0) {
    if (node != unit_node().get()) return broken(problem, "a pattern without numbers has runs");
    return true;
  }
  // Nodes are shared: each is checked once.
  if (!seen.insert(node).second) return true;
  for (NodePtr const& child : node->children) {
    if (!verify_below(child.get(), depth - 1, seen, problem)) return false;
  }
  return check_node(*node, depth == 1, problem);
}

}  // namespace

bool check_node(Node const& node, bool last_level, std::string* problem) {
  if (node.runs.empty()) return broken(problem, "a node has no runs");
  if (last_level ? !node.children.empty() : node.children.size() != node.runs.size())
    return broken(problem, "a node has " + std::to_string(node.children.size()) + " children for " +
                               std::to_string(node.runs.size()) + " runs");
  for (NodePtr const& child : node.children) {
    if (child == nullptr) return broken(problem, "a node has a missing child");
  }
  if (!check_run_order(node, last_level, problem)) return false;
  Count count = 0;
  std::size_t hash = 0;
  node_summary(node, last_level, count, hash);
  if (count != node.count) return broken(problem, "a node's cached count is wrong");
  if (hash != node.hash) return broken(problem, "a node's cached hash is wrong");
  return true;
}

bool verify_storage(Data const& storage, std::string* problem) {
  Count total = 0;
  std::unordered_set<Node const*> seen;
  for (std::size_t i = 0; i < storage.patterns.size(); ++i) {
    Pattern const& pattern = storage.patterns[i];
    if (i > 0 && !(storage.patterns[i - 1].key < pattern.key))
      return broken(problem, "pattern \"" + pattern.key + "\" is out of order");
    if (!verify_below(pattern.root.get(), pattern.numbers(), seen, problem)) {
      if (problem != nullptr) *problem = "pattern \"" + pattern.key + "\": " + *problem;
      return false;
    }
    total = add_counts(total, pattern.root->count);
  }
  if (total != storage.count) return broken(problem, "the set's cached count is wrong");
  return true;
}

}  // namespace hostset_internal
}  // namespace krel
