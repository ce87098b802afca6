#include "groups_help.hpp"

#include <string>

namespace krel_tool {
namespace {

constexpr char kSiteFile[] =
    "Node groups (man krel, GROUPS), with site.yaml holding\n"
    "  site: {rack1: 'cn[01-32]', rack2: 'cn[33-64]', compute: '@rack[1-2]', down: 'cn[05,17]'}\n";

constexpr char kFoldGroups[] =
    "  $ krel fold --groups site.yaml '@compute!@down'\n"
    "  cn[01-04,06-16,18-64]\n"
    "  $ krel fold --groups site.yaml -r 'cn[01-32],cn40'\n"
    "  @rack1,cn40";

constexpr char kExpandGroups[] =
    "  $ krel expand --groups site.yaml @down\n"
    "  cn05\n  cn17";

constexpr char kCountGroups[] =
    "  $ krel count --groups site.yaml @compute -x @down\n"
    "  62\n"
    "  $ krel count --groups site.yaml -a\n"
    "  64";

void append(CLI::App& command, char const* examples) {
  command.footer(command.get_footer() + "\n" + kSiteFile + examples);
}

}  // namespace

void add_group_help(CLI::App* fold, CLI::App* expand, CLI::App* count) {
  if (fold != nullptr) append(*fold, kFoldGroups);
  if (expand != nullptr) append(*expand, kExpandGroups);
  if (count != nullptr) append(*count, kCountGroups);
}

}  // namespace krel_tool
