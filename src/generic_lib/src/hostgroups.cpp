// krel::GroupResolver: the factories, reading expressions and listing.
#include "krel/hostgroups.hpp"

#include <algorithm>

#include "group_resolve.hpp"

namespace krel {

GroupResolver::GroupResolver(std::shared_ptr<State> state) : state_(std::move(state)) {}
GroupResolver::GroupResolver(GroupResolver const& other) = default;
GroupResolver::GroupResolver(GroupResolver&& other) noexcept = default;
GroupResolver& GroupResolver::operator=(GroupResolver const& other) = default;
GroupResolver& GroupResolver::operator=(GroupResolver&& other) noexcept = default;
GroupResolver::~GroupResolver() = default;

namespace {

// The state of a resolver whose files are named explicitly: read at once.
std::shared_ptr<GroupResolver::State> read_now(GroupLoader loader, std::string* error) {
  auto state = std::make_shared<GroupResolver::State>(std::move(loader));
  if (!state->load(error)) return nullptr;
  return state;
}

}  // namespace

std::optional<GroupResolver> GroupResolver::from_config(std::string_view groups_conf,
                                                        std::string* error) {
  std::vector<std::string> files;
  if (groups_conf.empty())
    files = group_internal::config_search_order();
  else
    files.emplace_back(groups_conf);
  GroupLoader loader = [files](std::string* why) {
    return group_internal::read_config_sources(files, why);
  };
  if (groups_conf.empty())  // the search order: read when a group is first named
    return GroupResolver(std::make_shared<State>(std::move(loader)));
  auto state = read_now(std::move(loader), error);
  return state ? std::optional<GroupResolver>(GroupResolver(std::move(state))) : std::nullopt;
}

std::optional<GroupResolver> GroupResolver::from_yaml(std::string_view path, std::string* error) {
  std::string const name(path);
  auto state = read_now(
      [name](std::string* why) { return group_internal::read_yaml_sources(name, why); }, error);
  return state ? std::optional<GroupResolver>(GroupResolver(std::move(state))) : std::nullopt;
}

std::optional<GroupResolver> GroupResolver::from_genders(std::string_view path,
                                                         std::string* error) {
  std::string const name(path);
  auto state = read_now(
      [name](std::string* why) { return group_internal::read_genders_source(name, why); }, error);
  return state ? std::optional<GroupResolver>(GroupResolver(std::move(state))) : std::nullopt;
}

std::optional<HostSet> GroupResolver::parse(std::string_view expression, std::string* error) const {
  return parse(expression, std::string_view(), error);
}

std::optional<HostSet> GroupResolver::parse(std::string_view expression, std::string_view source,
                                            std::string* error) const {
  // Plain host lists never read the group files.
  if (expression.find('@') == std::string_view::npos) return HostSet::parse(expression, error);
  std::string named(source);
  if (!named.empty()) {
    std::lock_guard<std::recursive_mutex> const lock(state_->mutex);
    if (!state_->load(error) || state_->find(named, error) == nullptr) return std::nullopt;
  }
  // An empty source stands for the default one, known once the files are read.
  std::vector<std::string> chain;
  return state_->evaluate(expression, named, chain, error);
}

std::vector<std::string> GroupResolver::sources() const {
  std::lock_guard<std::recursive_mutex> const lock(state_->mutex);
  std::vector<std::string> names;
  if (!state_->load(nullptr) || state_->set.sources.empty()) return names;
  names.push_back(state_->set.default_source);
  for (auto const& source : state_->set.sources)
    if (source->name() != state_->set.default_source) names.push_back(source->name());
  return names;
}

std::string GroupResolver::default_source() const {
  std::lock_guard<std::recursive_mutex> const lock(state_->mutex);
  return state_->load(nullptr) ? state_->set.default_source : std::string();
}

std::optional<std::vector<std::string>> GroupResolver::groups(std::string_view source,
                                                              std::string* error) const {
  return state_->names(std::string(source), error);
}

std::optional<std::vector<GroupEntry>> GroupResolver::list(std::string_view source,
                                                           std::string* error) const {
  return state_->entries(std::string(source), error);
}

std::optional<std::vector<GroupEntry>> GroupResolver::groups_of(HostSet const& nodes,
                                                                std::string_view source,
                                                                std::string* error) const {
  auto entries = state_->entries_sharing(nodes, std::string(source), error);
  // nodeset lists the groups of given nodes by name, byte by byte.
  if (entries)
    std::sort(entries->begin(), entries->end(),
              [](GroupEntry const& a, GroupEntry const& b) { return a.name < b.name; });
  return entries;
}

}  // namespace krel
