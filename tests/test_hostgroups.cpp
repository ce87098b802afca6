// GroupResolver's own members: the factories, reading in a chosen source,
// plain host lists that never read the group files, and the source list.
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

TEST(HostGroups, ParseInAChosenSource) {
  TempFolder folder;
  auto const resolver = krel_test::yaml_groups(folder, "a:\n  g: n1\nb:\n  g: n2\n  all: n[7-9]\n");
  struct Row {
    char const* expression;
    char const* source;
    char const* expected;
  } const rows[] = {
      {"@g", "", "n1"},
      {"@g", "b", "n2"},
      {"@*", "b", "n[7-9]"},
      {"@a:g,@g", "b", "n[1-2]"},
      {"@@b", "", "all,g"},
      {"n[1-3]!n2", "nosrc", "n[1,3]"},  // no reference: no source looked at
      {"@g", "nosrc", "error: unknown group source \"nosrc\""},
  };
  for (auto const& row : rows) {
    EXPECT_EQ(krel_test::group_fold(resolver, row.expression, row.source), row.expected)
        << row.expression << " in " << row.source;
  }
}

TEST(HostGroups, PlainHostListsNeverReadTheFiles) {
  TempFolder folder;
  write_file(folder / "groups.conf", "[Main]\nthis line is not valid\n");
  TempFolder empty_home;
  ::setenv("CLUSTERSHELL_CFGDIR", folder.path().c_str(), 1);
  ::setenv("XDG_CONFIG_HOME", empty_home.path().c_str(), 1);
  auto const resolver = GroupResolver::from_config();
  ::unsetenv("CLUSTERSHELL_CFGDIR");
  ::unsetenv("XDG_CONFIG_HOME");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(krel_test::group_fold(*resolver, "n[1-2],n3"), "n[1-3]");
  EXPECT_EQ(krel_test::group_fold(*resolver, "@g"),
            "error: " + folder.path() + "/groups.conf:2: malformed line");
  EXPECT_EQ(resolver->sources(), std::vector<std::string>{});
}

TEST(HostGroups, NoSourceAtAll) {
  TempFolder folder;
  auto const resolver = krel_test::yaml_groups(folder, "");
  EXPECT_EQ(resolver.sources(), std::vector<std::string>{});
  EXPECT_EQ(resolver.default_source(), "");
  std::string error;
  EXPECT_FALSE(resolver.parse("@g", &error));
  EXPECT_EQ(error, "no group source is defined");
}

}  // namespace
