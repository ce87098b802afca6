// Host sets: a piece with brackets ("x[1-4]c[0,7]s0[1-9]") as the tree of
// its names, built directly as a product of runs, one level per number.
#pragma once

#include <cstdint>
#include <string>

#include "hostset_pattern.hpp"
#include "hostset_read.hpp"

namespace krel {
namespace hostset_internal {

// The names of one piece with brackets, and the pattern they share.
struct BracketPiece {
  NodePtr tree;
  std::string key;               // as pattern_key writes it
  std::size_t number_count = 0;  // depth of `tree`
};

// Builds `piece` of `layout` into `out`. `separate_values` counts the values
// that steps and mixed digits spread into runs of one value each, across the
// pieces of one notation; a piece that would take it past
// kMaxSeparateValues is refused (Reason::kTooManyValues).
//
//   "n[1-3]"      -> key "n%s", one run 1-3 of width 1
//   "n0[1-9]"     -> key "n%s", one run 1-9 of width 2 (the digit in front
//                    pads the bracket)
//   "r[1-2]c[5]"  -> key "r%sc%s", two levels
Problem build_bracket_piece(Layout const& layout, Piece const& piece,
                            std::uint64_t& separate_values, BracketPiece& out);

}  // namespace hostset_internal
}  // namespace krel
