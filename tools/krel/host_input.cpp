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

namespace {

bool read_together(std::string const& input) {
  return input != kStandardInput && !krel::HostSet::is_expression(input);
}

// The message for the arguments read together that did not read as one
// text: the first of them that does not read on its own is named, else the
// whole reading's `error`. Runs on that failure only.
std::string blamed(std::vector<std::string> const& inputs, std::string error) {
  for (std::string const& input : inputs) {
    std::string own;
    if (read_together(input) && !parse_hosts(input, &own)) return own;
  }
  return error;
}

// Adds the set `text` stands for to `all`; `together`, when given, are the
// inputs `text` was joined from.
void add_parsed(krel::HostSet& all, std::string_view text,
                std::vector<std::string> const* together) {
  std::string error;
  std::optional<krel::HostSet> one = parse_hosts(text, &error);
  if (!one) throw ToolError(together == nullptr ? error : blamed(*together, std::move(error)));
  if (all.empty())
    all = std::move(*one);
  else
    all |= *one;
}

// The texts, a line each.
std::string lines_of(std::vector<std::string_view> const& texts) {
  std::size_t size = 0;
  for (std::string_view const text : texts)
    size += text.size() + 1;
  std::string joined;
  joined.reserve(size);
  for (std::string_view const text : texts) {
    joined += text;
    joined += '\n';
  }
  return joined;
}

// The message for texts that did not read as one: the first of them that
// does not read on its own is named, else the whole reading's `error`.
std::string blamed_text(std::vector<std::string_view> const& texts, std::string error) {
  for (std::string_view const text : texts) {
    std::string own;
    if (!krel::HostSet::count_written(text, &own)) return own;
  }
  return error;
}

}  // namespace

krel::HostSet host_set(std::vector<std::string> const& inputs) {
  // The arguments are read as one text, a line each: adding a hundred
  // thousand names to a set one argument at a time would cost a union per
  // name. The reader takes no bracket across a line, so none spans two
  // arguments; when the text does not read, the faulty argument is found
  // and named. Standard input and set expressions are read on their own,
  // where they stand.
  krel::HostSet all;
  std::string arguments;
  for (std::string const& input : inputs) {
    if (!read_together(input)) {
      add_parsed(all, input_text(input), nullptr);
      continue;
    }
    arguments += input;
    arguments += '\n';
  }
  if (!arguments.empty()) add_parsed(all, arguments, &inputs);
  return all;
}

void for_each_written_name(std::vector<std::string> const& inputs,
                           std::function<void(std::string_view)> const& visit) {
  // Nothing is written unless every input reads, and the reader checks the
  // text it visits before its first name. Inputs of plain notation are
  // therefore visited as one text, a line each (no bracket spans a line),
  // and each is read once. A set expression's lines would be one
  // expression, so with one among several inputs the others are checked
  // before the first is visited.
  std::vector<std::string_view> texts;
  bool expression = false;
  for (std::string const& input : inputs) {
    texts.push_back(input_text(input));
    expression = expression || krel::HostSet::is_expression(texts.back());
  }
  std::string error;
  if (!expression) {
    std::string joined;
    if (texts.size() > 1) joined = lines_of(texts);
    std::string_view const text = texts.size() == 1 ? texts.front() : joined;
    if (!krel::HostSet::for_each_written(text, visit, &error))
      throw ToolError(texts.size() == 1 ? error : blamed_text(texts, std::move(error)));
    return;
  }
  // A text naming groups is read as a set (its names in the set's order);
  // the others after the first are checked before anything is visited.
  std::vector<std::optional<krel::HostSet>> sets(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (names_groups(texts[i])) {
      sets[i] = parse_hosts(texts[i], &error);
      if (!sets[i]) throw ToolError(error);
    } else if (i > 0 && !krel::HostSet::count_written(texts[i], &error)) {
      throw ToolError(error);
    }
  }
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (sets[i]) {
      sets[i]->for_each(visit);
    } else if (!krel::HostSet::for_each_written(texts[i], visit, &error)) {
      throw ToolError(error);
    }
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
