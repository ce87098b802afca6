// groups.d YAML files: `source: {group: notation or [names]}`, read with
// libyaml's event parser, typed as YAML 1.1 types plain scalars.
#include <yaml.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
// GCC 12 with sanitizers at -O2 warns inside <regex>'s own automaton
// (maybe-uninitialized on a moved std::function, a false positive in the
// standard library's code, not ours). Clang has no such warning.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <regex>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#include "group_sources.hpp"

namespace krel {
namespace group_internal {
namespace {

constexpr std::size_t max_file_bytes = std::size_t{64} << 20;
constexpr int max_depth = 32;

// Whether a plain scalar is something else than text under YAML 1.1's
// implicit types (null, booleans, integers, floats, timestamps).
bool is_typed_plain(std::string const& value) {
  if (value.empty() || value == "~" || value == "null" || value == "Null" || value == "NULL")
    return true;
  static char const* const booleans[] = {"yes",  "Yes",  "YES",  "no",    "No",    "NO",
                                         "true", "True", "TRUE", "false", "False", "FALSE",
                                         "on",   "On",   "ON",   "off",   "Off",   "OFF"};
  for (char const* word : booleans)
    if (value == word) return true;
  char const first = value[0];
  bool const numeric_start =
      (first >= '0' && first <= '9') || first == '-' || first == '+' || first == '.';
  if (!numeric_start) return false;
  static std::regex const number(
      "[-+]?0b[0-1_]+|[-+]?0[0-7_]+|[-+]?(0|[1-9][0-9_]*)|[-+]?0x[0-9a-fA-F_]+"
      "|[-+]?[1-9][0-9_]*(:[0-5]?[0-9])+"
      "|[-+]?([0-9][0-9_]*)?\\.[0-9_]*([eE][-+][0-9]+)?|[-+]?[0-9][0-9_]*(:[0-5]?[0-9])+\\.[0-9_]*"
      "|[-+]?\\.(inf|Inf|INF)|\\.(nan|NaN|NAN)"
      "|[0-9]{4}-[0-9]{1,2}-[0-9]{1,2}([Tt ].*)?");
  return std::regex_match(value, number);
}

// The reader's state: the event stream and the file's name for messages.
class YamlReader {
 public:
  YamlReader(std::string_view text, std::string_view path) : path_(path) {
    yaml_parser_initialize(&parser_);
    yaml_parser_set_input_string(&parser_, reinterpret_cast<unsigned char const*>(text.data()),
                                 text.size());
  }
  ~YamlReader() {
    if (have_event_) yaml_event_delete(&event_);
    yaml_parser_delete(&parser_);
  }
  YamlReader(YamlReader const&) = delete;
  YamlReader& operator=(YamlReader const&) = delete;

  std::optional<SourceSet> read(std::string* error);

 private:
  bool next(std::string* error);
  bool fail_at(std::string* error, std::string const& message) const;
  // `key` names what a key is ("group name"); nullptr for values.
  bool scalar_text(std::string& out, std::string* error, char const* key) const;
  bool read_group(std::string& text, std::string* error);
  bool read_source(std::map<std::string, std::string, std::less<>>& groups, std::string* error);

