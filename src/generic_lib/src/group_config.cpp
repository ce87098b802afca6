// ClusterShell's groups.conf: [Main] (default, confdir, autodir) and upcall
// sections, read with inih; *.conf files of confdir hold more sections,
// *.yaml files of autodir more sources. One oddity of the reader: a " ;"
// starts a comment inside a value, so a command cannot hold one.
#include <ini.h>

#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <map>
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
};

int on_entry(void* user, char const* section, char const* name, char const* value) {
  auto& state = *static_cast<ReadState*>(user);
  std::string key = name;
  std::transform(key.begin(), key.end(), key.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  Section& entries = state.ini->section(section);
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
  ReadState state{&ini, {}, {}};
  int const line = ini_parse(path.c_str(), &on_entry, &state);
  if (line == -1) {
    fail(error, path + ": cannot open");
    return false;
  }
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

std::string directory_of(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// The configuration files found by the search order, first to last.
std::vector<std::string> search_order() {
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

std::optional<SourceSet> read_config_sources(std::string_view path, std::string* error) {
  std::vector<std::string> files;
  if (path.empty())
    files = search_order();
  else
    files.emplace_back(path);
  SourceSet result;
  if (files.empty()) return result;
  IniFile ini;
  for (auto const& file : files)
    if (!read_ini(file, ini, error)) return std::nullopt;
  std::string const cfgdir = directory_of(files.back());
  Section const main = ini.section("Main");
  // Sources come as ClusterShell lists them: confdir sections, autodir
  // files, then the sections of groups.conf itself.
  IniFile extra;
  std::string const default_dirs = "/etc/clustershell/groups.conf.d $CFGDIR/groups.conf.d";
  for (auto const& file : files_in(value_or(main, "confdir", default_dirs), cfgdir, "*.conf"))
    if (!read_ini(file, extra, error)) return std::nullopt;
  add_upcall_sources(extra, cfgdir, result);
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
