// Group references: sources, brackets, "@*", "@@src", nesting in a group's
// own source, unknown groups and sources, cycles and the memo.
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "krel/hostgroups.hpp"
#include "test_support.hpp"

namespace {

using krel::GroupResolver;
using krel_test::TempFolder;

char const* const site_yaml =
    "roles:\n"
    "  compute: 'node[1-20]'\n"
    "  gpu: [node1, node2]\n"
    "  login: node[30-31]\n"
    "  nest: '@gpu,@racks:rack3'\n"
    "  empty: ''\n"
    "racks:\n"
    "  rack1: node[1-10]\n"
    "  rack2: node[11-20]\n"
    "  rack3: node[21-25]\n"
    "  both: '@rack[1-2]'\n"
    "  cyc: '@cyc2'\n"
    "  cyc2: '@cyc'\n"
    "  uses_cycle: '@cyc,n1'\n"
    "  all: 'node[1-99]'\n";

class GroupResolve : public ::testing::Test {
 protected:
  void SetUp() override { resolver_ = krel_test::yaml_groups(folder_, site_yaml); }
  // The folded set, or "error: " and the message.
  std::string resolve(std::string const& expression) const {
    return krel_test::group_fold(*resolver_, expression);
  }
  TempFolder folder_;
  std::optional<GroupResolver> resolver_;
};

TEST_F(GroupResolve, ReferencesResolveAsTheyAreWritten) {
  struct Row {
    char const* expression;
    char const* expected;
    char const* reason;
  } const rows[] = {
      {"@gpu", "node[1-2]", "the default source"},
      {"@racks:rack2", "node[11-20]", "a named source"},
      {"@racks:rack[1,3]", "node[1-10,21-25]", "brackets expand to several groups"},
      {"@roles:gpu,@login", "node[1-2,30-31]", ""},
      {"@nest", "node[1-2,21-25]", "a reference in a group's text, another source named"},
      {"@racks:both", "node[1-20]", "references in a group's text stay in its source"},
      {"@*", "node[1-25,30-31]", "no group all: the union of the groups"},
      {"@racks:*", "node[1-99]", "the source's group all"},
      {"@@racks", "all,both,cyc,cyc2,rack[1-3],uses_cycle", "the group names"},
      {"@empty", "", ""},
      {"@nosuch", "", "an unknown group is empty"},
      {"@racks:cyc", "error: group cycle: @racks:cyc -> @racks:cyc2 -> @racks:cyc", ""},
      {"@racks:uses_cycle", "error: group cycle: @racks:cyc -> @racks:cyc2 -> @racks:cyc",
       "a group using a cycle"},
      {"@racks:rack1", "node[1-10]", "a cycle fails only its own groups"},
      {"@nosrc:g", "error: unknown group source \"nosrc\"", ""},
      {"@g[3-1]",
       "error: cannot read group reference \"@g[3-1]\": cannot read \"g[3-1]\": "
       "descending range 3-1",
       ""},
      {"@g[1-1000000]", "error: group reference \"@g[1-1000000]\" names more than 100000 groups",
       ""},
      {"@", "error: cannot read group reference \"@\": no group name", ""},
  };
  for (auto const& row : rows)
    EXPECT_EQ(resolve(row.expression), row.expected) << row.expression << " " << row.reason;
}

TEST_F(GroupResolve, UnknownGroupLogsAWarning) {
  krel_test::LogSettings const warnings(4);
  std::string const logged = krel_test::capture_stderr([&] { resolve("@nosuch"); });
  EXPECT_EQ(logged, "unknown group @nosuch\n");
}

TEST_F(GroupResolve, ListingLeavesOutFailingGroups) {
  auto const names = resolver_->groups("racks");
  ASSERT_TRUE(names);
  EXPECT_EQ(names->size(), 8U);
  auto const entries = resolver_->list("racks");
  ASSERT_TRUE(entries);
  std::vector<std::string> listed;
  for (auto const& entry : *entries)
    listed.push_back(entry.name + " " + entry.nodes.fold());
  EXPECT_EQ(listed,
            (std::vector<std::string>{"all node[1-99]", "both node[1-20]", "rack1 node[1-10]",
                                      "rack2 node[11-20]", "rack3 node[21-25]"}));
}

TEST_F(GroupResolve, GroupsOfKeepsGroupsSharingNodes) {
  auto const entries = resolver_->groups_of(*krel::HostSet::parse("node[2,30]"));
  ASSERT_TRUE(entries);
  std::vector<std::string> listed;
  for (auto const& entry : *entries)
    listed.push_back(entry.name);
  EXPECT_EQ(listed, (std::vector<std::string>{"compute", "gpu", "login", "nest"}));
  std::string error;
  EXPECT_FALSE(resolver_->groups_of(krel::HostSet(), "nosrc", &error));
  EXPECT_EQ(error, "unknown group source \"nosrc\"");
}

TEST_F(GroupResolve, CopiesShareTheMemoAcrossThreads) {
  GroupResolver const copy = *resolver_;
  std::vector<std::string> results(4);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < results.size(); ++i)
    threads.emplace_back([&, i] { results[i] = copy.parse("@nest,@racks:both")->fold(); });
  for (auto& thread : threads)
    thread.join();
  for (auto const& result : results)
    EXPECT_EQ(result, "node[1-25]");
}

}  // namespace

namespace {

TEST(GroupNames, ListedInHostSetOrderAsNodesetListsThem) {
  krel_test::TempFolder folder;
  auto const resolver = krel_test::yaml_groups(
      folder, "s:\n  rack10: n1\n  rack9: n2\n  pdu1a: n3\n  pdu3: n4\n  b: n5\n  a-x: n6\n");
  EXPECT_EQ(*resolver.groups(),
            (std::vector<std::string>{"a-x", "b", "pdu3", "pdu1a", "rack9", "rack10"}));
  auto const entries = resolver.groups_of(*krel::HostSet::parse("n[1-2]"));
  ASSERT_TRUE(entries);
  ASSERT_EQ(entries->size(), 2U);
  EXPECT_EQ((*entries)[0].name, "rack10");  // by name, as nodeset -l NODES lists them
}

}  // namespace
