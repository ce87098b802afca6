#include "groups_command.hpp"

#include <CLI/CLI.hpp>

#include "host_input.hpp"
#include "krel/hostgroups.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

struct GroupOptions {
  std::string groups_conf;
  std::string groups_yaml;
  std::string genders;
  std::string source;
  bool all = false;
  bool regroup = false;
  bool overlap = false;
  bool no_prefix = false;
  // krel groups
  CLI::App* groups = nullptr;
  bool all_sources = false;
  int level = 1;
  bool sources = false;
  bool quiet = false;
  std::vector<std::string> nodes;
};

GroupOptions& options() {
  static GroupOptions kept;
  return kept;
}

constexpr char kGroupsExamples[] =
    "Examples, with groups.d/site.yaml holding\n"
    "  site: {compute: 'node[1-8]', gpu: 'node[1-2]', login: 'login[1-2]'}\n"
    "  $ krel groups --groups site.yaml\n"
    "  @compute\n  @gpu\n  @login\n"
    "  $ krel groups --groups site.yaml -l 3 node1\n"
    "  @compute node1 1/8\n  @gpu node1 1/2\n"
    "  $ krel fold --groups site.yaml '@compute!@gpu'\n"
    "  node[3-8]\n"
    "  $ krel fold --groups site.yaml -r 'node[1-8],login1'\n"
    "  @compute,login1\n"
    "  $ krel groups --sources\n"
    "  local (default)\n"
    "Without --groups-conf, --groups or --genders, ClusterShell's configuration is\n"
    "read: /etc/clustershell/groups.conf, then ~/.config/clustershell/groups.conf,\n"
    "then $CLUSTERSHELL_CFGDIR/groups.conf, with their groups.conf.d and groups.d.";

// The resolver of the options, made at first use.
krel::GroupResolver const& resolver() {
  static std::optional<krel::GroupResolver> kept;
  if (kept) return *kept;
  GroupOptions const& chosen = options();
  std::string error;
  if (!chosen.groups_yaml.empty())
    kept = krel::GroupResolver::from_yaml(chosen.groups_yaml, &error);
  else if (!chosen.genders.empty())
    kept = krel::GroupResolver::from_genders(chosen.genders, &error);
  else
    kept = krel::GroupResolver::from_config(chosen.groups_conf, &error);
  if (!kept) throw ToolError(error);
  return *kept;
}

void add_file_options(CLI::App& command, GroupOptions& chosen) {
  CLI::Option* const conf =
      command.add_option("--groups-conf", chosen.groups_conf, "Read groups from this groups.conf")
          ->type_name("FILE");
  CLI::Option* const yaml =
      command
          .add_option("--groups", chosen.groups_yaml, "Read groups from this groups.d YAML file")
          ->type_name("FILE")
          ->excludes(conf);
  command.add_option("--genders", chosen.genders, "Read groups from this genders file")
      ->type_name("FILE")
      ->excludes(conf)
      ->excludes(yaml);
}

void add_set_group_options(CLI::App& command, GroupOptions& chosen) {
  add_file_options(command, chosen);
  command.add_option("--group-source", chosen.source, "Read @g as @SRC:g")->type_name("SRC");
  command.add_flag("-a,--all", chosen.all, "Add every node of the group source (@*)");
}

// One listed group: "@g", then its members and their count by level.
std::string listed(krel::GroupEntry const& entry, std::string const& prefix,
                   std::optional<krel::HostSet> const& nodes, int level) {
  std::string line = "@" + prefix + entry.name;
  krel::HostSet const shown = nodes ? entry.nodes & *nodes : entry.nodes;
  if (level >= 2) line += " " + shown.fold();
  if (level >= 3) {
    line += " " + std::to_string(shown.size());
    if (nodes) line += "/" + std::to_string(entry.nodes.size());
  }
  return line + "\n";
}

std::string source_listing(std::string const& source, bool named,
                           std::optional<krel::HostSet> const& nodes) {
  GroupOptions const& chosen = options();
  std::string const prefix = named && !chosen.no_prefix ? source + ":" : std::string();
  std::string error;
  std::string text;
  if (!nodes && chosen.level == 1) {  // names only: a group that cannot resolve is listed too
    auto const names = resolver().groups(source, &error);
    if (!names) throw ToolError(error);
    for (auto const& name : *names)
      text += "@" + prefix + name + "\n";
    return text;
  }
  auto const entries =
      nodes ? resolver().groups_of(*nodes, source, &error) : resolver().list(source, &error);
  if (!entries) throw ToolError(error);
  for (auto const& entry : *entries)
    text += listed(entry, prefix, nodes, chosen.level);
  return text;
}

