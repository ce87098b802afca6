// Resolving group references: sources read on first use, each (source,
// group) resolved once and kept, cycles and depth checked on the way.
#include <algorithm>

#include "group_resolve.hpp"
#include "internal/text.hpp"
#include "krel/log.hpp"
#include "set_expression.hpp"

namespace krel {

namespace {

using group_internal::fail;
using Clock = std::chrono::steady_clock;

constexpr std::size_t max_nesting = 64;
constexpr std::uint64_t max_names_per_reference = 100000;
constexpr std::uint64_t max_reverse_nodes = 10000;
std::string const all_key = "\n*";  // no group is named so

Clock::time_point expiry(group_internal::GroupSource const& source) {
  long const seconds = source.cache_seconds();
  if (seconds < 0) return Clock::time_point::max();
  return Clock::now() + std::chrono::seconds(seconds);
}

void warn(std::string const& message) {
  log::ErrorLog(__FILE__, __func__, __LINE__, 4).stream() << message;
}

std::optional<HostSet> parse_names(std::vector<std::string> const& names, std::string* error) {
  std::string text;
  for (auto const& name : names) {
    if (!text.empty()) text += ',';
    text += name;
  }
  return HostSet::parse(text, error);
}

// Group names sorted and unique, in the order a host set lists them
// ("rack9" before "rack10", "pdu3" before "pdu1a"), as nodeset lists groups;
// names that are no host notation keep the byte order.
void in_host_order(std::vector<std::string>& names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  auto const set = parse_names(names, nullptr);
  if (!set || set->size() != names.size()) return;
  names = set->expand();
}

}  // namespace

bool GroupResolver::State::load(std::string* error) {
  if (!loaded) {
    std::string message;
    auto read = loader ? loader(&message) : group_internal::SourceSet{};
    loaded = true;
    if (read)
      set = std::move(*read);
    else
      load_error = message.empty() ? "cannot read the group sources" : message;
    if (read && !set.default_source.empty() && find(set.default_source, nullptr) == nullptr)
      load_error =
          "default group source " + internal::quoted(set.default_source) + " is not defined";
  }
  if (!load_error.empty()) fail(error, load_error);
  return load_error.empty();
}

group_internal::GroupSource const* GroupResolver::State::find(std::string_view name,
                                                              std::string* error) {
  if (name.empty()) name = set.default_source;
  for (auto const& source : set.sources)
    if (source->name() == name) return source.get();
  if (set.sources.empty())
    fail(error, "no group source is defined");
  else
    fail(error, "unknown group source " + internal::quoted(name));
  return nullptr;
}

std::string GroupResolver::State::display(std::string const& source,
                                          std::string const& name) const {
  if (source == set.default_source) return "@" + name;
  return "@" + source + ":" + name;
}

std::optional<HostSet> GroupResolver::State::evaluate(std::string_view text,
                                                      std::string const& source,
                                                      std::vector<std::string>& chain,
                                                      std::string* error) {
  expression_internal::GroupLookup const lookup = [&](std::string_view piece, std::string* why) {
    return reference(piece, source, chain, why);
  };
  return expression_internal::evaluate(text, &lookup, error);
}

std::optional<HostSet> GroupResolver::State::reference(std::string_view text,
                                                       std::string const& source,
                                                       std::vector<std::string>& chain,
                                                       std::string* error) {
  std::lock_guard<std::recursive_mutex> const lock(mutex);
  if (!load(error)) return std::nullopt;
  std::string_view const body = text.substr(1);
  if (!body.empty() && body.front() == '@') {
    std::string const named(body.substr(1).empty() ? std::string_view(source) : body.substr(1));
    auto const list = names(named, error);
    return list ? parse_names(*list, error) : std::nullopt;
  }
  if (body == "*") return all(source, chain, error);
  if (body.size() > 2 && body.substr(body.size() - 2) == ":*" &&
      body.find('[') == std::string_view::npos)
    return all(std::string(body.substr(0, body.size() - 2)), chain, error);
  std::string why;
  auto const count = HostSet::count_written(body, &why);
  if (!count || body.empty())
    return fail(error, "cannot read group reference " + internal::quoted(text) +
                           (why.empty() ? ": no group name" : ": " + why));
  if (*count > max_names_per_reference)
    return fail(error, "group reference " + internal::quoted(text) + " names more than " +
                           std::to_string(max_names_per_reference) + " groups");
  HostSet result;
  bool ok = true;
  HostSet::for_each_written(body, [&](std::string_view name) {
    if (!ok) return;
    std::size_t const colon = name.find(':');
    std::string const named =
        colon == std::string_view::npos ? source : std::string(name.substr(0, colon));
    std::string const group_name(colon == std::string_view::npos ? name : name.substr(colon + 1));
    auto const nodes = group(named, group_name, chain, error);
    ok = nodes.has_value();
    if (ok) result |= *nodes;
  });
  if (!ok) return std::nullopt;
  return result;
}

std::optional<HostSet> GroupResolver::State::group(std::string const& source,
                                                   std::string const& name,
                                                   std::vector<std::string>& chain,
                                                   std::string* error) {
  std::lock_guard<std::recursive_mutex> const lock(mutex);
  auto const* const from = load(error) ? find(source, error) : nullptr;
  if (from == nullptr) return std::nullopt;
  auto const key = std::make_pair(from->name(), name);
  auto const kept = memo.find(key);
  if (kept != memo.end() && Clock::now() < kept->second.expires) return kept->second.nodes;
  bool const whole = name == all_key;
  std::string const shown = display(from->name(), whole ? "*" : name);
  auto const seen = std::find(chain.begin(), chain.end(), shown);
  if (seen != chain.end()) {
    std::string cycle;
    for (auto at = seen; at != chain.end(); ++at)
      cycle += *at + " -> ";
    return fail(error, "group cycle: " + cycle + shown);
  }
  if (chain.size() >= max_nesting)
    return fail(error, "group " + shown + " is nested deeper than " + std::to_string(max_nesting) +
                           " levels");
  auto const text = whole ? from->all(error) : from->map(name, error);
  if (!text) return std::nullopt;
  std::optional<HostSet> nodes;
  if (text->known) {
    chain.push_back(shown);
    nodes = evaluate(text->text, from->name(), chain, error);
    chain.pop_back();
  } else if (whole) {
    nodes = union_of_groups(from->name(), chain, error);
  } else {
    warn("unknown group " + shown);
    nodes = HostSet();
  }
  if (nodes) memo[key] = Memo{*nodes, expiry(*from)};
  return nodes;
}

std::optional<HostSet> GroupResolver::State::all(std::string const& source,
                                                 std::vector<std::string>& chain,
                                                 std::string* error) {
  return group(source, all_key, chain, error);
}

std::optional<HostSet> GroupResolver::State::union_of_groups(std::string const& source,
                                                             std::vector<std::string>& chain,
                                                             std::string* error) {
  auto const list = names(source, error);
  if (!list) return std::nullopt;
  HostSet nodes;
  for (auto const& name : *list) {
    auto const members = group(source, name, chain, error);
    if (!members) return std::nullopt;
    nodes |= *members;
  }
  return nodes;
}

std::optional<std::vector<std::string>> GroupResolver::State::names(std::string const& source,
                                                                    std::string* error) {
  std::lock_guard<std::recursive_mutex> const lock(mutex);
  auto const* const from = load(error) ? find(source, error) : nullptr;
  if (from == nullptr) return std::nullopt;
  auto const kept = name_memo.find(from->name());
  if (kept != name_memo.end() && Clock::now() < kept->second.second) return kept->second.first;
  auto list = from->list(error);
  if (!list) return std::nullopt;
  in_host_order(*list);
  name_memo[from->name()] = std::make_pair(*list, expiry(*from));
  return list;
}

// Each of `names` with its members; groups that fail are left out with a
// warning.
std::vector<GroupEntry> GroupResolver::State::entries_of(std::string const& source,
                                                         std::vector<std::string> const& names) {
  std::vector<GroupEntry> result;
  result.reserve(names.size());
  for (auto const& name : names) {
    std::vector<std::string> chain;
    std::string why;
    auto members = group(source, name, chain, &why);
    if (members)
      result.push_back(GroupEntry{source, name, std::move(*members)});
    else
      warn(display(source, name) + " left out: " + why);
  }
  return result;
}

std::optional<std::vector<GroupEntry>> GroupResolver::State::entries_sharing(
    HostSet const& nodes, std::string const& source, std::string* error) {
  std::lock_guard<std::recursive_mutex> const lock(mutex);
  auto const* const from = load(error) ? find(source, error) : nullptr;
  if (from == nullptr) return std::nullopt;
  std::vector<GroupEntry> result;
  if (from->lists()) {
    auto all_entries = entries(source, error);
    if (!all_entries) return std::nullopt;
    for (auto& entry : *all_entries)
      if (!(entry.nodes & nodes).empty()) result.push_back(std::move(entry));
    return result;
  }
  if (nodes.size() > max_reverse_nodes)
    return fail(error, "group source " + internal::quoted(from->name()) +
                           " names the groups of at most " + std::to_string(max_reverse_nodes) +
                           " nodes, one command each");
  std::vector<std::string> names;
  bool ok = true;
  nodes.for_each([&](std::string_view node) {
    auto const holding = ok ? from->reverse(std::string(node), error) : std::nullopt;
    ok = holding.has_value();
    if (ok) names.insert(names.end(), holding->begin(), holding->end());
  });
  if (!ok) return std::nullopt;
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return entries_of(from->name(), names);
}

std::optional<std::vector<GroupEntry>> GroupResolver::State::entries(std::string const& source,
                                                                     std::string* error) {
  std::lock_guard<std::recursive_mutex> const lock(mutex);
  auto const list = names(source, error);
  if (!list) return std::nullopt;
  return entries_of(find(source, nullptr)->name(), *list);
}

}  // namespace krel
