// Group sources behind krel::GroupResolver: where a group's members come
// from, before any reference in them is resolved. Private to the library.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace krel {
namespace group_internal {

// Sets `*error` to `message` when `error` is given; returns nullopt for
// one-line failures.
inline std::nullopt_t fail(std::string* error, std::string message) {
  if (error != nullptr) *error = std::move(message);
  return std::nullopt;
}

// The members of one group as the source gives them.
struct GroupText {
  // False when the source has no such group.
  bool known = false;
  // Expression text; may hold "@" references into the same source.
  std::string text;
};

// One named source of groups. Implementations are immutable once built and
// may be called from several threads at once.
class GroupSource {
 public:
  explicit GroupSource(std::string name) : name_(std::move(name)) {}
  virtual ~GroupSource() = default;
  GroupSource(GroupSource const&) = delete;
  GroupSource& operator=(GroupSource const&) = delete;

  std::string const& name() const { return name_; }
  // The members of `group`; nullopt and `error` when the source fails.
  virtual std::optional<GroupText> map(std::string const& group, std::string* error) const = 0;
  // The group names; nullopt and `error` when the source fails or cannot
  // list its groups.
  virtual std::optional<std::vector<std::string>> list(std::string* error) const = 0;
  // The text of "@*" when the source defines it itself (known false when it
  // does not: the union of its groups is used).
  virtual std::optional<GroupText> all(std::string* error) const = 0;
  // Whether `list` can give the group names.
  virtual bool lists() const { return true; }
  // The groups holding `node`, for sources that cannot list their groups
  // but can answer for one node (ClusterShell's reverse command); nullopt
  // and `error` when the source fails or cannot.
  virtual std::optional<std::vector<std::string>> reverse(std::string const& node,
                                                          std::string* error) const {
    return fail(error, "group source " + name_ + " cannot name the groups of " + node);
  }
  // Seconds a result of this source stays valid: negative for ever, 0 not
  // kept at all.
  virtual long cache_seconds() const { return -1; }

 private:
  std::string name_;
};

using SourcePtr = std::shared_ptr<GroupSource const>;

// Sources in the order their files define them, and the default one.
struct SourceSet {
  std::vector<SourcePtr> sources;
  std::string default_source;
};

// A source of groups given as text, as YAML files and genders files give
// them; "all" is the group of that name when there is one.
class TextSource : public GroupSource {
 public:
  TextSource(std::string name, std::map<std::string, std::string, std::less<>> groups,
             std::optional<std::string> all_text = std::nullopt);
  std::optional<GroupText> map(std::string const& group, std::string* error) const override;
  std::optional<std::vector<std::string>> list(std::string* error) const override;
  std::optional<GroupText> all(std::string* error) const override;

 private:
  std::map<std::string, std::string, std::less<>> groups_;
  std::optional<std::string> all_text_;
};

// Shell commands of an upcall source, as a groups.conf section gives them.
struct UpcallCommands {
  std::string map;
  std::string all;
  std::string list;
  std::string reverse;
  long cache_time = 3600;
  std::string cfgdir;
};

// The whole of a file of at most 64 MiB; nullopt and `error` naming it.
std::optional<std::string> read_text_file(std::string const& path, std::string* error);
// Reads a groups.d YAML file; each top-level key a source, in file order.
std::optional<SourceSet> read_yaml_sources(std::string_view path, std::string* error);
// Reads YAML text; `path` names it in messages.
std::optional<SourceSet> parse_yaml_sources(std::string_view text, std::string_view path,
                                            std::string* error);
// Reads a genders file as the source "genders".
std::optional<SourceSet> read_genders_source(std::string_view path, std::string* error);
// The groups.conf files that exist in the search order, first to last.
std::vector<std::string> config_search_order();
// Reads groups.conf files, the later over the earlier, with their confdir
// and autodir; no file at all is no source.
std::optional<SourceSet> read_config_sources(std::vector<std::string> const& files,
                                             std::string* error);
// A source that runs shell commands.
SourcePtr make_upcall_source(std::string name, UpcallCommands commands);

// Runs `command` with /bin/sh in `directory` (empty: the current one) with
// `variables` added to the environment; its standard output, or nullopt and
// `error` naming the command when it cannot run or exits non-zero.
std::optional<std::string> run_command(
    std::string const& command, std::string const& directory,
    std::vector<std::pair<std::string, std::string>> const& variables, std::string* error);

// Whether `name` only holds characters of host and group names (letters,
// digits and "._-+=/:%,[]"), and is not empty.
bool is_safe_name(std::string_view name);

}  // namespace group_internal
}  // namespace krel
