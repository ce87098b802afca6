// Gatherer: the groups of nodes that said the same, their order, and the
// pages dshbak and clubak write of them.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gather_state.hpp"
#include "krel/gather.hpp"
#include "krel/hostset.hpp"

namespace krel {
namespace {

using internal::IdTable;
using State = GatherState;

// Header lines around a node name: dshbak's and clubak's.
constexpr std::string_view kDshbakRule = "----------------\n";
constexpr std::string_view kClubakRule = "---------------\n";

// A name seen the way dshbak sorts: by the value of the digits that end it,
// then (where dshbak leaves the order to chance) by the name itself.
struct NameKey {
  std::string_view digits;  // the trailing digits, without leading zeros
  std::string_view name;

  explicit NameKey(std::string_view node_name) : name(node_name) {
    std::size_t begin = node_name.size();
    while (begin > 0 && node_name[begin - 1] >= '0' && node_name[begin - 1] <= '9')
      --begin;
    while (begin < node_name.size() && node_name[begin] == '0')
      ++begin;
    digits = node_name.substr(begin);
  }

  bool operator<(NameKey const& other) const {
    if (digits.size() != other.digits.size()) return digits.size() < other.digits.size();
    int const order = digits.compare(other.digits);
    if (order != 0) return order < 0;
    return name < other.name;
  }
};

// Nodes that said the same sequence of lines.
struct Group {
  std::uint32_t sequence = 0;
  std::uint32_t lead = 0;  // the first node in dshbak's order
  NameKey lead_key{std::string_view()};
  std::vector<std::uint32_t> members;
  HostSet nodes;
  std::string fold;  // in kLargestFirst order only, where it sorts
};

// `names` (visited by index) as one host set: names that pass
// is_one_host_name are notation for themselves, one per line.
template <typename NameOf>
HostSet set_of(std::size_t count, NameOf const& name_of) {
  std::string notation;
  for (std::size_t i = 0; i < count; ++i) {
    notation += name_of(i);
    notation += '\n';
  }
  return HostSet::parse(notation).value_or(HostSet());
}

void sort_groups(std::vector<Group>& groups, GatherOrder order) {
  if (order == GatherOrder::kLargestFirst) {
    std::sort(groups.begin(), groups.end(), [](Group const& a, Group const& b) {
      if (a.members.size() != b.members.size()) return a.members.size() > b.members.size();
      return a.fold < b.fold;
    });
    return;
  }
  std::sort(groups.begin(), groups.end(),
            [](Group const& a, Group const& b) { return a.lead_key < b.lead_key; });
}

// The groups of every node, in `order`.
std::vector<Group> make_groups(State const& state, GatherOrder order) {
  std::vector<std::uint32_t> group_of(state.steps.size(), IdTable::kMissing);
  std::vector<Group> groups;
  for (std::uint32_t node = 0; node < state.nodes.size(); ++node) {
    std::uint32_t& slot = group_of[state.nodes[node].sequence];
    if (slot == IdTable::kMissing) {
      slot = static_cast<std::uint32_t>(groups.size());
      groups.emplace_back();
      groups.back().sequence = state.nodes[node].sequence;
      groups.back().lead = node;
      groups.back().lead_key = NameKey(state.name(node));
    }
    Group& group = groups[slot];
    group.members.push_back(node);
    if (order == GatherOrder::kTrailingNumber) {
      NameKey const key(state.name(node));
      if (key < group.lead_key) {
        group.lead = node;
        group.lead_key = key;
      }
    }
  }
  for (Group& group : groups) {
    group.nodes =
        set_of(group.members.size(), [&](std::size_t i) { return state.name(group.members[i]); });
    if (order == GatherOrder::kLargestFirst) group.fold = group.nodes.fold();
    group.members.shrink_to_fit();
  }
  sort_groups(groups, order);
  return groups;
}

// Every node id in `order`.
std::vector<std::uint32_t> ordered_nodes(State const& state, GatherOrder order) {
  std::vector<std::uint32_t> result;
  result.reserve(state.nodes.size());
  if (order == GatherOrder::kTrailingNumber) {
    std::vector<NameKey> keys;
    keys.reserve(state.nodes.size());
    for (std::uint32_t node = 0; node < state.nodes.size(); ++node) {
      keys.emplace_back(state.name(node));
      result.push_back(node);
    }
    std::sort(result.begin(), result.end(),
              [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
    return result;
  }
  HostSet const all = set_of(
      state.nodes.size(), [&](std::size_t i) { return state.name(static_cast<std::uint32_t>(i)); });
  // Every name read back is one that was added; the check only guards the
  // lookup.
  all.for_each([&](std::string_view name) {
    std::uint32_t const node = state.find_node(name);
    if (node != IdTable::kMissing) result.push_back(node);
  });
  return result;
}

// One block of the page: the header between rules and the lines, or with
// `line_prefix` every line after "header: ".
void append_block(std::string& page, std::string_view rule, std::string_view header,
                  std::string_view count, bool line_prefix,
                  std::vector<std::string_view> const& lines) {
  if (line_prefix) {
    for (std::string_view const line : lines) {
      page += header;
      page += ": ";
      page += line;
      page += '\n';
    }
    return;
  }
  page += rule;
  page += header;
  page += count;
  page += '\n';
  page += rule;
  for (std::string_view const line : lines) {
    page += line;
    page += '\n';
  }
}

GatherOrder order_of(GatherStyle style) {
  return style == GatherStyle::kClubak ? GatherOrder::kLargestFirst : GatherOrder::kTrailingNumber;
}

}  // namespace

std::vector<GatheredOutput> Gatherer::gathered(GatherOrder order) const {
  State const& state = *state_;
  std::vector<GatheredOutput> result;
  for (Group& group : make_groups(state, order)) {
    std::vector<std::string_view> const lines = state.lines(group.sequence);
    result.push_back(GatheredOutput{std::move(group.nodes),
                                    std::vector<std::string>(lines.begin(), lines.end())});
  }
  return result;
}

void Gatherer::for_each_node(
    GatherOrder order,
    std::function<void(std::string_view, std::vector<std::string_view> const&)> const& visit)
    const {
  State const& state = *state_;
  for (std::uint32_t const node : ordered_nodes(state, order))
    visit(state.name(node), state.lines(state.nodes[node].sequence));
}

std::string Gatherer::page(GatherPageOptions const& options) const {
  State const& state = *state_;
  bool const clubak = state.options.style == GatherStyle::kClubak;
  std::string_view const rule = clubak ? kClubakRule : kDshbakRule;
  GatherOrder const order = order_of(state.options.style);
  std::string page;
  if (options.per_node) {
    for_each_node(order, [&](std::string_view name, std::vector<std::string_view> const& lines) {
      append_block(page, rule, name, "", options.line_prefix, lines);
    });
    return page;
  }
  // dshbak folds the last number of a name only: r1c[1-2],r2c1.
  HostSetFoldOptions last_number;
  last_number.axes = {-1};
  for (Group const& group : make_groups(state, order)) {
    std::string const count = clubak && group.members.size() > 1
                                  ? " (" + std::to_string(group.members.size()) + ")"
                                  : std::string();
    append_block(page, rule, clubak ? group.fold : group.nodes.fold(last_number), count,
                 options.line_prefix, state.lines(group.sequence));
  }
  return page;
}

}  // namespace krel
