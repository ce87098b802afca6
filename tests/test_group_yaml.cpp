// groups.d YAML files: sources, groups given as notation or lists, and the
// files refused with the file and line named.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "krel/hostgroups.hpp"
#include "test_support.hpp"

namespace {

using krel::GroupResolver;
using krel_test::TempFolder;
using krel_test::write_file;

std::string read_error(TempFolder const& folder, std::string const& text) {
  std::string const path = folder / "groups.yaml";
  write_file(path, text);
  std::string error;
  auto const resolver = GroupResolver::from_yaml(path, &error);
  return resolver ? std::string("(read)") : error.substr(folder.path().size() + 1);
}

TEST(GroupYaml, ReadsSourcesInFileOrderFirstIsDefault) {
  TempFolder folder;
  auto const resolver =
      krel_test::yaml_groups(folder,
                             "roles:\n  compute: 'node[1-4]'\n  gpu: [node1, node3]\n"
                             "racks:\n  rack1: node[1-2]\n  \"101\": node9\n");
  EXPECT_EQ(resolver.sources(), (std::vector<std::string>{"roles", "racks"}));
  EXPECT_EQ(resolver.default_source(), "roles");
  EXPECT_EQ(*resolver.groups(), (std::vector<std::string>{"compute", "gpu"}));
  EXPECT_EQ(*resolver.groups("racks"), (std::vector<std::string>{"101", "rack1"}));
  auto const entries = resolver.list();
  ASSERT_TRUE(entries);
  ASSERT_EQ(entries->size(), 2U);
  EXPECT_EQ((*entries)[1].name, "gpu");
  EXPECT_EQ((*entries)[1].nodes.fold(), "node[1,3]");
}

TEST(GroupYaml, GroupValuesAsNotationListsNumbersAndNull) {
  TempFolder folder;
  auto const resolver = krel_test::yaml_groups(
      folder, "s:\n  a: n[1-3]\n  b:\n    - n5\n    - 'n[7-8]'\n  c: 12\n  d:\n  e: ~\n  f: []\n");
  struct Row {
    char const* group;
    char const* expected;
  } const rows[] = {
      {"@a", "n[1-3]"}, {"@b", "n[5,7-8]"}, {"@c", "12"},  // a number is a host name
      {"@d", ""},                                          // no value: an empty group
      {"@e", ""},       {"@f", ""},
  };
  for (auto const& row : rows) {
    auto const nodes = resolver.parse(row.group);
    ASSERT_TRUE(nodes) << row.group;
    EXPECT_EQ(nodes->fold(), row.expected) << row.group;
  }
}

TEST(GroupYaml, RefusedFilesNameFileAndLine) {
  TempFolder folder;
  struct Row {
    std::string text;
    std::string expected;
    char const* reason;
  } const rows[] = {
      {"s:\n  a: n1\n  101: n2\n", "groups.yaml:3: group name 101 is not text (quote it)",
       "an integer key"},
      {"s:\n  yes: n2\n", "groups.yaml:2: group name yes is not text (quote it)",
       "a YAML 1.1 boolean"},
      {"s:\n  0x1f: n2\n", "groups.yaml:2: group name 0x1f is not text (quote it)",
       "a hexadecimal integer"},
      {"s:\n  1.5: n2\n", "groups.yaml:2: group name 1.5 is not text (quote it)", "a float"},
      {"s:\n  ~: n2\n", "groups.yaml:2: group name ~ is not text (quote it)", "null"},
      {"s:\n  2001-12-14: n2\n", "groups.yaml:2: group name 2001-12-14 is not text (quote it)",
       "a timestamp"},
      {"s:\n  a: &x n1\n  b: *x\n", "groups.yaml:3: aliases are not supported", ""},
      {"s:\n  a: {b: c}\n", "groups.yaml:2: a group is notation or a list of names", ""},
      {"s:\n  a: [[n1]]\n", "groups.yaml:2: a list of names holds only names", ""},
      {"- a\n- b\n", "groups.yaml:1: the file is a mapping of sources", ""},
      {"s: n1\n", "groups.yaml:1: a source is a mapping of groups", ""},
      {"101:\n  a: n1\n", "groups.yaml:1: group source 101 is not text (quote it)", ""},
      {"s:\n  a: [n1\n", "groups.yaml:3: did not find expected ',' or ']'", "unclosed list"},
      {"s: {a: " + std::string(100000, '[') + std::string(100000, ']') + "}",
       "groups.yaml:1: a list of names holds only names", "deep nesting stops at the first level"},
      {"s:\n  'yes': n2\n  \"101\": n3\n  !!str 7: n4\n", "(read)",
       "quoted and tagged keys are text"},
      {"", "(read)", "an empty file has no source"},
  };
  for (auto const& row : rows)
    EXPECT_EQ(read_error(folder, row.text), row.expected) << row.text << " " << row.reason;
}

TEST(GroupYaml, MissingFileIsAnError) {
  std::string error;
  EXPECT_FALSE(GroupResolver::from_yaml("/nonexistent/g.yaml", &error));
  EXPECT_EQ(error, "/nonexistent/g.yaml: cannot open: No such file or directory");
}

}  // namespace
