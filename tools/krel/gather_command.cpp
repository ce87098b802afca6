#include "gather_command.hpp"

#include <string>
#include <string_view>

#include "krel/gather.hpp"
#include "process_io.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

constexpr char kGatherExamples[] =
    "Examples:\n"
    "  $ printf 'node2: 5.10\\nnode1: 5.10\\nnode3: 6.1\\n' | krel gather\n"
    "  ----------------\n  node[1-2]\n  ----------------\n  5.10\n"
    "  ----------------\n  node3\n  ----------------\n  6.1\n"
    "  $ printf 'node2: 5.10\\nnode1: 5.10\\nnode3: 6.1\\n' | krel gather --style clubak\n"
    "  ---------------\n  node[1-2] (2)\n  ---------------\n   5.10\n"
    "  ---------------\n  node3\n  ---------------\n   6.1\n"
    "  $ printf 'node2: 5.10\\nnode1: 5.10\\nnode3: 6.1\\n' | krel gather -L\n"
    "  node[1-2]: 5.10\n  node3: 6.1\n"
    "  $ pdsh -w 'node[1-8]' uname -r | krel gather\n"
    "  $ srun --label hostname | krel gather --style clubak -L\n"
    "Input: lines \"NODE SEP text\" in any interleaving (SEP \":\" unless -S); nodes whose\n"
    "sequences of lines are identical are gathered under one header naming them in\n"
    "host-list notation. --style dshbak (the default) writes what dshbak -c writes\n"
    "for the same input, byte for byte: pdsh's page, the one most people and scripts\n"
    "already read. --style clubak writes what clubak -b writes (-L: clubak -bL),\n"
    "text kept as written after SEP, the count of nodes in each header. --per-node\n"
    "writes each node on its own, as dshbak and clubak without -c or -b. The dshbak\n"
    "style folds the last number of names only (r1c[1-2],r2c1), the clubak style\n"
    "every one (r[1-2]c[1-2]), as the peers do; a header may still put the same\n"
    "names in other text than the peer's (n[1,01] for dshbak's n[01,1]). A line\n"
    "without SEP, with an empty node name or with a name that is not one host name\n"
    "is an error naming its line, and nothing is written.";

krel::GatherStyle style_of(std::string const& name) {
  return name == "clubak" ? krel::GatherStyle::kClubak : krel::GatherStyle::kDshbak;
}

}  // namespace

CLI::App* add_gather_command(CLI::App& app, GatherRequest& request) {
  CLI::App* const command = app.add_subcommand(
      "gather",
      "Gather \"node: text\" lines into which nodes said what, as dshbak -c or clubak -b");
  command
      ->add_option("--style", request.style,
                   "Write dshbak's page (the default: pdsh's, the most read) or clubak's")
      ->type_name("STYLE")
      ->check(CLI::IsMember({"dshbak", "clubak"}));
  command->add_flag("-L,--lines", request.line_prefix,
                    "No header blocks: each line as \"NODES: text\" (clubak -bL)");
  command->add_flag("--per-node", request.per_node,
                    "Each node on its own, not gathered (dshbak, clubak without -c, -b)");
  command->add_option("-S", request.separator, "Between node name and text (default \":\")")
      ->type_name("SEP")
      ->check(
          [](std::string const& value) {
            return value.empty() ? std::string("SEP must not be empty") : std::string();
          },
          "");
  command->footer(kGatherExamples);
  return command;
}

std::string gather_command(GatherRequest const& request) {
  krel::Gatherer gatherer(krel::GatherReadOptions{request.separator, style_of(request.style)});
  std::string error;
  bool ok = true;
  read_standard_input_blocks([&](std::string_view block) {
    if (ok) ok = gatherer.feed(block, &error);
  });
  if (!ok || !gatherer.finish(&error)) throw ToolError(error);
  return gatherer.page(krel::GatherPageOptions{request.per_node, request.line_prefix});
}

}  // namespace krel_tool
