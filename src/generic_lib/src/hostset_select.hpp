// Host sets: picking names by their place in iteration order, and the small
// readers of index lists and axis lists.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_data.hpp"
#include "krel/hostset.hpp"

namespace krel {
namespace hostset_internal {

// The name at `index` in iteration order; nullopt past the end.
std::optional<std::string> name_at(Data const& storage, std::uint64_t index);

// The names at indexes first .. last - 1, clamped to the set.
std::shared_ptr<Data> slice_storage(Data const& storage, std::uint64_t first, std::uint64_t last);

// Reads "0-9,20,0-9/2" into index ranges, item by item; false and `error`
// on a bad item (named in the message) or when the stepped items together
// hold more than kMaxSeparateValues indexes, counted past any set's end.
//
//   read_index_ranges("0-9/2, 20", ranges, error)  // {0, 9, 2}, {20, 20, 1}
//   read_index_ranges("2-1", ranges, error)  // false, `cannot read "2-1": descending range 2-1`
bool read_index_ranges(std::string_view text, std::vector<HostSetIndexRange>& ranges,
                       std::string& error);

// Places [first, last) in iteration order.
struct IndexSpan {
  Count first;
  Count last;
};

// The places of `ranges` below `size`, sorted, with overlapping and
// touching spans joined; a stepped range gives one span per index. False
// and `error` on a range with step 0 or last below first, or when more than
// kMaxSeparateValues stepped indexes fall below `size`.
//
//   index_spans({{0, 9, 3}, {1, 2, 1}}, 5, spans, error)  // [0, 4)
bool index_spans(std::vector<HostSetIndexRange> const& ranges, Count size,
                 std::vector<IndexSpan>& spans, std::string& error);

// The names at the places of `spans` (sorted, disjoint), in one pass over
// the trees: a span costs the runs it cuts, not a walk over the names.
std::shared_ptr<Data> select_storage(Data const& storage, std::vector<IndexSpan> const& spans);

// Reads "1", "1-2", "-1", "1,3" into axis numbers.
bool read_axes(std::string_view text, std::vector<int>& axes, std::string& error);

// Checks axis numbers as read_axes checks those it reads, with its messages.
//   check_axes({1, 0}, axes, error)  // false, `cannot read axes "1,0": bad item 0`
bool check_axes(std::vector<std::int64_t> const& positions, std::vector<int>& axes,
                std::string& error);

// One storage per box of consecutive values: the folded pieces cut at every
// gap between values of any number position, as `nodeset --contiguous`.
std::vector<std::shared_ptr<Data>> contiguous_storages(Data const& storage);

}  // namespace hostset_internal
}  // namespace krel
