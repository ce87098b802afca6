// Host sets: the checker of the tree's invariant.
#pragma once

#include <cstddef>
#include <string>

#include "hostset_data.hpp"
#include "hostset_node.hpp"

namespace krel {
namespace hostset_internal {

// The invariant of a tree, which every node keeps from the moment
// NodeBuilder::finish makes it (nodes are never changed afterwards, so they
// may be shared between trees and sets):
//   - a node holds at least one run (the unit node alone holds none);
//   - each run has lo <= hi and a width of at least the digits of hi;
//   - runs are sorted by (width, value) and disjoint;
//   - two runs of one width that touch (hi + 1 == lo) lead to different
//     children: runs that lead to equal ones are merged;
//   - a node of the last level has no children, any other node one non-null
//     child per run;
//   - `count` is the count of tuples below the node (kTooMany at most) and
//     `hash` the one node_summary gives.
// check_node looks at one node, its children taken as checked;
// verify_storage at a whole set (patterns sorted by key, none empty, each
// with a tree of its count of numbers, and the total count). On failure they
// give false and, when `problem` is given, what is wrong.
bool check_node(Node const& node, bool last_level, std::string* problem);

// The invariant of a whole set: see check_node.
bool verify_storage(Data const& storage, std::string* problem);

}  // namespace hostset_internal
}  // namespace krel
