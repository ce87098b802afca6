// Genders files as a group source: each attribute and each attr=value a
// group, "@*" every node of the file.
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

TEST(GroupGenders, AttributesAndValuesAreGroups) {
  auto const resolver = GroupResolver::from_genders(fixtures + "/site.genders");
  ASSERT_TRUE(resolver);
  EXPECT_EQ(resolver->sources(), (std::vector<std::string>{"genders"}));
  EXPECT_EQ(*resolver->groups(), (std::vector<std::string>{"compute", "gpu", "gpu=a100", "login",
                                                           "mgmt", "rack", "rack=a", "rack=b"}));
  // Expected sets as `nodeattr -f site.genders -q ATTR` prints them.
  struct Row {
    char const* expression;
    char const* expected;
  } const rows[] = {
      {"@compute", "node[1-8]"}, {"@rack=a", "mgmt1,node[1-4]"}, {"@rack", "mgmt1,node[1-8]"},
      {"@gpu=a100", "node1"},    {"@*", "mgmt1,node[1-8]"},      {"@genders:login", "node1"},
      {"@rack=c", ""},
  };
  for (auto const& row : rows) {
    std::string error;
    auto const nodes = resolver->parse(row.expression, &error);
    EXPECT_EQ(nodes ? nodes->fold() : error, row.expected) << row.expression;
  }
}

TEST(GroupGenders, BadFilesAreErrors) {
  TempFolder folder;
  write_file(folder / "bad.genders", "node1 a\nnode1 a\n");
  // libgenders reads freed memory for names above 64 bytes: refused first.
  write_file(folder / "long.genders",
             "n1 a\n# " + std::string(80, 'c') + "\nn2," + std::string(65, 'b') + " a\n");
  write_file(folder / "range.genders", "n[1-2] a\n" + std::string(60, 'r') + "[1-99999] a\n");
  write_file(folder / "fits.genders", std::string(63, 'f') + "[1-9] a\n");
  struct Row {
    std::string path;
    std::string expected;
  } const rows[] = {
      {folder / "missing", folder / "missing: error opening genders file"},
      {folder / "bad.genders", folder / "bad.genders: genders file parse error"},
      {folder / "long.genders", folder / "long.genders:3: a node name longer than 64 bytes"},
      {folder / "range.genders", folder / "range.genders:2: a node name longer than 64 bytes"},
  };
  EXPECT_TRUE(GroupResolver::from_genders(folder / "fits.genders"));
  for (auto const& row : rows) {
    std::string error;
    EXPECT_FALSE(GroupResolver::from_genders(row.path, &error));
    EXPECT_EQ(error, row.expected);
  }
}

}  // namespace
