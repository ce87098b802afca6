// Host sets: the HostSet value type.
#include "krel/hostset.hpp"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_axes.hpp"
#include "hostset_build.hpp"
#include "hostset_cursor.hpp"
#include "hostset_data.hpp"
#include "hostset_read.hpp"
#include "hostset_select.hpp"
#include "hostset_sort.hpp"
#include "hostset_verify.hpp"
#include "hostset_write.hpp"
#include "set_expression.hpp"

namespace krel {

struct HostSet::Storage : hostset_internal::Data {
  explicit Storage(hostset_internal::Data&& data) : hostset_internal::Data(std::move(data)) {}
};

namespace {

// Storage is private to HostSet: its members pass it in as `S`.
template <typename S>
std::shared_ptr<S const> wrap(std::shared_ptr<hostset_internal::Data>&& data) {
  if (!data || data->patterns.empty()) return nullptr;
  assert(hostset_internal::verify_storage(*data, nullptr));
  return std::make_shared<S const>(std::move(*data));
}

}  // namespace

using hostset_internal::Count;
using hostset_internal::Node;
using hostset_internal::Operation;
using hostset_internal::Pattern;

HostSet::HostSet() = default;
HostSet::HostSet(HostSet const& other) = default;
HostSet::HostSet(HostSet&& other) noexcept = default;
HostSet& HostSet::operator=(HostSet const& other) = default;
HostSet& HostSet::operator=(HostSet&& other) noexcept = default;
HostSet::~HostSet() = default;
HostSet::HostSet(std::shared_ptr<Storage const> storage) : storage_(std::move(storage)) {}

std::optional<HostSet> HostSet::parse(std::string_view notation, std::string* error) {
  if (expression_internal::is_expression(notation))
    return expression_internal::evaluate(notation, nullptr, error);
  std::shared_ptr<hostset_internal::Data> storage;
  std::string message;
  if (!hostset_internal::read_set(notation, storage, message)) {
    if (error != nullptr) *error = std::move(message);
    return std::nullopt;
  }
  return HostSet(wrap<Storage>(std::move(storage)));
}

bool HostSet::for_each_written(std::string_view notation,
                               std::function<void(std::string_view)> const& visit,
                               std::string* error) {
  // An expression has no order as written: its set is visited.
  if (expression_internal::is_expression(notation)) {
    std::optional<HostSet> const set = parse(notation, error);
    if (set) set->for_each(visit);
    return set.has_value();
  }
  Count count = 0;
  std::string message;
  hostset_internal::ReadOptions const options;
  hostset_internal::Layout layout;
  bool single = false;
  if (!hostset_internal::check_written(notation, options, count, message, layout, single)) {
    if (error != nullptr) *error = std::move(message);
    return false;
  }
  // One piece (a fold) is read once; longer lists are read again as they
  // are visited, so that they cost no memory, in the room the check used.
  if (single)
    hostset_internal::visit_piece(layout, visit);
  else
    hostset_internal::visit_checked(notation, options, visit, layout);
  return true;
}

bool HostSet::is_expression(std::string_view text) {
  return expression_internal::is_expression(text);
}

std::optional<std::uint64_t> HostSet::count_written(std::string_view notation, std::string* error) {
  if (expression_internal::is_expression(notation)) {
    std::optional<HostSet> const set = parse(notation, error);
    return set ? std::optional<std::uint64_t>(set->size()) : std::nullopt;
  }
  Count count = 0;
  std::string message;
  if (!hostset_internal::check_written(notation, hostset_internal::ReadOptions(), count, message)) {
    if (error != nullptr) *error = std::move(message);
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(count);
}

std::uint64_t HostSet::size() const {
  if (!storage_) return 0;
  return storage_->count >= hostset_internal::kTooMany
             ? UINT64_MAX
             : static_cast<std::uint64_t>(storage_->count);
}

bool HostSet::empty() const {
  return !storage_ || storage_->patterns.empty();
}

bool HostSet::contains(std::string_view name) const {
  if (!storage_) return false;
  std::string key;
  std::vector<hostset_internal::Number> numbers;
  hostset_internal::split_name(name, key, numbers);
  auto const& patterns = storage_->patterns;
  auto found = std::lower_bound(patterns.begin(), patterns.end(), key,
                                [](Pattern const& p, std::string const& k) { return p.key < k; });
  if (found == patterns.end() || found->key != key) return false;
  Node const* node = found->root.get();
  for (hostset_internal::Number const& number : numbers) {
    auto const& runs = node->runs;
    // The first run that ends at or after the number.
    auto run =
        std::lower_bound(runs.begin(), runs.end(), number,
                         [](hostset_internal::Run const& r, hostset_internal::Number const& n) {
                           return hostset_internal::number_less(r.width, r.hi, n.width, n.value);
                         });
    if (run == runs.end() || run->width != number.width || run->lo > number.value) return false;
    if (node->children.empty()) return true;
    node = node->children[static_cast<std::size_t>(run - runs.begin())].get();
  }
  return numbers.empty();
}

bool HostSet::verify(std::string* problem) const {
  return !storage_ || hostset_internal::verify_storage(*storage_, problem);
}

bool HostSet::is_subset_of(HostSet const& other) const {
  if (empty()) return true;
  if (other.empty()) return false;
  auto const& mine = storage_->patterns;
  auto const& theirs = other.storage_->patterns;
  std::size_t j = 0;
  for (Pattern const& pattern : mine) {
    while (j < theirs.size() && theirs[j].key < pattern.key)
      ++j;
    if (j == theirs.size() || theirs[j].key != pattern.key) return false;
    if (!hostset_internal::node_subset(pattern.root.get(), theirs[j].root.get(), pattern.numbers()))
      return false;
  }
  return true;
}

namespace {

template <typename S>
std::shared_ptr<S const> combined(hostset_internal::Data const* a, hostset_internal::Data const* b,
                                  Operation operation) {
  return wrap<S>(hostset_internal::combine_storage(a, b, operation));
}

}  // namespace

HostSet& HostSet::operator|=(HostSet const& other) {
  storage_ = combined<Storage>(storage_.get(), other.storage_.get(), Operation::kUnion);
  return *this;
}

HostSet& HostSet::operator&=(HostSet const& other) {
  storage_ = combined<Storage>(storage_.get(), other.storage_.get(), Operation::kIntersection);
  return *this;
}

HostSet& HostSet::operator-=(HostSet const& other) {
  storage_ = combined<Storage>(storage_.get(), other.storage_.get(), Operation::kDifference);
  return *this;
}

HostSet& HostSet::operator^=(HostSet const& other) {
  storage_ =
      combined<Storage>(storage_.get(), other.storage_.get(), Operation::kSymmetricDifference);
  return *this;
}

bool HostSet::operator==(HostSet const& other) const {
  if (empty() || other.empty()) return empty() == other.empty();
  if (storage_ == other.storage_) return true;
  auto const& a = storage_->patterns;
  auto const& b = other.storage_->patterns;
  if (storage_->count != other.storage_->count || a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].key != b[i].key || !hostset_internal::nodes_equal(a[i].root.get(), b[i].root.get()))
      return false;
  }
  return true;
}

