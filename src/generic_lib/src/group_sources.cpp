// Sources whose groups are known as text once read: YAML files and genders
// files (the latter read with libgenders).
#include <genders.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string_view>

#include "group_sources.hpp"

namespace krel {
namespace group_internal {

TextSource::TextSource(std::string name, std::map<std::string, std::string, std::less<>> groups,
                       std::optional<std::string> all_text)
    : GroupSource(std::move(name)), groups_(std::move(groups)), all_text_(std::move(all_text)) {}

std::optional<GroupText> TextSource::map(std::string const& group, std::string*) const {
  auto const found = groups_.find(group);
  if (found == groups_.end()) return GroupText{};
  return GroupText{true, found->second};
}

std::optional<std::vector<std::string>> TextSource::list(std::string*) const {
  std::vector<std::string> names;
  names.reserve(groups_.size());
  for (auto const& entry : groups_)
    names.push_back(entry.first);
  return names;
}

std::optional<GroupText> TextSource::all(std::string* error) const {
  if (all_text_) return GroupText{true, *all_text_};
  return map("all", error);
}

namespace {

using GendersPtr = std::unique_ptr<std::remove_pointer_t<genders_t>, int (*)(genders_t)>;

std::string genders_message(genders_t handle) {
  return genders_errormsg(handle);
}

void append_name(std::string& text, char const* name) {
  if (!text.empty()) text += ',';
  text += name;
}

// Adds every node's attributes, each attribute and each attr=value a group.
bool collect_genders_groups(genders_t handle,
                            std::map<std::string, std::string, std::less<>>& groups,
                            std::string& all_nodes, std::string* error) {
  char** nodes = nullptr;
  char** attrs = nullptr;
  char** values = nullptr;
  int const node_room = genders_nodelist_create(handle, &nodes);
  int const attr_room = genders_attrlist_create(handle, &attrs);
  int const value_room = genders_vallist_create(handle, &values);
  bool ok = node_room >= 0 && attr_room >= 0 && value_room >= 0;
  int const node_count = ok ? genders_getnodes(handle, nodes, node_room, nullptr, nullptr) : -1;
  ok = ok && node_count >= 0;
  for (int n = 0; ok && n < node_count; ++n) {
    append_name(all_nodes, nodes[n]);
    genders_attrlist_clear(handle, attrs);
    genders_vallist_clear(handle, values);
    int const count = genders_getattr(handle, attrs, values, attr_room, nodes[n]);
    ok = count >= 0;
    for (int a = 0; ok && a < count; ++a) {
      append_name(groups[attrs[a]], nodes[n]);
      if (values[a][0] != '\0')
        append_name(groups[std::string(attrs[a]) + "=" + values[a]], nodes[n]);
    }
  }
  if (!ok) fail(error, "genders: " + genders_message(handle));
  if (nodes != nullptr) genders_nodelist_destroy(handle, nodes);
  if (attrs != nullptr) genders_attrlist_destroy(handle, attrs);
  if (values != nullptr) genders_vallist_destroy(handle, values);
  return ok;
}

// libgenders 1.22 reads freed memory for a node name above 64 bytes
// (GENDERS_MAXHOSTNAMELEN); such a file is refused before it is loaded. A
// bracket counts as its longest item: "n[1-100000]" names n100000.
constexpr std::size_t kGendersMaxName = 64;

std::size_t longest_name(std::string_view piece) {
  std::size_t length = 0;
  std::size_t longest_item = 0;
  std::size_t item = 0;
  bool inside = false;
  for (char const c : piece) {
    if (c == '[' || c == ']') {
      inside = c == '[';
      length += inside ? 0 : longest_item;
      longest_item = item = 0;
    } else if (inside) {
      item = (c == ',' || c == '-') ? 0 : item + 1;
      longest_item = std::max(longest_item, item);
    } else {
      ++length;
    }
  }
  return length + longest_item;
}

// The first line of `path` naming a node too long for libgenders, or 0.
std::size_t line_of_long_name(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::string line;
  for (std::size_t number = 1; std::getline(in, line); ++number) {
    std::string_view nodes(line);
    nodes = nodes.substr(0, nodes.find('#'));
    nodes = nodes.substr(0, nodes.find_first_of(" \t"));
    std::size_t depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= nodes.size(); ++i) {
      if (i < nodes.size() && nodes[i] == '[') ++depth;
      if (i < nodes.size() && nodes[i] == ']' && depth > 0) --depth;
      if (i < nodes.size() && (nodes[i] != ',' || depth > 0)) continue;
      if (longest_name(nodes.substr(start, i - start)) > kGendersMaxName) return number;
      start = i + 1;
    }
  }
  return 0;
}

}  // namespace

std::optional<SourceSet> read_genders_source(std::string_view path, std::string* error) {
  std::string const name(path);
  GendersPtr handle(genders_handle_create(), &genders_handle_destroy);
  if (!handle) return fail(error, name + ": cannot create a genders handle");
  if (std::size_t const line = line_of_long_name(name))
    return fail(error, name + ":" + std::to_string(line) + ": a node name longer than " +
                           std::to_string(kGendersMaxName) + " bytes");
  if (genders_load_data(handle.get(), name.c_str()) < 0)
    return fail(error, name + ": " + genders_message(handle.get()));
  std::map<std::string, std::string, std::less<>> groups;
  std::string all_nodes;
  std::string message;
  if (!collect_genders_groups(handle.get(), groups, all_nodes, &message))
    return fail(error, name + ": " + message);
  SourceSet result;
  result.default_source = "genders";
  result.sources.push_back(
      std::make_shared<TextSource>("genders", std::move(groups), std::move(all_nodes)));
  return result;
}

}  // namespace group_internal
}  // namespace krel
