// Host sets: picking names by their place in iteration order, and the small
// readers of index lists and axis lists.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_data.hpp"

namespace krel {
namespace hostset_internal {

// The name at `index` in iteration order; nullopt past the end.
std::optional<std::string> name_at(Data const& storage, std::uint64_t index);

// The names at indexes first .. last - 1, clamped to the set.
std::shared_ptr<Data> slice_storage(Data const& storage, std::uint64_t first, std::uint64_t last);

// Reads "0-9,20,0-9/2" into index ranges [first, last).
bool read_index_ranges(std::string_view text,
                       std::vector<std::pair<std::uint64_t, std::uint64_t>>& ranges,
                       std::string& error);

// Reads "1", "1-2", "-1", "1,3" into axis numbers.
bool read_axes(std::string_view text, std::vector<int>& axes, std::string& error);

// One storage per box of consecutive values: the folded pieces cut at every
// gap between values of any number position, as `nodeset --contiguous`.
std::vector<std::shared_ptr<Data>> contiguous_storages(Data const& storage);

}  // namespace hostset_internal
}  // namespace krel