  std::string path_;
  yaml_parser_t parser_;
  yaml_event_t event_;
  bool have_event_ = false;
  int depth_ = 0;
};

bool YamlReader::fail_at(std::string* error, std::string const& message) const {
  std::size_t const line = have_event_ ? event_.start_mark.line + 1 : parser_.problem_mark.line + 1;
  fail(error, path_ + ":" + std::to_string(line) + ": " + message);
  return false;
}

bool YamlReader::next(std::string* error) {
  if (have_event_) yaml_event_delete(&event_);
  have_event_ = false;
  if (yaml_parser_parse(&parser_, &event_) == 0) {
    std::string problem = parser_.problem != nullptr ? parser_.problem : "malformed YAML";
    return fail_at(error, problem);
  }
  have_event_ = true;
  if (event_.type == YAML_ALIAS_EVENT) return fail_at(error, "aliases are not supported");
  if (event_.type == YAML_MAPPING_START_EVENT || event_.type == YAML_SEQUENCE_START_EVENT) {
    if (++depth_ > max_depth)
      return fail_at(error, "nested deeper than " + std::to_string(max_depth) + " levels");
  } else if (event_.type == YAML_MAPPING_END_EVENT || event_.type == YAML_SEQUENCE_END_EVENT) {
    --depth_;
  }
  return true;
}

bool YamlReader::scalar_text(std::string& out, std::string* error, char const* key) const {
  auto const& scalar = event_.data.scalar;
  out.assign(reinterpret_cast<char const*>(scalar.value), scalar.length);
  bool const plain = scalar.style == YAML_PLAIN_SCALAR_STYLE && scalar.tag == nullptr;
  if (key != nullptr && plain && is_typed_plain(out))
    return fail_at(error, std::string(key) + " " + out + " is not text (quote it)");
  if (key == nullptr && plain && (out == "~" || out == "null" || out == "Null" || out == "NULL"))
    out.clear();
  return true;
}

// A group's value: a scalar, or a sequence of scalars joined by commas.
bool YamlReader::read_group(std::string& text, std::string* error) {
  if (!next(error)) return false;
  if (event_.type == YAML_SCALAR_EVENT) return scalar_text(text, error, nullptr);
  if (event_.type != YAML_SEQUENCE_START_EVENT)
    return fail_at(error, "a group is notation or a list of names");
  text.clear();
  for (;;) {
    if (!next(error)) return false;
    if (event_.type == YAML_SEQUENCE_END_EVENT) return true;
    if (event_.type != YAML_SCALAR_EVENT) return fail_at(error, "a list of names holds only names");
    std::string item;
    if (!scalar_text(item, error, nullptr)) return false;
    if (!text.empty() && !item.empty()) text += ',';
    text += item;
  }
}

bool YamlReader::read_source(std::map<std::string, std::string, std::less<>>& groups,
                             std::string* error) {
  if (!next(error)) return false;
  if (event_.type != YAML_MAPPING_START_EVENT)
    return fail_at(error, "a source is a mapping of groups");
  for (;;) {
    if (!next(error)) return false;
    if (event_.type == YAML_MAPPING_END_EVENT) return true;
    if (event_.type != YAML_SCALAR_EVENT) return fail_at(error, "a group name is text");
    std::string name;
    if (!scalar_text(name, error, "group name")) return false;
    std::string text;
    if (!read_group(text, error)) return false;
    groups[name] = std::move(text);
  }
}

std::optional<SourceSet> YamlReader::read(std::string* error) {
  SourceSet result;
  while (next(error)) {
    switch (event_.type) {
      case YAML_STREAM_END_EVENT:
        if (!result.sources.empty()) result.default_source = result.sources.front()->name();
        return result;
      case YAML_MAPPING_START_EVENT:
        if (depth_ != 1) return fail(error, path_ + ": unexpected mapping");
        break;
      case YAML_SCALAR_EVENT: {
        if (depth_ != 1) {
          fail_at(error, "the file is a mapping of sources");
          return std::nullopt;
        }
        std::string source;
        std::map<std::string, std::string, std::less<>> groups;
        if (!scalar_text(source, error, "group source") || !read_source(groups, error))
          return std::nullopt;
        result.sources.push_back(std::make_shared<TextSource>(source, std::move(groups)));
        break;
      }
      case YAML_SEQUENCE_START_EVENT:
        fail_at(error, "the file is a mapping of sources");
        return std::nullopt;
      default:
        break;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<SourceSet> parse_yaml_sources(std::string_view text, std::string_view path,
                                            std::string* error) {
  YamlReader reader(text, path);
  return reader.read(error);
}

std::optional<std::string> read_text_file(std::string const& path, std::string* error) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                       &std::fclose);
  if (!file) return fail(error, path + ": cannot open: " + std::strerror(errno));
  std::string text;
  char buffer[65536];
  std::size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) {
    if (text.size() + got > max_file_bytes) return fail(error, path + ": larger than 64 MiB");
    text.append(buffer, got);
  }
  if (std::ferror(file.get()) != 0) return fail(error, path + ": cannot read");
  return text;
}

std::optional<SourceSet> read_yaml_sources(std::string_view path, std::string* error) {
  auto const text = read_text_file(std::string(path), error);
  if (!text) return std::nullopt;
  return parse_yaml_sources(*text, path, error);
}

}  // namespace group_internal
}  // namespace krel
