#include "commands.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <unordered_set>

#include "host_input.hpp"
#include "internal/decimal.hpp"
#include "internal/text.hpp"
#include "krel/fs.hpp"
#include "krel/hostlist.hpp"
#include "krel/str.hpp"
#include "krel/text_layout.hpp"
#include "process_io.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

using krel::internal::quoted;

using NameSet = std::unordered_set<std::string>;

constexpr int kDefaultWidth = 80;
// expand_ranges enumerates every value it is given; a mistyped bound must
// not eat the machine's memory.
constexpr std::uint64_t kMaxRangeValues = 10000000;

// The first name holding a digit run above INT_MAX, which folding cannot
// read; "" when there is none.
std::string name_with_oversized_number(std::vector<std::string> const& names, std::string& digits) {
  for (std::string const& name : names) {
    std::size_t i = 0;
    while (i < name.size()) {
      if (name[i] < '0' || name[i] > '9') {
        ++i;
        continue;
      }
      std::size_t const begin = i;
      while (i < name.size() && name[i] >= '0' && name[i] <= '9')
        ++i;
      std::size_t significant = begin;
      while (significant + 1 < i && name[significant] == '0')
        ++significant;
      std::string const run = name.substr(significant, i - significant);
      if (run.size() > 10 || (run.size() == 10 && run > "2147483647")) {
        digits = name.substr(begin, i - begin);
        return name;
      }
    }
  }
  return std::string();
}

std::string fold_names(std::vector<std::string> const& names) {
  try {
    return krel::TokenizedHost::get_merged_hosts(names);
  } catch (std::out_of_range const&) {
    std::string digits;
    std::string const name = name_with_oversized_number(names, digits);
    if (name.empty()) throw ToolError("cannot fold: a number is above 2147483647");
    throw ToolError("cannot fold " + quoted(name) + ": its number " + digits +
                    " is above 2147483647");
  }
}

NameSet name_set(std::vector<std::string>&& names) {
  NameSet set;
  set.reserve(names.size());
  for (std::string& name : names)
    set.insert(std::move(name));
  return set;
}

NameSet apply(SetOperation const& operation, NameSet&& current) {
  NameSet other = name_set(host_names({operation.list}));
  NameSet result;
  switch (operation.kind) {
    case SetOperation::Kind::kExclude:
      for (std::string const& name : current)
        if (other.count(name) == 0) result.insert(name);
      break;
    case SetOperation::Kind::kIntersect:
      for (std::string const& name : current)
        if (other.count(name) != 0) result.insert(name);
      break;
    case SetOperation::Kind::kXor:
      for (std::string const& name : current)
        if (other.count(name) == 0) result.insert(name);
      for (std::string const& name : other)
        if (current.count(name) == 0) result.insert(name);
      break;
  }
  return result;
}

// Folded notation always joins its pieces with ", ", and no piece holds a
// comma, since the names come from words split at commas.
std::string with_separator(std::string const& folded, std::string const& separator) {
  if (separator == ", ") return folded;
  std::string result;
  result.reserve(folded.size());
  std::size_t begin = 0;
  while (true) {
    std::size_t const comma = folded.find(", ", begin);
    if (comma == std::string::npos) break;
    result.append(folded, begin, comma - begin);
    result += separator;
    begin = comma + 2;
  }
  result.append(folded, begin, std::string::npos);
  return result;
}

// Reads a bound of a range item as expand_ranges would, only to size it;
// false when it is not a plain number (expand_ranges then rejects it).
bool read_unsigned(std::string const& text, std::uint64_t& value) {
  if (text.empty() || text.find_first_not_of(" \t\n\r0123456789") != std::string::npos)
    return false;
  errno = 0;
  value = std::strtoull(text.c_str(), nullptr, 10);
  return errno == 0;
}

// How many values a range list names, at most; for the guard only.
std::uint64_t range_list_size(std::string const& list) {
  std::uint64_t total = 0;
  for (std::string const& item : krel::str::split(list, ',', true)) {
    std::size_t const dash = item.find('-');
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    if (dash == std::string::npos || !read_unsigned(item.substr(0, dash), low) ||
        !read_unsigned(item.substr(dash + 1), high) || high < low) {
      total += 1;
      continue;
    }
    std::uint64_t const count = high - low + 1;
    total = count > kMaxRangeValues ? kMaxRangeValues + 1 : total + count;
    if (total > kMaxRangeValues) break;
  }
  return total;
}