std::string HostSet::fold() const {
  return fold(HostSetFoldOptions());
}

std::string HostSet::fold(HostSetFoldOptions const& options) const {
  if (empty()) return std::string();
  return hostset_internal::fold_text(*storage_, options);
}

void HostSet::for_each_piece(HostSetFoldOptions const& options,
                             std::function<void(std::string_view)> const& visit) const {
  if (!empty()) hostset_internal::for_each_folded_piece(*storage_, options, visit);
}

std::vector<std::string> HostSet::expand() const {
  std::vector<std::string> names;
  if (empty()) return names;
  names.reserve(static_cast<std::size_t>(size()));
  hostset_internal::visit_names(*storage_,
                                [&names](std::string_view name) { names.emplace_back(name); });
  return names;
}

void HostSet::for_each(std::function<void(std::string_view)> const& visit) const {
  if (!empty()) hostset_internal::visit_names(*storage_, visit);
}

HostSet::const_iterator HostSet::begin() const {
  if (empty()) return end();
  return const_iterator(std::make_unique<const_iterator::Cursor>(*storage_));
}

std::optional<std::string> HostSet::at(std::uint64_t index) const {
  if (empty()) return std::nullopt;
  return hostset_internal::name_at(*storage_, index);
}

HostSet HostSet::slice(std::uint64_t first, std::uint64_t last) const {
  if (empty()) return HostSet();
  return HostSet(wrap<Storage>(hostset_internal::slice_storage(*storage_, first, last)));
}

