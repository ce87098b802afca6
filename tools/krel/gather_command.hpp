// krel gather: per-node output ("node: text" lines on standard input)
// gathered into "which nodes said what", on dshbak's or clubak's page.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace krel_tool {

struct GatherRequest {
  std::string style = "dshbak";
  std::string separator = ":";
  bool line_prefix = false;  // -L: "NODES: text" lines, no header blocks
  bool per_node = false;     // each node on its own
};

// Declares the gather subcommand and its options on `app`.
CLI::App* add_gather_command(CLI::App& app, GatherRequest& request);

// Reads standard input to its end and returns the whole page. Bad input
// throws ToolError naming the line; nothing is returned then.
std::string gather_command(GatherRequest const& request);

}  // namespace krel_tool