std::vector<int> expanded_range_list(std::string const& list) {
  if (range_list_size(list) > kMaxRangeValues)
    throw ToolError("the range list " + quoted(list) + " names more than " +
                    std::to_string(kMaxRangeValues) + " numbers");
  std::vector<int> values = krel::str::expand_ranges(list);
  if (values.empty()) throw ToolError("bad range list " + quoted(list));
  return values;
}

}  // namespace

std::string fold_command(FoldRequest const& request) {
  std::vector<std::string> names = host_names(request.inputs);
  if (!request.operations.empty()) {
    NameSet current = name_set(std::move(names));
    for (SetOperation const& operation : request.operations)
      current = apply(operation, std::move(current));
    names.assign(current.begin(), current.end());
  }
  if (names.empty()) return std::string();
  return with_separator(fold_names(names), request.separator) + "\n";
}

std::vector<std::string> expand_command(ExpandRequest const& request) {
  return host_names(request.inputs);
}

std::string count_command(std::vector<std::string> const& inputs) {
  std::string text;
  krel::internal::append_decimal(text, static_cast<long long>(name_set(host_names(inputs)).size()));
  return text + "\n";
}

std::vector<int> ranges_command(std::vector<std::string> const& inputs) {
  // Word by word, so that a bad word is named; together they are one list,
  // ascending, each value once.
  std::vector<std::string> const words = plain_words(inputs);
  std::vector<int> values;
  for (std::string const& word : words) {
    std::vector<int> more = expanded_range_list(word);
    if (values.size() + more.size() > kMaxRangeValues)
      throw ToolError("the range lists name more than " + std::to_string(kMaxRangeValues) +
                      " numbers");
    if (values.empty())
      values = std::move(more);
    else
      values.insert(values.end(), more.begin(), more.end());
  }
  // A single list comes back ascending and duplicate-free already; only
  // several lists need merging.
  if (words.size() > 1) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
  }
  return values;
}

std::string fold_ranges_command(std::vector<std::string> const& inputs) {
  std::vector<int> values;
  for (std::string const& word : plain_words(inputs)) {
    std::vector<int> const more = expanded_range_list(word);
    values.insert(values.end(), more.begin(), more.end());
  }
  if (values.empty()) return std::string();
  bool multiple = false;
  return krel::str::get_merged_ints(values, multiple, 0) + "\n";
}

std::string wrap_command(WrapRequest const& request) {
  int width = request.width;
  if (width <= 0) width = krel::str::terminal_width();
  if (width <= 0) width = kDefaultWidth;
  if (request.indent.size() >= static_cast<std::size_t>(width))
    throw ToolError("the indent (" + std::to_string(request.indent.size()) +
                    " bytes) must be shorter than the width (" + std::to_string(width) + ")");
  std::string const text(standard_input());
  std::string wrapped;
  if (request.table)
    wrapped = krel::str::space_wrap(text, width, request.indent);
  else if (!request.column_separator.empty())
    wrapped = krel::str::column_wrap(text, width, request.indent, request.column_separator.front(),
                                     request.hide_separator);
  else
    wrapped = krel::str::word_wrap(text, width, request.indent);
  // The wrappers keep or drop the final newline as the input had it; on a
  // terminal and in a pipe a complete last line is what is wanted.
  if (!wrapped.empty() && wrapped.back() != '\n') wrapped += '\n';
  return wrapped;
}

int version_newer_command(std::string const& a, std::string const& b) {
  bool is_newer = false;
  std::string const records = watch_records([&] { krel::str::compare_versions(a, b, is_newer); });
  if (!records.empty()) throw RecordShown();
  return is_newer ? 0 : 1;
}

std::string libname_command(std::vector<std::string> const& inputs) {
  std::string text;
  for (std::string const& path : input_lines(inputs)) {
    text += krel::str::get_lib_name(path);
    text += '\n';
  }
  return text;
}

}  // namespace krel_tool