std::optional<HostSet> HostSet::select(std::string_view index_ranges, std::string* error) const {
  std::vector<HostSetIndexRange> ranges;
  std::string message;
  if (!hostset_internal::read_index_ranges(index_ranges, ranges, message)) {
    if (error != nullptr) *error = std::move(message);
    return std::nullopt;
  }
  return select(ranges, error);
}

std::optional<HostSet> HostSet::select(std::vector<HostSetIndexRange> const& ranges,
                                       std::string* error) const {
  std::vector<hostset_internal::IndexSpan> spans;
  std::string message;
  if (!hostset_internal::index_spans(ranges, empty() ? 0 : storage_->count, spans, message)) {
    if (error != nullptr) *error = std::move(message);
    return std::nullopt;
  }
  if (spans.empty()) return HostSet();
  return HostSet(wrap<Storage>(hostset_internal::select_storage(*storage_, spans)));
}

std::vector<HostSet> HostSet::split(std::uint64_t parts) const {
  std::vector<HostSet> result;
  std::uint64_t const count = size();
  if (parts == 0 || count == 0) return result;
  parts = std::min(parts, count);
  // Each slice costs up to the set's count of runs: many parts of a set of
  // moderate size are cut name by name, in one pass.
  constexpr std::uint64_t kFewParts = 64;
  constexpr std::uint64_t kWalkable = 20000000;
  if (parts > kFewParts && count <= kWalkable) {
    for (auto& part : hostset_internal::cut_storage(*storage_, parts))
      result.push_back(HostSet(wrap<Storage>(std::move(part))));
    return result;
  }
  std::uint64_t const base = count / parts;
  std::uint64_t const larger = count % parts;
  result.reserve(static_cast<std::size_t>(parts));
  std::uint64_t first = 0;
  for (std::uint64_t i = 0; i < parts; ++i) {
    std::uint64_t const length = base + (i < larger ? 1 : 0);
    result.push_back(slice(first, first + length));
    first += length;
  }
  return result;
}

std::vector<HostSet> HostSet::contiguous() const {
  std::vector<HostSet> result;
  if (empty()) return result;
  for (auto& storage : hostset_internal::contiguous_storages(*storage_))
    result.push_back(HostSet(wrap<Storage>(std::move(storage))));
  return result;
}

namespace {

// The axes an engine reader gives, or nullopt and its message.
template <typename Read>
std::optional<std::vector<int>> axes_or_error(std::string* error, Read const& read) {
  std::vector<int> axes;
  std::string message;
  if (!read(axes, message)) {
    if (error != nullptr) *error = std::move(message);
    return std::nullopt;
  }
  return axes;
}

}  // namespace

std::optional<std::vector<int>> HostSet::parse_axes(std::string_view text, std::string* error) {
  return axes_or_error(error, [text](std::vector<int>& axes, std::string& message) {
    return hostset_internal::read_axes(text, axes, message);
  });
}

std::optional<std::vector<int>> HostSet::check_axes(std::vector<std::int64_t> const& positions,
                                                    std::string* error) {
  return axes_or_error(error, [&positions](std::vector<int>& axes, std::string& message) {
    return hostset_internal::check_axes(positions, axes, message);
  });
}

}  // namespace krel
