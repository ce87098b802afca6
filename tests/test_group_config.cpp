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

TEST(GroupConfig, SourcesListedAsClusterShellListsThem) {
  auto const resolver = GroupResolver::from_config(fixtures + "/site.conf");
  ASSERT_TRUE(resolver);
  // The default, confdir sections, autodir files, then groups.conf's own.
  EXPECT_EQ(resolver->sources(),
            (std::vector<std::string>{"local", "failing", "where", "roles", "east", "west"}));
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
      {"@where:g", "conf.d", "$CFGDIR of a confdir file is its own directory"},
      {"@failing:x", "error: command \"echo \"cannot map x\" >&2; exit 3\" failed with status 3",
       ""},
      {"@@failing", "error: command \"exit 4\" failed with status 4", ""},
  };
  for (auto const& row : rows)
    EXPECT_EQ(krel_test::group_fold(*resolver, row.expression), row.expected)
        << row.expression << " " << row.reason;
}

TEST(GroupConfig, BadFilesNameFileAndLine) {
  TempFolder folder;
  write_file(folder / "bad.conf", "[Main]\ndefault: x\nno separator here\n");
  write_file(folder / "nodefault.conf", "[Main]\ndefault: x\n[y]\nmap: echo\n");
  write_file(folder / "long.conf", "[Main]\ndefault: s\n[s]\nmap: echo " + std::string(300, 'x') +
                                       "\n" + std::string(300, 'y') + "\n");
  struct Row {
    std::string path;
    std::string expected;
  } const rows[] = {
      {folder / "bad.conf", folder / "bad.conf:3: malformed line"},
      {folder / "missing.conf", folder / "missing.conf: cannot open: No such file or directory"},
      {folder / "nodefault.conf", "default group source \"x\" is not defined"},
      {folder / "long.conf", folder / "long.conf:5: malformed line"},
  };
  for (auto const& row : rows) {
    std::string error;
    EXPECT_FALSE(GroupResolver::from_config(row.path, &error)) << row.path;
    EXPECT_EQ(error, row.expected);
  }
}

TEST(GroupConfig, LongLinesAndContinuations) {
  TempFolder folder;
  std::string const word(300, 'w');
  write_file(folder / "groups.conf", "[Main]\ndefault: s\n# " + std::string(300, '#') +
                                         "\n[s]\nmap: echo " + word + "$GROUP\n  echo x\n   echo " +
                                         word + "\nlist: echo  a ; echo b\n");
  auto const resolver = GroupResolver::from_config(folder / "groups.conf");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(krel_test::group_fold(*resolver, "@g"), word + "," + word + "g,x");
  EXPECT_EQ(krel_test::group_fold(*resolver, "@@s"), "a,b");  // " ;" is no comment
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
  EXPECT_EQ(krel_test::group_fold(*resolver, "n1"), "n1");
  EXPECT_EQ(krel_test::group_fold(*resolver, "@g"), "lg");  // read at the first group, not before
  ::unsetenv("CLUSTERSHELL_CFGDIR");
  ::unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
