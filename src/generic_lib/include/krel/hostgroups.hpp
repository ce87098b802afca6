// Node groups: names such as "@compute" or "@rack[1-3]" that stand for host
// sets, read from ClusterShell's group configuration, a groups.d YAML file or
// a genders file, and their reverse, writing a set with group names.
//
//   auto groups = krel::GroupResolver::from_yaml("/etc/clustershell/groups.d/site.yaml");
//   groups->parse("@compute!@down")->fold();           // "node[1-8,10-32]"
//   groups->regroup(*krel::HostSet::parse("node[1-32]"));  // "@compute"
//
// A reference is "@" then bracket notation, each name split at its first ':'
// into source and group: "@g" (the default source), "@src:g", "@rack[1-3]",
// "@src:g[1-2]"; "@*" and "@src:*" (the source's group "all" when it has one,
// else the union of its groups); "@@src" (the source's group names as a set).
// A reference inside a group's own text resolves in that group's source.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "krel/generic_lib_export.hpp"
#include "krel/hostset.hpp"

namespace krel {

// How GroupResolver::regroup writes a set.
struct RegroupOptions {
  // The source whose groups are used; empty uses the default source.
  std::string source;
  // Whether a group may share names with a group already taken (nodeset's
  // --overlap). Off: such a group is skipped.
  bool overlap = false;
  // Whether a named source is written as "@src:g". Never written for the
  // default source when `source` is empty.
  bool prefix = true;
  // How the chosen group names and the remaining hosts are folded.
  HostSetFoldOptions fold;
};

// One group's name and members, as listings show it.
struct GroupEntry {
  std::string source;
  std::string name;
  HostSet nodes;
};

// Resolves group references against one or more group sources. A value
// type: copies share the sources and the memo; const members may be called
// from several threads at once (the memo is internally synchronised).
//
// Each (source, group) is resolved once per resolver and kept as a HostSet;
// results of shell commands (ClusterShell's upcall sources) are kept for the
// section's cache_time seconds. An unknown group is the empty set and logs a
// warning; an unknown source is an error; a group whose members name it back
// ("a: @b", "b: @a") is an error naming the cycle, for those groups alone.
// Nesting deeper than 64 references is an error.
class GENERIC_LIB_EXPORT GroupResolver {
 public:
  GroupResolver(GroupResolver const& other);
  GroupResolver(GroupResolver&& other) noexcept;
  GroupResolver& operator=(GroupResolver const& other);
  GroupResolver& operator=(GroupResolver&& other) noexcept;
  ~GroupResolver();

  // ClusterShell's configuration: the groups.conf file `groups_conf`, or,
  // when empty, those of /etc/clustershell/groups.conf,
  // $XDG_CONFIG_HOME/clustershell/groups.conf (else
  // ~/.config/clustershell/groups.conf) and $CLUSTERSHELL_CFGDIR/groups.conf
  // that exist when the resolver is made, each later one's keys read over
  // the earlier ones'. Its [Main] section names `default`, `confdir` (more
  // *.conf files of sections) and `autodir` (*.yaml files of
  // `source: {group: members}`); other sections are upcall sources whose
  // `map`, `all`, `list` and `reverse` shell commands get $GROUP, $NODE,
  // $SOURCE and $CFGDIR both written into the command and in their
  // environment, and run in $CFGDIR (the directory of the last file). A name
  // reaches a command only when it holds letters, digits and "._-+=/:%"
  // alone and does not begin with "-". A section "[a,b]" defines sources a
  // and b. Sources are listed as ClusterShell lists them: confdir sections,
  // autodir files, then the sections of groups.conf.
  //
  // With the search order, the files are read when an expression first
  // names a group (their errors come then); a file named here is read at
  // once, and bad files give nullopt and one message naming the file and
  // line:
  //   from_config("/x")  // nullopt, "/x: cannot open: No such file or directory"
  //
  //   from_config()->sources()  // {"local", "slurm"} on a typical site
  static std::optional<GroupResolver> from_config(std::string_view groups_conf = {},
                                                  std::string* error = nullptr);

