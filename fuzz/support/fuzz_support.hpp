// Helpers shared by the fuzz targets: cutting an input into fields, reading
// numbers from them, reporting a broken property, and capturing log records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "krel/hostset.hpp"

namespace krel_fuzz {

// Fields of an input are separated by the ASCII unit separator, so that a
// seed stays readable and every other byte can appear inside a field.
constexpr char kFieldSeparator = '\x1f';

// Cuts `data` into exactly `count` fields at the first `count - 1` unit
// separators; the last field takes the rest, separators included, and
// missing fields are empty.
std::vector<std::string> fields(std::uint8_t const* data, std::size_t size, std::size_t count);

// Cuts `text` at every `delimiter` (a final delimiter gives no empty field).
std::vector<std::string> lines(std::string const& text, char delimiter = '\n');

// A decimal number at the start of `text` (optional blanks, optional sign),
// clamped to the range of int; 0 when there are no digits.
int leading_int(std::string const& text);

// Every decimal number in `text` (a '-' directly in front is its sign),
// clamped to the range of int.
std::vector<int> all_ints(std::string const& text);

// `text` with every space and newline taken out: what layout may not change.
std::string without_spaces_and_newlines(std::string const& text);

// Prints what went wrong, with the values involved, and aborts, so that
// libFuzzer keeps the input as a crash.
[[noreturn]] void fail(std::string const& property, std::string const& detail);

// When `ok` is false, fails with `property` and `detail`.
void expect(bool ok, std::string const& property, std::string const& detail = std::string());

// Fails naming `what` when `set` breaks the host-set invariant
// (HostSet::verify), with the set's fold in the detail.
void expect_verified(krel::HostSet const& set, std::string const& what, std::string const& detail);

// A byte string written so that every byte is visible: printable ASCII as
// is, everything else as \xHH, quoted.
std::string quoted(std::string const& text);
std::string quoted(std::vector<std::string> const& list);
std::string quoted(std::vector<int> const& list);

// Redirects the standard error stream object (where log records go) into a
// buffer and opens the log threshold fully, for targets that check records.
// Sanitizer reports write to descriptor 2 directly and are not affected.
class RecordCapture {
 public:
  static RecordCapture& instance();
  // The records written since the last call, one "\n"-terminated line each.
  std::string take();

 private:
  RecordCapture();
  std::stringstream buffer_;
};

}  // namespace krel_fuzz
