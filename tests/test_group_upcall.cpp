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

std::string resolve(GroupResolver const& resolver, std::string const& expression) {
  std::string error;
  auto const nodes = resolver.parse(expression, &error);
  return nodes ? nodes->fold() : "error: " + error;
}

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
    EXPECT_EQ(resolve(*resolver, row.expression), row.expected) << row.expression;
  EXPECT_FALSE(exists(marker));
}

TEST(GroupUpcall, VariablesReachTheCommandThroughTheEnvironmentToo) {
  TempFolder folder;
  write_file(folder / "groups.conf",
             "[Main]\ndefault: s\n[s]\nmap: sh -c 'echo \"$0-$GROUP-$SOURCE\"' x\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(resolve(*resolver, "@g1"), "x-g1-s");
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
    EXPECT_EQ(resolve(*resolver, "@g"), "n1");
    EXPECT_EQ(resolve(*resolver, "@fresh:g"), "n2");
  }
  EXPECT_EQ(contents(log), "k\nf\nf\nf\n");
}

TEST(GroupUpcall, CommandsRunInTheConfigurationDirectory) {
  TempFolder folder;
  write_file(folder / "groups.conf", "[Main]\ndefault: s\n[s]\nmap: cat ./$GROUP.txt\n");
  write_file(folder / "g.txt", "a1\na2\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(resolve(*resolver, "@g"), "a[1-2]");
}

}  // namespace