std::string sources_listing() {
  std::vector<std::string> const names = resolver().sources();
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i)
    text += names[i] + (i == 0 && !options().quiet ? " (default)\n" : "\n");
  return text;
}

}  // namespace

void add_group_commands(CLI::App& app, CLI::App* fold, CLI::App* expand, CLI::App* count,
                        bool with_groups) {
  GroupOptions& chosen = options();
  for (CLI::App* command : {fold, expand, count}) {
    if (command != nullptr) add_set_group_options(*command, chosen);
  }
  if (fold != nullptr) {
    CLI::Option* const regroup = fold->add_flag("-r,--regroup", chosen.regroup,
                                                "Write the set with group names, as nodeset -r");
    fold->add_flag("--overlap", chosen.overlap, "With -r: allow groups that share names")
        ->needs(regroup);
    fold->add_flag("-G,--no-prefix", chosen.no_prefix, "With -r: never write the @SRC: prefix")
        ->needs(regroup);
  }
  if (!with_groups) return;
  chosen.groups = app.add_subcommand("groups", "List node groups and group sources");
  CLI::App& groups = *chosen.groups;
  add_file_options(groups, chosen);
  groups.add_option("--group-source", chosen.source, "List the groups of SRC")->type_name("SRC");
  groups.add_flag("-L,--all-sources", chosen.all_sources,
                  "List the groups of every source, SRC or the default first");
  groups.add_option("-l,--level", chosen.level, "1: names, 2: and members, 3: and counts")
      ->type_name("N")
      ->check(CLI::Range(1, 3));
  groups.add_flag("-G,--no-prefix", chosen.no_prefix, "Never write the @SRC: prefix");
  CLI::Option* const sources =
      groups.add_flag("--sources", chosen.sources, "List the group sources, the default marked");
  groups.add_flag("-q,--quiet", chosen.quiet, "With --sources: leave the mark out")->needs(sources);
  groups.add_option("NODES", chosen.nodes, "List only the groups sharing names with these");
  groups.footer(kGroupsExamples);
}

bool names_groups(std::string_view text) {
  return text.find('@') != std::string_view::npos;
}

std::optional<krel::HostSet> parse_hosts(std::string_view text, std::string* error) {
  if (!names_groups(text)) return krel::HostSet::parse(text, error);
  return resolver().parse(text, options().source, error);
}

std::vector<std::string> with_all_nodes(std::vector<std::string> inputs) {
  if (options().all) inputs.emplace_back("@*");
  return inputs;
}

bool regroup_requested() {
  return options().regroup;
}

std::string regroup_text(krel::HostSet const& set, krel::HostSetFoldOptions const& fold) {
  GroupOptions const& chosen = options();
  krel::RegroupOptions regroup;
  regroup.source = chosen.source;
  regroup.overlap = chosen.overlap;
  regroup.prefix = !chosen.no_prefix;
  regroup.fold = fold;
  std::string error;
  auto const text = resolver().regroup(set, regroup, &error);
  if (!text) throw ToolError(error);
  return *text;
}

bool groups_command_chosen() {
  return options().groups != nullptr && options().groups->parsed();
}

std::string groups_command() {
  GroupOptions const& chosen = options();
  if (chosen.sources) return sources_listing();
  std::optional<krel::HostSet> nodes;
  if (!chosen.nodes.empty()) nodes = host_set(chosen.nodes);
  if (!chosen.all_sources) return source_listing(chosen.source, !chosen.source.empty(), nodes);
  std::vector<std::string> const names = resolver().sources();
  std::string first = chosen.source.empty() ? resolver().default_source() : chosen.source;
  bool const named = !chosen.source.empty();
  std::string text = names.empty() ? std::string() : source_listing(first, named, nodes);
  for (auto const& name : names)
    if (name != first) text += source_listing(name, true, nodes);
  return text;
}

}  // namespace krel_tool
