// The node-group part of the help of fold, expand and count: a worked
// example each, after the examples those subcommands already show.
#pragma once

#include <CLI/CLI.hpp>

namespace krel_tool {

// Appends the group examples to the footers of fold, expand and count
// (those given).
void add_group_help(CLI::App* fold, CLI::App* expand, CLI::App* count);

}  // namespace krel_tool
