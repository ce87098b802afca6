// The options of fold, expand and count that choose the set and shape what
// is written: set operations in command-line order, --slice, --pick,
// --output-format, --autostep and escapes in separators.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "commands.hpp"
#include "krel/hostset.hpp"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace krel_tool {

// Adds -x/-i/-X (each recording where it stands among the positional
// words), -I/--slice, --pick, --seed and -O/--output-format to `command`.
void add_set_options(CLI::App& command, SetRequest& request);

// Adds fold's --autostep K|N%|auto, which excludes `report`.
void add_autostep_option(CLI::App& fold, std::string& autostep, CLI::Option* report);

// The step threshold for HostSetFoldOptions::autostep that `text` asks for
// over a set of `size` names: "" none (0), "K" K, "N%" N percent of the
// names (at least 2; above 100% none), "auto" every name (at least 3), as
// nodeset reads them. `text` was checked when it was parsed.
//   autostep_threshold("50%", 12)   // 6
//   autostep_threshold("auto", 12)  // 12
std::uint64_t autostep_threshold(std::string const& text, std::uint64_t size);

// `format` with its "%s" replaced by `text` and "%%" by "%"; the format was
// checked when it was parsed. An empty format gives the text.
//   formatted("<%s>", "n[1-2]")  // "<n[1-2]>"
std::string formatted(std::string const& format, std::string_view text);

// A separator with the escapes "\n", "\t", "\r" and "\\" read as nodeset -S
// reads them; other backslashes stay.
//   unescaped("\\n")  // "\n"
std::string unescaped(std::string const& separator);

// `count` names of `set` chosen at random, each once (`seed` given: the
// same names each run); the whole set when it holds no more.
krel::HostSet picked(krel::HostSet const& set, std::uint64_t count,
                     std::optional<std::uint64_t> seed);

}  // namespace krel_tool
