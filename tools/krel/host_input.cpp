#include "host_input.hpp"

#include "internal/text.hpp"
#include "krel/hostlist.hpp"
#include "process_io.hpp"
#include "tool_error.hpp"

namespace krel_tool {
namespace {

using krel::internal::is_blank;

constexpr char kStandardInput[] = "-";

std::string_view input_text(std::string const& input) {
  if (input == kStandardInput) return standard_input();
  return input;
}

// Calls take(word, has_brackets) for every host-list word of `text`: words
// are split at white space and at commas, except inside brackets, so
// "a,b node[1-2, 5]" gives "a", "b", "node[1-2, 5]". Empty words are skipped.
template <typename Take>
void for_each_host_word(std::string_view text, Take take) {
  std::size_t begin = 0;
  int depth = 0;
  bool has_brackets = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const c = text[i];
    if (c == '[') {
      ++depth;
      has_brackets = true;
    } else if (c == ']') {
      if (depth > 0) --depth;
      has_brackets = true;
    } else if (depth == 0 && (c == ',' || is_blank(c))) {
      if (i > begin) take(text.substr(begin, i - begin), has_brackets);
      begin = i + 1;
      has_brackets = false;
    }
  }
  if (text.size() > begin) take(text.substr(begin), has_brackets);
}

void add_expansion(std::string_view word, std::vector<std::string>& names) {
  std::vector<std::string> expanded = krel::TokenizedHost::expand_hosts(std::string(word));
  // A word is never blank, so no names means the library refused it and
  // said why in its record.
  if (expanded.empty()) throw RecordShown();
  if (names.empty()) {
    names = std::move(expanded);
    return;
  }
  names.insert(names.end(), std::make_move_iterator(expanded.begin()),
               std::make_move_iterator(expanded.end()));
}

}  // namespace

std::vector<std::string> inputs_or_standard_input(std::vector<std::string> const& arguments) {
  if (arguments.empty()) return {kStandardInput};
  return arguments;
}

std::vector<std::string> host_names(std::vector<std::string> const& inputs) {
  std::vector<std::string> names;
  for (std::string const& input : inputs) {
    for_each_host_word(input_text(input), [&names](std::string_view word, bool has_brackets) {
      if (has_brackets)
        add_expansion(word, names);
      else
        names.emplace_back(word);
    });
  }
  return names;
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
