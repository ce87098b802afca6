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

// Hands standard input to `take` block by block (1 MiB at most each), as
// it comes, until its end; for readers that keep only what they need.
void read_standard_input_blocks(std::function<void(std::string_view)> const& take);

// Writes all of `text` to standard output. Throws ToolError when the
// output cannot be written.
void write_output(std::string const& text);

using NameVisitor = std::function<void(std::string_view)>;

// Writes the names that `produce` hands to the visitor it is given, with
// `separator` between them and a newline after the last; nothing for no
// names. Names "n1", "n2" with "\n" give "n1\nn2\n". The text goes out in
// cache-sized blocks as the names come, so no list of names is built.
void write_names(std::string const& separator,
                 std::function<void(NameVisitor const&)> const& produce);

// Writes the values in decimal, one per line: {-1, 9, 10} gives
// "-1\n9\n10\n".
void write_number_lines(std::vector<int> const& values);

}  // namespace krel_tool
