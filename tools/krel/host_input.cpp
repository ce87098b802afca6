#include "host_input.hpp"

#include <optional>

#include "groups_command.hpp"
#include "internal/text.hpp"
#include "process_io.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

using krel::internal::is_blank;

constexpr char kStandardInput[] = "-";

}  // namespace

std::vector<std::string> inputs_or_standard_input(std::vector<std::string> const& arguments) {
  std::vector<std::string> inputs = with_all_nodes(arguments);
  if (inputs.empty()) return {kStandardInput};
  return inputs;
}

std::string_view input_text(std::string const& input) {
  if (input == kStandardInput) return standard_input();
  return input;
}

krel::HostSet host_set(std::vector<std::string> const& inputs) {
  // The arguments are read as one text, a line each: adding a hundred
  // thousand names to a set one argument at a time would cost a union per
  // name. Each argument is checked on its own first, so that a bracket never
  // spans two arguments and a message names the argument's piece. Standard
  // input is read on its own, where it stands.
  krel::HostSet all;
  auto add = [&all](std::string_view text) {
    std::string error;
    std::optional<krel::HostSet> one = parse_hosts(text, &error);
    if (!one) throw ToolError(error);
    if (all.empty())
      all = std::move(*one);
    else
      all |= *one;
  };
  std::string arguments;
  for (std::string const& input : inputs) {
    if (input == kStandardInput) {
      add(standard_input());
      continue;
    }
    std::string error;
    // The count of names as written includes duplicates and may overflow
    // where the set does not; only the set's own reading decides then.
    if (!krel::HostSet::count_written(input, &error) && !parse_hosts(input, &error))
      throw ToolError(error);
    arguments += input;
    arguments += '\n';
  }
  if (!arguments.empty()) add(arguments);
  return all;
}

void for_each_written_name(std::vector<std::string> const& inputs,
                           std::function<void(std::string_view)> const& visit) {
  // Nothing is written unless every input reads. The reader checks the
  // input it visits before its first name; the inputs after it are checked
  // here.
  for (std::size_t i = 1; i < inputs.size(); ++i) {
    std::string const& input = inputs[i];
    std::string error;
    if (names_groups(input_text(input))) continue;  // read in full below
    if (!krel::HostSet::count_written(input_text(input), &error)) throw ToolError(error);
  }
  for (std::string const& input : inputs) {
    std::string error;
    if (names_groups(input_text(input))) {  // a group's names, in the set's order
      host_set({input}).for_each(visit);
      continue;
    }
    if (!krel::HostSet::for_each_written(input_text(input), visit, &error)) throw ToolError(error);
  }
}

std::vector<std::string> plain_words(std::vector<std::string> const& inputs) {
  std::vector<std::string> words;
  for (std::string const& input : inputs) {
    std::string_view const text = input_text(input);
    std::size_t i = 0;
    while (i < text.size()) {
      while (i < text.size() && is_blank(text[i]))
        ++i;
      std::size_t const begin = i;
      while (i < text.size() && !is_blank(text[i]))
        ++i;
      if (i > begin) words.emplace_back(text.substr(begin, i - begin));
    }
  }
  return words;
}

std::vector<std::string> input_lines(std::vector<std::string> const& inputs) {
  std::vector<std::string> lines;
  for (std::string const& input : inputs) {
    if (input != kStandardInput) {
      lines.push_back(input);
      continue;
    }
    std::string_view const text = standard_input();
    std::size_t begin = 0;
    while (begin < text.size()) {
      std::size_t end = text.find('\n', begin);
      if (end == std::string_view::npos) end = text.size();
      if (end > begin) lines.emplace_back(text.substr(begin, end - begin));
      begin = end + 1;
    }
  }
  return lines;
}

}  // namespace krel_tool
