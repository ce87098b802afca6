// Upcall sources: names never reach the shell unquoted, failing commands are
// named, and cache_time decides how long a command's answer is kept.
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "krel/hostgroups.hpp"
#include "test_support.hpp"

namespace {

using krel::GroupResolver;
using krel_test::TempFolder;
using krel_test::write_file;

std::string contents(std::string const& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

bool exists(std::string const& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}

TEST(GroupUpcall, NamesOutsideTheAlphabetNeverReachTheShell) {
  TempFolder folder;
  write_file(folder / "groups.conf", "[Main]\ndefault: s\n[s]\nmap: echo n-$GROUP\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  std::string const marker = folder / "ran";
  struct Row {
    std::string expression;
    std::string expected;
  } const rows[] = {
      {"@$(touch${IFS}" + marker + ")", "error: group name \"$(touch${IFS}" + marker +
                                            ")\" holds characters a group name cannot hold"},
      {"@`touch${IFS}" + marker + "`", "error: group name \"`touch${IFS}" + marker +
                                           "`\" holds characters a group name cannot hold"},
      {"@a;touch${IFS}" + marker, "error: group name \"a;touch${IFS}" + marker +
                                      "\" holds characters a group name cannot hold"},
      {"@-n", "error: group name \"-n\" holds characters a group name cannot hold"},
      {"@rack=a.b_c+d/e%f", "n-rack=a.b_c+d/e%f"},
  };
  for (auto const& row : rows)
    EXPECT_EQ(krel_test::group_fold(*resolver, row.expression), row.expected) << row.expression;
  EXPECT_FALSE(exists(marker));
}

TEST(GroupUpcall, VariablesReachTheCommandThroughTheEnvironmentToo) {
  TempFolder folder;
  write_file(folder / "groups.conf",
             "[Main]\ndefault: s\n[s]\nmap: sh -c 'echo \"$0-$GROUP-$SOURCE\"' x\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(krel_test::group_fold(*resolver, "@g1"), "x-g1-s");
}

TEST(GroupUpcall, CacheTimeDecidesWhenCommandsRunAgain) {
  TempFolder folder;
  std::string const log = folder / "runs";
  write_file(folder / "groups.conf", "[Main]\ndefault: kept\n[kept]\nmap: echo >>" + log +
                                         " k; echo n1\n[fresh]\nmap: echo >>" + log +
                                         " f; echo n2\ncache_time: 0\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(krel_test::group_fold(*resolver, "@g"), "n1");
    EXPECT_EQ(krel_test::group_fold(*resolver, "@fresh:g"), "n2");
  }
  EXPECT_EQ(contents(log), "k\nf\nf\nf\n");
}

TEST(GroupUpcall, CommandsRunInTheConfigurationDirectory) {
  TempFolder folder;
  write_file(folder / "groups.conf", "[Main]\ndefault: s\n[s]\nmap: cat ./$GROUP.txt\n");
  write_file(folder / "g.txt", "a1\na2\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(krel_test::group_fold(*resolver, "@g"), "a[1-2]");
}

}  // namespace

namespace {

TEST(GroupUpcall, ReverseNamesTheGroupsOfSourcesThatCannotList) {
  TempFolder folder;
  write_file(folder / "groups.conf",
             "[Main]\ndefault: r\n[r]\n"
             "map: case $GROUP in a) echo n[1-2];; b) echo n[2-3];; esac\n"
             "reverse: case $NODE in n1) echo a;; n2) echo a b;; n3) echo b;; esac\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  struct Row {
    char const* nodes;
    char const* expected;
  } const rows[] = {
      {"n1", "a n[1-2]"},
      {"n[2-3]", "a n[1-2]; b n[2-3]"},
      {"n9", ""},
  };
  for (auto const& row : rows) {
    auto const entries = resolver->groups_of(*krel::HostSet::parse(row.nodes));
    ASSERT_TRUE(entries) << row.nodes;
    std::string listed;
    for (auto const& entry : *entries)
      listed += (listed.empty() ? "" : "; ") + entry.name + " " + entry.nodes.fold();
    EXPECT_EQ(listed, row.expected) << row.nodes;
  }
  // As nodeset -r: the groups come from the reverse command too.
  EXPECT_EQ(resolver->regroup(*krel::HostSet::parse("n[1-3]")).value_or("error"), "@a,n3");
  std::string error;
  EXPECT_FALSE(resolver->groups("", &error));
  EXPECT_EQ(error, "group source \"r\" cannot list its groups");
  EXPECT_FALSE(resolver->groups_of(*krel::HostSet::parse("x$(y)"), "", &error));
  EXPECT_EQ(error, "node name \"x$(y)\" holds characters a node name cannot hold");
}

}  // namespace
