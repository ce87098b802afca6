// Standard input, standard output and standard error of the tool process.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace krel_tool {

// All of standard input, read in large blocks. Read once: later calls
// return the same text.
std::string_view standard_input();

// Writes all of `text` to standard output. Throws ToolError when the
// output cannot be written.
void write_output(std::string const& text);

// Writes the names with `separator` between them and a newline after the
// last; nothing for no names. {"n1", "n2"} with "\n" gives "n1\nn2\n".
void write_joined(std::vector<std::string> const& names, std::string const& separator);

// Writes the values in decimal, one per line: {-1, 9, 10} gives
// "-1\n9\n10\n".
void write_number_lines(std::vector<int> const& values);

// Runs `call` while watching standard error: whatever the library writes
// there meanwhile (its log records) is passed on unchanged, and returned.
std::string watch_records(std::function<void()> const& call);

}  // namespace krel_tool
