// ClusterShell's groups.conf: [Main], confdir sections, autodir YAML files,
// sections naming several sources, and the search order.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "krel/hostgroups.hpp"
#include "test_support.hpp"

namespace {

using krel::GroupResolver;
using krel_test::TempFolder;
using krel_test::write_file;

std::string const fixtures = KREL_GROUP_FIXTURES;

std::string resolve(GroupResolver const& resolver, std::string const& expression) {
  std::string error;
  auto const nodes = resolver.parse(expression, &error);
  return nodes ? nodes->fold() : "error: " + error;
}

TEST(GroupConfig, SourcesListedAsClusterShellListsThem) {
  auto const resolver = GroupResolver::from_config(fixtures + "/site.conf");
  ASSERT_TRUE(resolver);
  // The default, confdir sections, autodir files, then groups.conf's own.
  EXPECT_EQ(resolver->sources(),
            (std::vector<std::string>{"local", "failing", "roles", "east", "west"}));
  EXPECT_EQ(*resolver->groups(),
            (std::vector<std::string>{"all", "compute", "gpu", "login", "nested"}));
}

TEST(GroupConfig, ExpressionsOverEverySource) {
  auto const resolver = GroupResolver::from_config(fixtures + "/site.conf");
  ASSERT_TRUE(resolver);
  struct Row {
    char const* expression;
    char const* expected;
    char const* reason;
  } const rows[] = {
      {"@compute", "node[1-20]", "map over a flat file"},
      {"@nested", "login1,node[1-2]", "a reference in a command's output"},
      {"@*", "login[1-2],node[1-20]", "the all command"},
      {"@east:a", "east-a[1-2]", "$SOURCE and $GROUP"},
      {"@west:b", "west-b[1-2]", "[east,west] defines both"},
      {"@east:*", "east-a[1-2],east-b[1-2]", "no all command: the union of the listed groups"},
      {"@roles:storage", "io[1-4],login[1-2]", "an autodir file naming another source"},
      {"@@local", "all,compute,gpu,login,nested", "the list command"},
      {"@local:nosuch", "", "a map printing nothing"},
      {"@failing:x", "error: command \"echo \"cannot map x\" >&2; exit 3\" failed with status 3",
       ""},
      {"@@failing", "error: command \"exit 4\" failed with status 4", ""},
  };
  for (auto const& row : rows)
    EXPECT_EQ(resolve(*resolver, row.expression), row.expected)
        << row.expression << " " << row.reason;
}

TEST(GroupConfig, BadFilesNameFileAndLine) {
  TempFolder folder;
  write_file(folder / "bad.conf", "[Main]\ndefault: x\nno separator here\n");
  write_file(folder / "nodefault.conf", "[Main]\ndefault: x\n[y]\nmap: echo\n");
  struct Row {
    std::string path;
    std::string expected;
  } const rows[] = {
      {folder / "bad.conf", folder / "bad.conf:3: malformed line"},
      {folder / "missing.conf", folder / "missing.conf: cannot open"},
      {folder / "nodefault.conf", "default group source \"x\" is not defined"},
  };
  for (auto const& row : rows) {
    std::string error;
    EXPECT_FALSE(GroupResolver::from_config(row.path, &error)) << row.path;
    EXPECT_EQ(error, row.expected);
  }
}

TEST(GroupConfig, SearchOrderReadOnlyWhenAGroupIsNamed) {
  TempFolder folder;
  write_file(folder / "groups.conf", "[Main]\ndefault: here\n[here]\nmap: echo h$GROUP\n");
  TempFolder empty_home;
  ::setenv("CLUSTERSHELL_CFGDIR", folder.path().c_str(), 1);
  ::setenv("XDG_CONFIG_HOME", empty_home.path().c_str(), 1);
  auto const resolver = GroupResolver::from_config();
  ASSERT_TRUE(resolver);
  write_file(folder / "groups.conf", "[Main]\ndefault: later\n[later]\nmap: echo l$GROUP\n");
  EXPECT_EQ(resolve(*resolver, "n1"), "n1");
  EXPECT_EQ(resolve(*resolver, "@g"), "lg");  // read at the first group, not before
  ::unsetenv("CLUSTERSHELL_CFGDIR");
  ::unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
