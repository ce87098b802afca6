// Host sets: building the tree of one pattern from the numbers of many names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_storage.hpp"

namespace krel {
namespace hostset {

// One number of a name: its value and written width.
struct Number {
  std::uint64_t value;
  std::uint32_t width;
};

// Cuts a plain name into its pattern key (see Pattern::key) and numbers. A
// digit run too long for 64 bits stays text.
void split_name(std::string_view name, std::string& key, std::vector<Number>& numbers);

// The tree of the names whose numbers are `numbers`, `per_name` numbers per
// name, name after name (duplicates allowed; per_name >= 1). Near-linear:
// the tuples are packed into 64-bit keys and radix-sorted when they fit.
NodePtr build_tree(std::vector<Number> const& numbers, std::size_t per_name);

}  // namespace hostset
}  // namespace krel
