// Host sets: what a HostSet holds, and the set algebra over it.
#pragma once

#include <memory>
#include <vector>

#include "hostset_node.hpp"
#include "hostset_numbers.hpp"
#include "hostset_pattern.hpp"

namespace krel {
namespace hostset_internal {

// What a HostSet holds: its patterns and its count of names.
struct Data {
  std::vector<Pattern> patterns;  // sorted by key, none empty
  Count count = 0;
};

// Computes the total count of a storage from its patterns.
void recount(Data& storage);

// The set operation on two storages (either may be null: the empty set).
std::shared_ptr<Data> combine_storage(Data const* a, Data const* b, Operation operation);

}  // namespace hostset_internal
}  // namespace krel
