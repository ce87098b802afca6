// Host names and other words from the command line or standard input.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace krel_tool {

// The arguments, or "-" alone when there are none: "-" stands for standard
// input.
std::vector<std::string> inputs_or_standard_input(std::vector<std::string> const& arguments);

// The host names that `inputs` stand for, in order, duplicates kept. Each
// input is host-list text; "-" is standard input. Bad notation throws
// RecordShown after the library's record.
std::vector<std::string> host_names(std::vector<std::string> const& inputs);

// Words of `inputs` split at white space only; "-" is standard input.
std::vector<std::string> plain_words(std::vector<std::string> const& inputs);

// Lines of `inputs`: each argument is one line; "-" is standard input,
// cut at newlines (empty lines dropped).
std::vector<std::string> input_lines(std::vector<std::string> const& inputs);

}  // namespace krel_tool
