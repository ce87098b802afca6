// ClusterShell's groups.conf: [Main] (default, confdir, autodir) and upcall
// sections, read with inih; *.conf files of confdir hold more sections,
// *.yaml files of autodir more sources.
#include <ini.h>

#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

#include "group_sources.hpp"
#include "internal/text.hpp"

namespace krel {
namespace group_internal {
namespace {

using Section = std::map<std::string, std::string>;

// Sections in the order first seen, later files overriding keys.
struct IniFile {
  std::vector<std::pair<std::string, Section>> sections;
  Section& section(std::string const& name) {
    for (auto& entry : sections)
      if (entry.first == name) return entry.second;
    sections.emplace_back(name, Section{});
    return sections.back().second;
  }
};

struct ReadState {
  IniFile* ini;
  std::string last_section;
  std::string last_key;
  std::vector<std::string> long_values;
};

// inih reads lines of less than 200 bytes and ends a value at " ;", where
// ClusterShell reads both whole. Such a value is given to inih as a short
// stand-in, "\x01" and a number, which on_entry turns back into the value;
// a longer comment is dropped.
constexpr std::size_t short_line = 150;

bool set_aside(std::string_view line, std::string_view content) {
  if (content.empty() || content.front() == '[') return false;
  bool const comment = content.front() == '#' || content.front() == ';';
  return line.size() >= short_line || (!comment && content.find(';') != std::string_view::npos);
}

std::string with_values_set_aside(std::string_view text, std::vector<std::string>& values) {
  std::string result;
  result.reserve(text.size());
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = text.find('\n', begin);
    end = end == std::string_view::npos ? text.size() : end;
    std::string_view const line = text.substr(begin, end - begin);
    begin = end + 1;
    std::string_view const content = internal::trim_blanks(line);
    if (!set_aside(line, content)) {
      result.append(line.data(), line.size()).push_back('\n');
      continue;
    }
    if (content.front() == '#' || content.front() == ';') {
      result += "#\n";
      continue;
    }
    std::size_t const cut = internal::is_blank(line.front()) ? line.size() - content.size()
                                                             : line.find_first_of(":=") + 1;
    std::size_t const keep = cut == 0 ? line.size() : cut;  // no separator: inih says so
    values.emplace_back(internal::trim_blanks(line.substr(keep)));
    result.append(line.data(), keep);
    result += " \x01" + std::to_string(values.size() - 1) + "\n";
  }
  return result;
}

int on_entry(void* user, char const* section, char const* name, char const* value) {
  auto& state = *static_cast<ReadState*>(user);
  std::string key = name;
  std::transform(key.begin(), key.end(), key.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  Section& entries = state.ini->section(section);
  if (value[0] == '\x01') {
    std::size_t const index = std::strtoul(value + 1, nullptr, 10);
    if (index < state.long_values.size()) value = state.long_values[index].c_str();
  }
  if (state.last_section == section && state.last_key == key && entries.count(key) != 0) {
    entries[key] += "\n";  // a continuation line
    entries[key] += value;
  } else {
    entries[key] = value;
  }
  state.last_section = section;
  state.last_key = key;
  return 1;
}

bool read_ini(std::string const& path, IniFile& ini, std::string* error) {
  auto const text = read_text_file(path, error);
  if (!text) return false;
  ReadState state{&ini, {}, {}, {}};
  std::string const shortened = with_values_set_aside(*text, state.long_values);
  int const line = ini_parse_string(shortened.c_str(), &on_entry, &state);
  if (line != 0) {
    fail(error, path + ":" + std::to_string(line) + ": malformed line");
    return false;
  }
  return true;
}

bool exists(std::string const& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

// The absolute directory of `path`: commands run in it and read $CFGDIR.
std::string directory_of(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  std::string const directory =
      slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
  std::unique_ptr<char, void (*)(void*)> const absolute(::realpath(directory.c_str(), nullptr),
                                                        &std::free);
  return absolute ? std::string(absolute.get()) : directory;
}

}  // namespace

std::vector<std::string> config_search_order() {
  std::vector<std::string> found;
  auto consider = [&found](std::string const& path) {
    if (exists(path)) found.push_back(path);
  };
  consider("/etc/clustershell/groups.conf");
  char const* xdg = std::getenv("XDG_CONFIG_HOME");
  char const* home = std::getenv("HOME");
  if (xdg != nullptr && *xdg != '\0')
    consider(std::string(xdg) + "/clustershell/groups.conf");
  else if (home != nullptr && *home != '\0')
    consider(std::string(home) + "/.config/clustershell/groups.conf");
  char const* cfgdir = std::getenv("CLUSTERSHELL_CFGDIR");
  if (cfgdir != nullptr && *cfgdir != '\0') consider(std::string(cfgdir) + "/groups.conf");
  return found;
}

namespace {

// The files matching `pattern` in each white-space separated directory of
// `directories`, $CFGDIR written as `cfgdir`, sorted per directory.
std::vector<std::string> files_in(std::string const& directories, std::string const& cfgdir,
                                  char const* pattern) {
  std::vector<std::string> files;
  std::istringstream words(directories);
  for (std::string directory; words >> directory;) {
    for (std::string const form : {"${CFGDIR}", "$CFGDIR"})
      for (std::size_t at; (at = directory.find(form)) != std::string::npos;)
        directory.replace(at, form.size(), cfgdir);
    glob_t found{};
    if (::glob((directory + "/" + pattern).c_str(), 0, nullptr, &found) == 0)
      for (std::size_t i = 0; i < found.gl_pathc; ++i)
        files.emplace_back(found.gl_pathv[i]);
    ::globfree(&found);
  }
  return files;
}

std::string value_or(Section const& section, char const* key, std::string fallback) {
  auto const found = section.find(key);
  return found == section.end() ? fallback : found->second;
}

// The upcall sources of every section but [Main]; "[a,b]" defines a and b.
void add_upcall_sources(IniFile const& ini, std::string const& cfgdir, SourceSet& result) {
  for (auto const& [title, section] : ini.sections) {
    if (title == "Main") continue;
    UpcallCommands commands;
    commands.map = value_or(section, "map", "");
    commands.all = value_or(section, "all", "");
    commands.list = value_or(section, "list", "");
    commands.reverse = value_or(section, "reverse", "");
    commands.cache_time = std::strtol(value_or(section, "cache_time", "3600").c_str(), nullptr, 10);
    commands.cfgdir = cfgdir;
    std::istringstream names(title);
    for (std::string name; std::getline(names, name, ',');) {
      std::string const trimmed(internal::trim_blanks(name));
      if (!trimmed.empty()) result.sources.push_back(make_upcall_source(trimmed, commands));
    }
  }
}

}  // namespace

std::optional<SourceSet> read_config_sources(std::vector<std::string> const& files,
                                             std::string* error) {
  SourceSet result;
  if (files.empty()) return result;
  IniFile ini;
  for (auto const& file : files)
    if (!read_ini(file, ini, error)) return std::nullopt;
  std::string const cfgdir = directory_of(files.back());
  Section const main = ini.section("Main");
  // Sources come as ClusterShell lists them: confdir sections, autodir
  // files, then the sections of groups.conf itself.
  // The commands of a confdir file see its own directory as $CFGDIR.
  std::string const default_dirs = "/etc/clustershell/groups.conf.d $CFGDIR/groups.conf.d";
  for (auto const& file : files_in(value_or(main, "confdir", default_dirs), cfgdir, "*.conf")) {
    IniFile extra;
    if (!read_ini(file, extra, error)) return std::nullopt;
    add_upcall_sources(extra, directory_of(file), result);
  }
  std::string const yaml_dirs = "/etc/clustershell/groups.d $CFGDIR/groups.d";
  for (auto const& file : files_in(value_or(main, "autodir", yaml_dirs), cfgdir, "*.yaml")) {
    auto more = read_yaml_sources(file, error);
    if (!more) return std::nullopt;
    for (auto& source : more->sources)
      result.sources.push_back(std::move(source));
  }
  add_upcall_sources(ini, cfgdir, result);
  if (!result.sources.empty())
    result.default_source = value_or(main, "default", result.sources.front()->name());
  return result;
}

}  // namespace group_internal
}  // namespace krel
