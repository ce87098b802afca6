// Node groups in krel: the options that name group files and sources, -a on
// fold, expand and count, regrouping with fold -r, and `krel groups`, which
// lists groups and sources as nodeset -l, -ll, -lll, -L and --groupsources
// do. Group files are read by the library, only when a group is named.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "krel/hostset.hpp"

namespace CLI {
class App;
}  // namespace CLI

namespace krel_tool {

// Adds --groups-conf, --groups, --genders, --group-source and -a/--all to
// fold, expand and count (those given: a null one is not declared), and
// -r/--regroup, --overlap and -G/--no-prefix to fold; adds the subcommand
// `groups` when `with_groups`.
void add_group_commands(CLI::App& app, CLI::App* fold, CLI::App* expand, CLI::App* count,
                        bool with_groups);

// Reads host text, group references included; without any "@" it is the
// library's plain reading and no group file is read.
std::optional<krel::HostSet> parse_hosts(std::string_view text, std::string* error);

// Whether `text` names a group, so that its names come from the set.
bool names_groups(std::string_view text);

// `inputs` with the source's "@*" added when -a/--all was given.
std::vector<std::string> with_all_nodes(std::vector<std::string> inputs);

// Whether fold was asked to regroup, and the set written with group names.
bool regroup_requested();
std::string regroup_text(krel::HostSet const& set, krel::HostSetFoldOptions const& fold);

// Whether `krel groups` was chosen, and its output.
bool groups_command_chosen();
std::string groups_command();

}  // namespace krel_tool
