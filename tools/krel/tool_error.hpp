// How the tool's commands fail. main() turns both into exit status 2.
#pragma once

#include <stdexcept>
#include <string>

namespace krel_tool {

// A problem the tool describes itself, in one line: "krel: <what>".
class ToolError : public std::runtime_error {
 public:
  explicit ToolError(std::string const& what) : std::runtime_error(what) {}
};

// A problem whose library log record is already on standard error; nothing
// more is to be said about it.
class RecordShown : public std::runtime_error {
 public:
  RecordShown() : std::runtime_error("a library record was written") {}
};

}  // namespace krel_tool
