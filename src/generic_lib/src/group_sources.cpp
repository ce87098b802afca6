// Sources whose groups are known as text once read: YAML files and genders
// files (the latter read with libgenders).
#include <genders.h>

#include <memory>

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

}  // namespace

std::optional<SourceSet> read_genders_source(std::string_view path, std::string* error) {
  std::string const name(path);
  GendersPtr handle(genders_handle_create(), &genders_handle_destroy);
  if (!handle) return fail(error, name + ": cannot create a genders handle");
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
