// Standard input, standard output and standard error of the tool process.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace krel_tool {

// All of standard input, read in large blocks. Read once: later calls
// return the same text.
std::string_view standard_input();

// Writes all of `text` to standard output. Throws ToolError when the
// output cannot be written.
void write_output(std::string const& text);

// Runs `call` while watching standard error: whatever the library writes
// there meanwhile (its log records) is passed on unchanged, and returned.
std::string watch_records(std::function<void()> const& call);

}  // namespace krel_tool
