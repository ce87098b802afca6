// Set algebra on host sets (hostset_node.cpp): the four operations, subset
// and equality, by table and against a std::set<std::string> model on
// random sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "hostset_model.hpp"
#include "krel/hostset.hpp"
#include "test_support.hpp"

namespace {

using krel::HostSet;
using krel_test::read_hosts;
using krel_test::verified;
using Model = krel_model::HostNames;

struct AlgebraRow {
  std::string a;
  std::string b;
  std::string both;      // a | b
  std::string common;    // a & b
  std::string only_a;    // a - b
  std::string only_one;  // a ^ b
};

TEST(HostSetNode, OperationsByTable) {
  std::vector<AlgebraRow> const rows = {
      {"n[1-5]", "n[4-8]", "n[1-8]", "n[4-5]", "n[1-3]", "n[1-3,6-8]"},
      {"n[1-5]", "", "n[1-5]", "", "n[1-5]", "n[1-5]"},
      {"n[1-3]", "n[01-03]", "n[1-3,01-03]", "", "n[1-3]", "n[1-3,01-03]"},
      {"a b", "b c", "a,b,c", "b", "a", "a,c"},
      {"node[1-1000000000]", "node[5,7]", "node[1-1000000000]", "node[5,7]",
       "node[1-4,6,8-1000000000]", "node[1-4,6,8-1000000000]"},
      {"r[1-2]c[1-2]", "r2c[2-3]", "r1c[1-2],r2c[1-3]", "r2c2", "r1c[1-2],r2c1",
       "r1c[1-2],r2c[1,3]"},
      {"r[1-4]c[1-4]", "r[2-3]c[2-3]", "r[1-4]c[1-4]", "r[2-3]c[2-3]", "r[1,4]c[1-4],r[2-3]c[1,4]",
       "r[1,4]c[1-4],r[2-3]c[1,4]"},
      {"n[0-18446744073709551614]", "n[5-18446744073709551614]", "n[0-18446744073709551614]",
       "n[5-18446744073709551614]", "n[0-4]", "n[0-4]"},
  };
  for (AlgebraRow const& row : rows) {
    HostSet const a = read_hosts(row.a);
    HostSet const b = read_hosts(row.b);
    EXPECT_EQ((a | b).fold(), row.both) << row.a << " | " << row.b;
    EXPECT_EQ((a & b).fold(), row.common) << row.a << " & " << row.b;
    EXPECT_EQ((a - b).fold(), row.only_a) << row.a << " - " << row.b;
    EXPECT_EQ((a ^ b).fold(), row.only_one) << row.a << " ^ " << row.b;
    for (HostSet const& result : {a | b, a & b, a - b, a ^ b})
      EXPECT_TRUE(verified(result)) << row.a << " and " << row.b;
    HostSet compound = a;
    compound |= b;
    EXPECT_EQ(compound, a | b);
    compound = a;
    compound &= b;
    EXPECT_EQ(compound, a & b);
    compound = a;
    compound -= b;
    EXPECT_EQ(compound, a - b);
    compound = a;
    compound ^= b;
    EXPECT_EQ(compound, a ^ b);
    EXPECT_TRUE((a & b).is_subset_of(a));
    EXPECT_TRUE(a.is_subset_of(a | b));
    EXPECT_EQ(a.is_subset_of(b), (a - b).empty());
  }
}

TEST(HostSetNode, AUnionAboveTheLargestCountSaturates) {
  HostSet const low = read_hosts("n[000000000000000000000-009223372036854775807]");
  HostSet const high = read_hosts("n[009223372036854775808-018446744073709551615]");
  EXPECT_EQ(low.size(), 9223372036854775808u);
  HostSet const all = low | high;
  EXPECT_EQ(all.size(), 18446744073709551615u);
  EXPECT_EQ(all.fold(), "n[000000000000000000000-018446744073709551615]");
  EXPECT_EQ(all.at(5), "n000000000000000000005");
  EXPECT_EQ((all - high), low);
  HostSet const square = read_hosts("r[000000000000000000000-004611686018427387903]c[1-2]") |
                         read_hosts("r[004611686018427387904-009223372036854775807]c[1-2]");
  EXPECT_EQ(square.size(), 18446744073709551615u);
  EXPECT_EQ(square.slice(1, 3).fold(), "r000000000000000000000c2,r000000000000000000001c1");
}

TEST(HostSetNode, EqualSetsAreEqualWhateverTheirHistory) {
  EXPECT_EQ(read_hosts("n[1-10]") - read_hosts("n5"), read_hosts("n[1-4,6-10]"));
  EXPECT_EQ(read_hosts("r[1-2]c1") | read_hosts("r[1-2]c2"), read_hosts("r[1-2]c[1-2]"));
  EXPECT_EQ(read_hosts("n[1-3]") ^ read_hosts("n[1-3]"), HostSet());
  EXPECT_NE(read_hosts("n7"), read_hosts("n07"));
  EXPECT_NE(read_hosts("a"), read_hosts("b"));
  EXPECT_EQ(read_hosts(""), HostSet());
}

Model model_of(HostSet const& set) {
  Model names;
  set.for_each([&names](std::string_view name) { names.emplace(name); });
  return names;
}

TEST(HostSetNode, FoldsReadBackForEveryAxisChoiceAndInputOrder) {
  std::mt19937 random(77);
  std::vector<krel::HostSetFoldOptions> choices(6);
  choices[1].axes = {-1};
  choices[2].axes = {1};
  choices[3].axes = {2, -1};
  choices[4].axes = {1, 3};
  choices[5].autostep = 2;
  for (int round = 0; round < 30; ++round) {
    krel_model::RandomHostSet const x = krel_model::random_host_set(random, 40, 12);
    std::vector<std::string> names(x.names.begin(), x.names.end());
    // Sparse values too, far apart: the tuples are sorted, not marked.
    for (int i = 0; i < 10; ++i)
      names.push_back("big" + std::to_string(random()) + "x" + std::to_string(random() % 3));
    Model const model(names.begin(), names.end());
    std::string reference;
    for (int order = 0; order < 3; ++order) {
      std::shuffle(names.begin(), names.end(), random);
      std::string text;
      for (std::string const& name : names)
        text += name + " ";
      HostSet const set = read_hosts(text);
      ASSERT_EQ(model_of(set), model) << text;
      if (order == 0) reference = set.fold();
      EXPECT_EQ(set.fold(), reference) << "the same set, another order";
      for (krel::HostSetFoldOptions const& options : choices)
        EXPECT_EQ(read_hosts(set.fold(options)), set) << set.fold(options);
    }
  }
}

TEST(HostSetNode, AgreesWithASetOfStrings) {
  std::mt19937 random(2026);
  for (int round = 0; round < 60; ++round) {
    krel_model::RandomHostSet const x = krel_model::random_host_set(random, 40, 12);
    krel_model::RandomHostSet const y = krel_model::random_host_set(random, 40, 12);
    HostSet const a = read_hosts(x.notation);
    HostSet const b = read_hosts(y.notation);
    krel_model::HostSetAlgebra const want = krel_model::host_set_algebra(x.names, y.names);
    std::string const both = x.notation + " | " + y.notation;
    ASSERT_EQ(model_of(a), x.names) << x.notation;
    EXPECT_EQ(a.size(), x.names.size());
    EXPECT_EQ(model_of(a | b), want.both) << both;
    EXPECT_EQ(model_of(a & b), want.common) << both;
    EXPECT_EQ(model_of(a - b), want.only_a) << both;
    EXPECT_EQ(model_of(a ^ b), want.only_one) << both;
    for (HostSet const& result : {a | b, a & b, a - b, a ^ b})
      EXPECT_TRUE(verified(result)) << both;
    EXPECT_EQ((a | b).size(), want.both.size());
    EXPECT_EQ(a.is_subset_of(b), want.a_in_b);
    for (std::string const& name : want.both)
      EXPECT_EQ(a.contains(name), x.names.count(name) == 1) << name;
    EXPECT_EQ(read_hosts(a.fold()), a) << a.fold();
    EXPECT_EQ(read_hosts((a ^ b).fold()), a ^ b);
  }
}

}  // namespace
