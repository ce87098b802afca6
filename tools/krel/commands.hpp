// What each subcommand computes. Every function builds its whole output
// before anything is written, and throws ToolError or RecordShown instead.
#pragma once

#include <string>
#include <vector>

namespace krel_tool {

// A set operation applied to the folded hosts, in command-line order.
struct SetOperation {
  enum class Kind { kExclude, kIntersect, kXor };
  Kind kind;
  std::string list;  // host-list text, "-" for standard input
};

struct FoldRequest {
  std::vector<std::string> inputs;
  std::string separator = ", ";
  std::vector<SetOperation> operations;
};

struct ExpandRequest {
  std::vector<std::string> inputs;
  std::string separator = "\n";
};

struct WrapRequest {
  int width = 0;  // 0: the terminal's, or 80
  std::string indent;
  std::string column_separator;  // empty: no column layout
  bool hide_separator = false;
  bool table = false;
};

// One line of folded notation; nothing when there are no names.
std::string fold_command(FoldRequest const& request);
// The names, each followed by the separator, the last by a newline.
std::string expand_command(ExpandRequest const& request);
// The number of distinct names, one line.
std::string count_command(std::vector<std::string> const& inputs);
// The numbers of range lists, one per line, ascending, each once.
std::string ranges_command(std::vector<std::string> const& inputs);
// Numbers and range lists folded into one run list, one line; nothing when
// there are no numbers.
std::string fold_ranges_command(std::vector<std::string> const& inputs);
// Standard input wrapped, ending with a newline unless empty.
std::string wrap_command(WrapRequest const& request);
// Exit status 0 when `a` is newer than `b`, 1 when not; unparsable versions
// throw RecordShown.
int version_newer_command(std::string const& a, std::string const& b);
// The bare library name of every path, one per line.
std::string libname_command(std::vector<std::string> const& inputs);

}  // namespace krel_tool
