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

#include "krel/hostset.hpp"

namespace krel {
void PrintTo(HostSet const& set, std::ostream* out) {
  *out << '"' << set.fold() << '"';
}
}  // namespace krel

namespace {

using krel::HostSet;
using Model = std::set<std::string>;

HostSet read(std::string const& notation) {
  std::string error;
  std::optional<HostSet> set = HostSet::parse(notation, &error);
  EXPECT_TRUE(set.has_value()) << notation << ": " << error;
  return set.value_or(HostSet());
}

struct AlgebraRow {
  std::string a;
  std::string b;
  std::string both;      // a | b
  std::string common;    // a & b
  std::string only_a;    // a - b
  std::string only_one;  // a ^ b
};

TEST(HostSetAlgebra, OperationsByTable) {
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
    HostSet const a = read(row.a);
    HostSet const b = read(row.b);
    EXPECT_EQ((a | b).fold(), row.both) << row.a << " | " << row.b;
    EXPECT_EQ((a & b).fold(), row.common) << row.a << " & " << row.b;
    EXPECT_EQ((a - b).fold(), row.only_a) << row.a << " - " << row.b;
    EXPECT_EQ((a ^ b).fold(), row.only_one) << row.a << " ^ " << row.b;
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

TEST(HostSetAlgebra, EqualSetsAreEqualWhateverTheirHistory) {
  EXPECT_EQ(read("n[1-10]") - read("n5"), read("n[1-4,6-10]"));
  EXPECT_EQ(read("r[1-2]c1") | read("r[1-2]c2"), read("r[1-2]c[1-2]"));
  EXPECT_EQ(read("n[1-3]") ^ read("n[1-3]"), HostSet());
  EXPECT_NE(read("n7"), read("n07"));
  EXPECT_NE(read("a"), read("b"));
  EXPECT_EQ(read(""), HostSet());
}

Model model_of(HostSet const& set);

// Random sets of names over a few patterns, widths and values, as notation
// (in random order, with duplicates) and as a model.
struct RandomSet {
  std::string notation;
  Model names;
};

RandomSet random_set(std::mt19937& random) {
  static std::vector<std::string> const stems = {"n", "cn", "r{}c", "x{}c{}s", "login"};
  RandomSet result;
  int const count = std::uniform_int_distribution<int>(0, 40)(random);
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) {
    std::string const& stem = stems[std::uniform_int_distribution<std::size_t>(0, 4)(random)];
    std::string name;
    auto number = [&random] {
      int const value = std::uniform_int_distribution<int>(0, 12)(random);
      int const zeros = std::uniform_int_distribution<int>(0, 3)(random) == 0 ? 1 : 0;
      return std::string(static_cast<std::size_t>(zeros), '0') + std::to_string(value);
    };
    for (char c : stem) {
      if (c == '{') {
        name += number();
      } else if (c != '}') {
        name += c;
      }
    }
    if (stem != "login") name += number();
    names.push_back(name);
  }
  std::shuffle(names.begin(), names.end(), random);
  for (std::string const& name : names) {
    result.notation += name + (random() % 2 ? "," : "\n");
    result.names.insert(name);
  }
  return result;
}

Model model_of(HostSet const& set) {
  Model names;
  set.for_each([&names](std::string_view name) { names.emplace(name); });
  return names;
}

TEST(HostSetAlgebra, FoldsReadBackForEveryAxisChoiceAndInputOrder) {
  std::mt19937 random(77);
  std::vector<krel::HostSetFoldOptions> choices(6);
  choices[1].axes = {-1};
  choices[2].axes = {1};
  choices[3].axes = {2, -1};
  choices[4].axes = {1, 3};
  choices[5].autostep = 2;
  for (int round = 0; round < 150; ++round) {
    RandomSet const x = random_set(random);
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
      HostSet const set = read(text);
      ASSERT_EQ(model_of(set), model) << text;
      if (order == 0) reference = set.fold();
      EXPECT_EQ(set.fold(), reference) << "the same set, another order";
      for (krel::HostSetFoldOptions const& options : choices)
        EXPECT_EQ(read(set.fold(options)), set) << set.fold(options);
    }
  }
}

TEST(HostSetAlgebra, AgreesWithASetOfStrings) {
  std::mt19937 random(2026);
  for (int round = 0; round < 400; ++round) {
    RandomSet const x = random_set(random);
    RandomSet const y = random_set(random);
    HostSet const a = read(x.notation);
    HostSet const b = read(y.notation);
    Model both;
    Model common;
    Model only_a;
    Model only_one;
    std::set_union(x.names.begin(), x.names.end(), y.names.begin(), y.names.end(),
                   std::inserter(both, both.end()));
    std::set_intersection(x.names.begin(), x.names.end(), y.names.begin(), y.names.end(),
                          std::inserter(common, common.end()));
    std::set_difference(x.names.begin(), x.names.end(), y.names.begin(), y.names.end(),
                        std::inserter(only_a, only_a.end()));
    std::set_symmetric_difference(x.names.begin(), x.names.end(), y.names.begin(), y.names.end(),
                                  std::inserter(only_one, only_one.end()));
    ASSERT_EQ(model_of(a), x.names) << x.notation;
    EXPECT_EQ(a.size(), x.names.size());
    EXPECT_EQ(model_of(a | b), both) << x.notation << " | " << y.notation;
    EXPECT_EQ(model_of(a & b), common) << x.notation << " & " << y.notation;
    EXPECT_EQ(model_of(a - b), only_a) << x.notation << " - " << y.notation;
    EXPECT_EQ(model_of(a ^ b), only_one) << x.notation << " ^ " << y.notation;
    EXPECT_EQ((a | b).size(), both.size());
    EXPECT_EQ(a.is_subset_of(b),
              std::includes(y.names.begin(), y.names.end(), x.names.begin(), x.names.end()));
    for (std::string const& name : both)
      EXPECT_EQ(a.contains(name), x.names.count(name) == 1) << name;
    EXPECT_EQ(read(a.fold()), a) << a.fold();
    EXPECT_EQ(read((a ^ b).fold()), a ^ b);
  }
}

}  // namespace
