// Writing a set with group names: groups wholly inside the set, largest
// first, ties by name, each taken only when none of its names is taken yet
// (unless overlap is asked for); the chosen names folded as a set, then the
// remaining hosts.
#include <algorithm>

#include "group_resolve.hpp"

namespace krel {
namespace {

// The pieces of a folded set one by one, with `prefix` before each.
std::string prefixed_fold(std::vector<std::string> const& names, std::string const& prefix,
                          HostSetFoldOptions fold) {
  if (names.empty()) return std::string();
  std::string const separator = fold.separator;
  std::string text;
  for (auto const& name : names)
    text += (text.empty() ? "" : ",") + name;
  auto const set = HostSet::parse(text);
  std::vector<std::string> pieces;
  if (set) {
    fold.separator = "\n";
    std::string const folded = set->fold(fold);
    std::size_t begin = 0;
    while (begin <= folded.size()) {
      std::size_t end = folded.find('\n', begin);
      end = end == std::string::npos ? folded.size() : end;
      pieces.push_back(folded.substr(begin, end - begin));
      begin = end + 1;
    }
  } else {
    pieces = names;  // names that are no notation are written as they are
  }
  std::string result;
  for (auto const& piece : pieces)
    result += (result.empty() ? "" : separator) + prefix + piece;
  return result;
}

}  // namespace

std::optional<std::string> GroupResolver::regroup(HostSet const& nodes,
                                                  RegroupOptions const& options,
                                                  std::string* error) const {
  if (nodes.empty()) return std::string();
  auto entries = state_->entries_sharing(nodes, options.source, error);
  if (!entries) return std::nullopt;
  std::vector<GroupEntry const*> inside;
  for (auto const& entry : *entries)
    if (!entry.nodes.empty() && entry.nodes.is_subset_of(nodes)) inside.push_back(&entry);
  std::sort(inside.begin(), inside.end(), [](GroupEntry const* a, GroupEntry const* b) {
    if (a->nodes.size() != b->nodes.size()) return a->nodes.size() > b->nodes.size();
    return a->name < b->name;
  });
  HostSet rest = nodes;
  std::vector<std::string> chosen;
  for (auto const* entry : inside) {
    if (!options.overlap && !entry->nodes.is_subset_of(rest)) continue;
    chosen.push_back(entry->name);
    rest -= entry->nodes;
  }
  std::string const prefix =
      options.source.empty() || !options.prefix ? "@" : "@" + options.source + ":";
  std::string result = prefixed_fold(chosen, prefix, options.fold);
  std::string const remaining = rest.fold(options.fold);
  if (!result.empty() && !remaining.empty()) result += options.fold.separator;
  return result + remaining;
}

std::optional<std::string> GroupResolver::regroup(HostSet const& nodes, std::string* error) const {
  return regroup(nodes, RegroupOptions{}, error);
}

}  // namespace krel
