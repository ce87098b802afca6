#include "fuzz_groups_support.hpp"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "fuzz_support.hpp"

namespace krel_fuzz {

using krel::GroupEntry;
using krel::GroupResolver;
using krel::HostSet;

ScratchFolder& ScratchFolder::instance() {
  static ScratchFolder folder;
  return folder;
}

ScratchFolder::ScratchFolder() {
  char const* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/krel-fuzz-groups.XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (mkdtemp(buffer.data()) == nullptr) fail("a scratch folder is made", pattern);
  path_ = buffer.data();
}

ScratchFolder::~ScratchFolder() {
  // Only the names the targets write; the folder itself goes last.
  for (char const* name : {"groups.yaml", "groups.conf", "genders"})
    std::remove((path_ + "/" + name).c_str());
  rmdir(path_.c_str());
}

std::string ScratchFolder::write(std::string const& name, std::string const& content) {
  std::string const file = path_ + "/" + name;
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  out.close();
  if (!out) fail("a scratch file is written", file);
  return file;
}

void expect_one_line(std::string const& error, std::string const& detail) {
  expect(!error.empty(), "a failure has a message", detail);
  expect(error.find('\n') == std::string::npos, "a message is one line",
         detail + "\nmessage " + quoted(error));
}

std::optional<GroupResolver> load_scratch(std::string const& name, std::string const& text,
                                          GroupLoader load, std::string const& detail,
                                          bool names_file) {
  std::string const path = ScratchFolder::instance().write(name, text);
  std::string error;
  std::optional<GroupResolver> groups = load(path, &error);
  if (!groups) {
    expect_one_line(error, detail);
    if (names_file)
      expect(error.find(path) != std::string::npos, "the message names the file",
             detail + "\n" + error);
  }
  return groups;
}

void expect_regroup_round_trip(GroupResolver const& groups, HostSet const& nodes,
                               std::string const& source, std::string const& detail) {
  for (int variant = 0; variant < 3; ++variant) {
    krel::RegroupOptions options;
    options.source = source;
    options.overlap = variant == 1;
    options.prefix = variant != 2 || source.empty();
    std::string error;
    std::optional<std::string> const text = groups.regroup(nodes, options, &error);
    if (!text) {
      expect_one_line(error, detail + "\nregroup of " + quoted(nodes.fold()));
      continue;
    }
    // Without its prefix a group name only reads back in the default source.
    if (!options.prefix && source != groups.default_source()) continue;
    std::optional<HostSet> const again = groups.parse(*text, &error);
    expect(again.has_value(), "a regrouped text reads back",
           detail + "\nregroup " + quoted(*text) + "\n" + error);
    expect(*again == nodes, "a regrouped text reads back as the same set",
           detail + "\nset " + quoted(nodes.fold()) + "\nregroup " + quoted(*text) + "\nreread " +
               quoted(again->fold()));
  }
}

namespace {

// Names of letters, digits and "_-.+" read back as themselves in "@src:g";
// others (brackets, commas, operators) are notation there.
bool plain_name(std::string const& name) {
  if (name.empty()) return false;
  for (char c : name) {
    bool const alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!alnum && c != '_' && c != '-' && c != '.' && c != '+') return false;
  }
  return true;
}

std::optional<HostSet> parsed(GroupResolver const& groups, std::string const& expression,
                              std::string const& detail) {
  std::string error;
  std::optional<HostSet> set = groups.parse(expression, &error);
  if (!set) expect_one_line(error, detail + "\nexpression " + quoted(expression));
  return set;
}

void walk_source(GroupResolver const& groups, std::string const& source, std::size_t max_groups,
                 std::string const& detail) {
  std::string error;
  std::optional<std::vector<std::string>> const names = groups.groups(source, &error);
  if (!names) return expect_one_line(error, detail + "\nsource " + quoted(source));
  bool all_plain = plain_name(source);
  for (std::string const& name : *names)
    all_plain = all_plain && plain_name(name);
  std::optional<HostSet> const names_set = parsed(groups, "@@" + source, detail);
  // Names such as "a b" or "r[1-2]" are notation again in "@@src".
  if (names_set && all_plain) {
    expect(names_set->size() <= names->size(), "@@src holds only the group names", detail);
    for (std::string const& name : *names)
      expect(names_set->contains(name), "@@src holds every group name",
             detail + "\ngroup " + quoted(name));
  }
  if (names->size() > max_groups) return;
  std::optional<std::vector<GroupEntry>> const entries = groups.list(source, &error);
  if (!entries) return expect_one_line(error, detail + "\nlist of " + quoted(source));
  // A group that cannot be resolved (a cycle, a name a command may not
  // see) is left out of the listing, never added to it.
  expect(entries->size() <= names->size(), "the listing holds only known groups", detail);
  for (GroupEntry const& entry : *entries) {
    expect(std::find(names->begin(), names->end(), entry.name) != names->end(),
           "a listed group is a known group", detail + "\ngroup " + quoted(entry.name));
    if (!plain_name(entry.name) || !plain_name(source)) continue;
    std::optional<HostSet> const one = parsed(groups, "@" + source + ":" + entry.name, detail);
    if (one)
      expect(*one == entry.nodes, "a group reads as listed",
             detail + "\ngroup " + quoted(entry.name) + "\nlisted " + quoted(entry.nodes.fold()) +
                 "\nread " + quoted(one->fold()));
  }
  std::optional<HostSet> const every = parsed(groups, "@" + source + ":*", detail);
  if (every && all_plain) expect_regroup_round_trip(groups, *every, source, detail);
}

}  // namespace

void walk_resolver(GroupResolver const& groups, std::string const& detail, std::size_t max_sources,
                   std::size_t max_groups) {
  std::vector<std::string> const sources = groups.sources();
  if (!sources.empty())
    expect(sources.front() == groups.default_source(), "the default source comes first", detail);
  for (std::size_t i = 0; i < sources.size() && i < max_sources; ++i)
    walk_source(groups, sources[i], max_groups, detail);
  parsed(groups, "@*", detail);
}

}  // namespace krel_fuzz
