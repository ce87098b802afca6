// Host sets and other words from the command line or standard input. Host
// notation is read by the library's host-set reader only.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "krel/hostset.hpp"

namespace krel_tool {

// The arguments, or "-" alone when there are none: "-" stands for standard
// input.
std::vector<std::string> inputs_or_standard_input(std::vector<std::string> const& arguments);

// The text an input stands for: standard input for "-", else the input.
std::string_view input_text(std::string const& input);

// The union of the host sets that `inputs` stand for. Each input is
// host-list notation or a set expression ("n[1-5]!n3"), read on its own;
// "-" is standard input, all of it one text (its lines joined by unions,
// left to right). Bad notation throws
// ToolError with the reader's message, `cannot read "node[3-1]": descending range 3-1`.
krel::HostSet host_set(std::vector<std::string> const& inputs);

// Calls `visit` for every name of `inputs` in the order written, duplicates
// kept, without building a set. Every input is checked before the first
// name is visited; bad notation throws ToolError and visits nothing.
void for_each_written_name(std::vector<std::string> const& inputs,
                           std::function<void(std::string_view)> const& visit);

// Words of `inputs` split at white space only; "-" is standard input.
std::vector<std::string> plain_words(std::vector<std::string> const& inputs);

// Lines of `inputs`: each argument is one line; "-" is standard input,
// cut at newlines (empty lines dropped).
std::vector<std::string> input_lines(std::vector<std::string> const& inputs);

}  // namespace krel_tool
