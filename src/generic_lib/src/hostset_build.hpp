// Host sets read from notation: plain names are cut into a pattern and
// numbers and gathered by pattern, then ordered and built into trees; pieces
// with brackets are built on their own (hostset_bracket_piece.hpp) and joined
// to their pattern.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_data.hpp"
#include "hostset_sort.hpp"

namespace krel {
namespace hostset_internal {

// Cuts a plain name into its pattern key (see Pattern::key) and numbers. A
// digit run too long for 64 bits, or past the kMaxNumbers-th, stays text.
//
//   split_name("x10c07", key, numbers)  // key "x%sc%s", numbers (2, 10) (2, 7)
//   split_name("a%b", key, numbers)     // key "a%%b", no numbers
void split_name(std::string_view name, std::string& key, std::vector<Number>& numbers);

// Builds a set from notation; false and `error` on bad notation.
//
//   read_set("n[1-3],m1", out, error)  // true: two patterns, four names
//   read_set("n[3-1]", out, error)     // false, error names the piece
bool read_set(std::string_view notation, std::shared_ptr<Data>& out, std::string& error);

}  // namespace hostset_internal
}  // namespace krel
