#include "commands.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <utility>

#include "groups_command.hpp"
#include "host_input.hpp"
#include "internal/decimal.hpp"
#include "internal/text.hpp"
#include "krel/fs.hpp"
#include "krel/hostlist.hpp"
#include "krel/hostset.hpp"
#include "krel/str.hpp"
#include "krel/text_layout.hpp"
#include "process_io.hpp"
#include "set_options.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

using krel::internal::append_decimal;
using krel::internal::quoted;

constexpr int kDefaultWidth = 80;
// expand_ranges enumerates every value it is given; a mistyped bound must
// not eat the machine's memory.
constexpr std::uint64_t kMaxRangeValues = 10000000;
constexpr char kReportSeparator[] = ", ";

krel::HostSet read_set(std::string const& input) {
  return host_set({input});
}

krel::HostSet apply(SetOperation const& operation, krel::HostSet current) {
  krel::HostSet const other = read_set(operation.list);
  switch (operation.kind) {
    case SetOperation::Kind::kExclude:
      current -= other;
      break;
    case SetOperation::Kind::kIntersect:
      current &= other;
      break;
    case SetOperation::Kind::kXor:
      current ^= other;
      break;
  }
  return current;
}

bool changes_the_set(SetRequest const& request) {
  return !request.operations.empty() || request.slice.has_value() || request.pick.has_value();
}

krel::HostSet selected_set(SetRequest const& request) {
  // The inputs and the set operations in command-line order; the inputs
  // written between two operations are read together. Standard input
  // implied by no input comes first.
  std::vector<std::string> const& inputs = request.inputs;
  krel::HostSet set;
  std::size_t next = 0;
  auto read_inputs_before = [&](std::size_t end) {
    end = std::min(end, inputs.size());
    if (end <= next) return;
    krel::HostSet more = host_set({inputs.begin() + static_cast<std::ptrdiff_t>(next),
                                   inputs.begin() + static_cast<std::ptrdiff_t>(end)});
    if (set.empty())
      set = std::move(more);
    else
      set |= more;
    next = end;
  };
  for (SetOperation const& operation : request.operations) {
    read_inputs_before(request.inputs_written == 0 ? inputs.size() : operation.inputs_before);
    set = apply(operation, std::move(set));
  }
  read_inputs_before(inputs.size());
  if (request.slice) {
    std::string error;
    std::optional<krel::HostSet> slice = set.select(*request.slice, &error);
    if (!slice) throw ToolError("--slice: " + error);
    set = std::move(*slice);
  }
  if (request.pick) set = picked(set, *request.pick, request.seed);
  return set;
}

// The suite's report notation, written by get_merged_hosts unchanged. It
// reads its numbers as int; a name whose number it cannot read is found by
// folding the names one by one, which costs something only on that error.
std::string report_fold(krel::HostSet const& set) {
  std::vector<std::string> const names = set.expand();
  try {
    return krel::TokenizedHost::get_merged_hosts(names);
  } catch (std::out_of_range const&) {
    for (std::string const& name : names) {
      try {
        krel::TokenizedHost::get_merged_hosts({name});
      } catch (std::out_of_range const&) {
        throw ToolError("cannot write " + quoted(name) +
                        " in the report notation: a number is above 2147483647");
      }
    }
    throw ToolError("cannot write the report notation: a number is above 2147483647");
  }
}

// The report notation's pieces, cut at the ", " it joins them with, each
// written through `format` (none: as it is), joined by `separator`. No piece
// holds ", ": names hold no comma.
std::string report_pieces(std::string const& report, std::string const& format,
                          std::string const& separator) {
  if (format.empty() && separator == kReportSeparator) return report;
  std::string_view const delimiter = kReportSeparator;
  std::string result;
  result.reserve(report.size());
  std::size_t begin = 0;
  while (true) {
    std::size_t const end = report.find(delimiter, begin);
    std::string_view const piece = std::string_view(report).substr(begin, end - begin);
    if (begin > 0) result += separator;
    result += formatted(format, piece);
    if (end == std::string::npos) break;
    begin = end + delimiter.size();
  }
  return result;
}

// The fold of `set`, each piece written through `format` (none: as it is).
std::string folded_text(krel::HostSet const& set, krel::HostSetFoldOptions const& options,
                        std::string const& format) {
  if (format.empty()) return set.fold(options);
  std::string text;
  bool first = true;
  set.for_each_piece(options, [&](std::string_view piece) {
    if (!first) text += options.separator;
    first = false;
    text += formatted(format, piece);
  });
  return text;
}

krel::HostSetFoldOptions fold_options(FoldRequest const& request, std::uint64_t size) {
  krel::HostSetFoldOptions options;
  if (request.separator) options.separator = unescaped(*request.separator);
  options.autostep = autostep_threshold(request.autostep, size);
  if (!request.axes.empty()) {
    std::string error;
    std::optional<std::vector<int>> axes = krel::HostSet::parse_axes(request.axes, &error);
    if (!axes) throw ToolError("--axis: " + error);
    options.axes = std::move(*axes);
  }
  return options;
}

std::string folded_lines(std::vector<krel::HostSet> const& parts,
                         krel::HostSetFoldOptions const& options, std::string const& format) {
  std::string text;
  for (krel::HostSet const& part : parts) {
    text += folded_text(part, options, format);
    text += '\n';
  }
  return text;
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
  krel::HostSet const set = selected_set(request.set);
  krel::HostSetFoldOptions const options = fold_options(request, set.size());
  std::string const& format = request.set.output_format;
  if (set.empty()) return std::string();
  if (regroup_requested()) return regroup_text(set, options) + "\n";
  if (request.report)
    return report_pieces(report_fold(set), format,
                         request.separator ? options.separator : kReportSeparator) +
           "\n";
  if (request.split > 0) return folded_lines(set.split(request.split), options, format);
  if (request.contiguous) return folded_lines(set.contiguous(), options, format);
  return folded_text(set, options, format) + "\n";
}

void expand_command(ExpandRequest const& request) {
  std::string const& format = request.set.output_format;
  // Each name through the format, when there is one.
  auto through_format = [&format](NameVisitor const& visit) -> NameVisitor {
    if (format.empty()) return visit;
    return [&format, &visit](std::string_view name) { visit(formatted(format, name)); };
  };
  std::string const separator = unescaped(request.separator);
  if (!request.sort && !changes_the_set(request.set)) {
    write_names(separator, [&](NameVisitor const& visit) {
      for_each_written_name(request.set.inputs, through_format(visit));
    });
    return;
  }
  krel::HostSet const set = selected_set(request.set);
  write_names(separator, [&](NameVisitor const& visit) { set.for_each(through_format(visit)); });
}

std::string count_command(SetRequest const& request) {
  std::string text;
  append_decimal(text, selected_set(request).size());
  return formatted(request.output_format, text) + "\n";
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
  std::optional<bool> const newer = krel::str::is_newer_version(a, b);
  if (!newer) {
    // The library's own record says what could not be read.
    bool ignored = false;
    krel::str::compare_versions(a, b, ignored);
    throw RecordShown();
  }
  return *newer ? 0 : 1;
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
