// The shared state of krel::GroupResolver: its sources, read on first use,
// and the memo of resolved groups. Private to the library.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "group_sources.hpp"
#include "krel/hostgroups.hpp"
#include "krel/hostset.hpp"

namespace krel {

using GroupLoader = std::function<std::optional<group_internal::SourceSet>(std::string*)>;

struct GroupResolver::State {
  explicit State(GroupLoader load) : loader(std::move(load)) {}

  // Reads the sources when not yet read; false and `error` when they cannot be.
  bool load(std::string* error);
  // The source named `name` (empty: the default); nullptr and `error` when unknown.
  group_internal::GroupSource const* find(std::string_view name, std::string* error);

  // An expression whose references default to `source`.
  std::optional<HostSet> evaluate(std::string_view text, std::string const& source,
                                  std::vector<std::string>& chain, std::string* error);
  // The set of one "@..." reference met while reading in `source`.
  std::optional<HostSet> reference(std::string_view text, std::string const& source,
                                   std::vector<std::string>& chain, std::string* error);
  // One group; `chain` holds the groups being resolved, for cycles.
  std::optional<HostSet> group(std::string const& source, std::string const& name,
                               std::vector<std::string>& chain, std::string* error);
  // The set "@src:*" names.
  std::optional<HostSet> all(std::string const& source, std::vector<std::string>& chain,
                             std::string* error);
  // The union of every group of a source ("@*" of a source without "all").
  std::optional<HostSet> union_of_groups(std::string const& source, std::vector<std::string>& chain,
                                         std::string* error);
  // The group names of a source, sorted.
  std::optional<std::vector<std::string>> names(std::string const& source, std::string* error);
  // Each group of a source with its members; groups that fail are left out
  // with a warning.
  std::optional<std::vector<GroupEntry>> entries(std::string const& source, std::string* error);
  std::vector<GroupEntry> entries_of(std::string const& source,
                                     std::vector<std::string> const& names);

  // The groups of a source sharing names with `nodes`, each with all its
  // members: from the group list, or, when the source cannot list its
  // groups, from its reverse command, node by node.
  std::optional<std::vector<GroupEntry>> entries_sharing(HostSet const& nodes,
                                                         std::string const& source,
                                                         std::string* error);

  // "@g" for the default source, "@src:g" for the others.
  std::string display(std::string const& source, std::string const& name) const;

  struct Memo {
    HostSet nodes;
    std::chrono::steady_clock::time_point expires;
  };

  GroupLoader loader;
  std::recursive_mutex mutex;
  bool loaded = false;
  std::string load_error;
  group_internal::SourceSet set;
  std::map<std::pair<std::string, std::string>, Memo, std::less<>> memo;
  std::map<std::string, std::pair<std::vector<std::string>, std::chrono::steady_clock::time_point>>
      name_memo;
};

}  // namespace krel
