// What each subcommand computes. Nothing is written before every input has
// been read; a problem throws ToolError or RecordShown instead. Most results
// are the output text itself; the two that reach tens of megabytes (expand,
// ranges) are written block by block, expand as it visits its names and
// ranges through write_number_lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace krel_tool {

// A set operation applied to the input set, in command-line order.
struct SetOperation {
  enum class Kind { kExclude, kIntersect, kXor };
  Kind kind;
  std::string list;               // host-list text, "-" for standard input
  std::size_t inputs_before = 0;  // the positional inputs written before it
};

// The host set that fold, expand and count work on: the inputs and the set
// operations in command-line order (`krel fold A -x B C` is (A - B) + C),
// then sliced, then picked.
struct SetRequest {
  std::vector<std::string> inputs;  // "-" for standard input
  std::size_t inputs_written = 0;   // 0: `inputs` is standard input, implied
  std::vector<SetOperation> operations;
  std::optional<std::string> slice;   // 0-based index ranges, "0-9,20"
  std::optional<std::uint64_t> pick;  // that many hosts chosen at random
  std::optional<std::uint64_t> seed;  // for --pick
  std::string output_format;          // "%s" stands for each piece or name; empty: none
};

struct FoldRequest {
  SetRequest set;
  std::optional<std::string> separator;  // none: "," or, for the report, ", "
  bool report = false;                   // the suite's report notation
  std::string axes;                      // empty: every number position
  std::string autostep;                  // "K", "N%" or "auto"; empty: no steps
  std::uint64_t split = 0;               // 0: no splitting
  bool contiguous = false;
};

struct ExpandRequest {
  SetRequest set;
  std::string separator = "\n";
  bool sort = false;  // the set in the engine's order, not the names as written
};

struct WrapRequest {
  int width = 0;  // 0: the terminal's, or 80
  std::string indent;
  std::string column_separator;  // empty: no column layout
  bool hide_separator = false;
  bool table = false;
};

// One line of folded notation, or one line per part with --split or
// --contiguous; nothing when there are no names.
std::string fold_command(FoldRequest const& request);
// Writes the names: as written, in order, duplicates kept; or, with --sort,
// a set operation or a slice, the set in the engine's order. Every input is
// read before the first name is written.
void expand_command(ExpandRequest const& request);
// The number of distinct names, one line; no name is visited.
std::string count_command(SetRequest const& request);
// The numbers of range lists, ascending, each once; written with
// write_number_lines.
std::vector<int> ranges_command(std::vector<std::string> const& inputs);
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