  // One YAML file in the groups.d format, every top-level key a source, the
  // first the default:
  //   roles:
  //     compute: 'node[1-32]'
  //     gpu: [node1, node2]
  // Keys that YAML 1.1 reads as numbers, booleans or null ("101:", "yes:")
  // are refused, as are aliases, documents nested deeper than 32 levels and
  // files above 64 MiB:
  //   from_yaml("bad.yaml")  // nullopt, `bad.yaml:3: group name 101 is not text (quote it)`
  static std::optional<GroupResolver> from_yaml(std::string_view path,
                                                std::string* error = nullptr);

  // A genders file (read with libgenders): one source "genders" in which
  // every attribute and every attr=value is a group, and "@*" names every
  // node of the file.
  //
  //   from_genders("/etc/genders")->parse("@compute")  // nodes with attribute compute
  //   from_genders("/etc/genders")->parse("@rack=a")   // nodes with rack=a
  static std::optional<GroupResolver> from_genders(std::string_view path,
                                                   std::string* error = nullptr);

  // Reads a set expression (HostSet notation with ",", white space, "!",
  // "&" and "^", left to right) whose "@" pieces are group references.
  //
  //   parse("@compute&@rack2")  // the compute nodes of rack 2
  //   parse("@nosuch")          // the empty set (a warning is logged)
  //   parse("@nosrc:g")         // nullopt, `unknown group source "nosrc"`
  std::optional<HostSet> parse(std::string_view expression, std::string* error = nullptr) const;
  // As above, references without a source ("@g", "@*") resolving in
  // `source` (empty: the default source), as `nodeset -s SRC` reads them.
  //
  //   parse("@rack1,@*", "racks", &error)  // @racks:rack1 and @racks:*
  std::optional<HostSet> parse(std::string_view expression, std::string_view source,
                               std::string* error) const;

  // Writes `nodes` with group names of the default source, as `nodeset -r`:
  // the groups wholly inside the set, largest first, ties by name, a group
  // sharing names with one already chosen skipped; the chosen names folded as
  // a set ("@rack[1,3]"), then the remaining hosts folded.
  //
  //   regroup(node[1-20])  // "@rack[1-2]" with rack1: node[1-10], rack2: node[11-20]
  //   regroup(node[1-21])  // "@rack[1-2],node21"
  std::optional<std::string> regroup(HostSet const& nodes, std::string* error = nullptr) const;
  // As above, with a source, overlap and prefix chosen.
  //
  //   regroup(node[1-20], {"racks"})  // "@racks:rack[1-2]"
  std::optional<std::string> regroup(HostSet const& nodes, RegroupOptions const& options,
                                     std::string* error = nullptr) const;

  // The source names, the default first, the others in the order the
  // configuration defines them (as `nodeset --groupsources` lists them).
  //
  //   sources()  // {"local", "genders", "slurm"}
  std::vector<std::string> sources() const;
  // The default source's name; empty when there is no source.
  std::string default_source() const;

  // The group names of `source` (empty: the default source), each once, in
  // the order a HostSet of them iterates ("rack9" before "rack10"), as
  // nodeset lists groups; nullopt and `error` for an unknown source or a
  // failing command.
  //
  //   groups("roles")  // {"compute", "gpu"}
  std::optional<std::vector<std::string>> groups(std::string_view source = {},
                                                 std::string* error = nullptr) const;

  // The groups of `source` (empty: the default source) sharing at least one
  // name with `nodes`, by name byte by byte (as `nodeset -l NODES` lists
  // them), each with all its members (`nodeset -ll NODES` shows the shared
  // ones: intersect them with `nodes`). A source whose groups cannot be
  // listed but that has a reverse command is asked node by node (10,000
  // nodes at most), as regroup does too.
  //
  //   groups_of(node1, "roles")  // {{"roles", "compute", node[1-32]}, {"roles", "gpu", node[1-2]}}
  std::optional<std::vector<GroupEntry>> groups_of(HostSet const& nodes,
                                                   std::string_view source = {},
                                                   std::string* error = nullptr) const;

  // Every group of `source` (empty: the default source) with its members.
  std::optional<std::vector<GroupEntry>> list(std::string_view source = {},
                                              std::string* error = nullptr) const;

  struct State;

 private:
  explicit GroupResolver(std::shared_ptr<State> state);
  std::shared_ptr<State> state_;
};

}  // namespace krel
