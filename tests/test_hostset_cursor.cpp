// The name cursor (hostset_cursor.cpp): HostSet::const_iterator walks the
// names in iteration order, over any mix of patterns, widths and runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
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

std::vector<std::string> walked(HostSet const& set) {
  return std::vector<std::string>(set.begin(), set.end());
}

TEST(HostSetCursor, WalksNamesInIterationOrder) {
  struct Row {
    std::string notation;
    std::vector<std::string> names;
  };
  std::vector<Row> const rows = {
      {"", {}},
      {"login", {"login"}},
      {"n[9-11]", {"n9", "n10", "n11"}},  // bumped in place, then a wider run
      {"n[8-10,010-011]", {"n8", "n9", "n10", "n010", "n011"}},
      {"n[098-101]", {"n098", "n099", "n100", "n101"}},  // a carry inside the width
      {"r[1-2]c[1,3]", {"r1c1", "r1c3", "r2c1", "r2c3"}},
      // Children that differ by run: r1 leads to c1 only, r2 to c1-c2.
      {"r1c1,r2c[1-2]", {"r1c1", "r2c1", "r2c2"}},
      {"a,b1,n[1-2]-ib[0-1]",
       {"a", "b1", "n1-ib0", "n1-ib1", "n2-ib0", "n2-ib1"}},  // no numbers, then texts after
      {"x[9-10]y[9-10]z", {"x9y9z", "x9y10z", "x10y9z", "x10y10z"}},
      {"a%1,a1", {"a%1", "a1"}},  // '%' of a text written as itself
      {"n[18446744073709551614-18446744073709551615]",
       {"n18446744073709551614", "n18446744073709551615"}},  // no overflow at the top
  };
  for (Row const& row : rows) {
    HostSet const set = read_hosts(row.notation);
    EXPECT_EQ(walked(set), row.names) << row.notation;
    EXPECT_EQ(set.expand(), row.names) << row.notation;
  }
}

TEST(HostSetCursor, EmptySetBeginsAtItsEnd) {
  HostSet const empty;
  EXPECT_TRUE(empty.begin() == empty.end());
  EXPECT_TRUE(HostSet::const_iterator() == empty.begin());
  HostSet const one = read_hosts("n1");
  EXPECT_TRUE(one.begin() != one.end());
  EXPECT_TRUE(std::next(one.begin()) == one.end());
}

TEST(HostSetCursor, CopiesWalkOnTheirOwn) {
  HostSet const set = read_hosts("a%b[1-3],n[1-2]");
  HostSet::const_iterator first = set.begin();
  HostSet::const_iterator second = first;
  EXPECT_TRUE(first == second);
  EXPECT_EQ(*first++, "a%b1");
  EXPECT_EQ(*first, "a%b2");
  EXPECT_EQ(*second, "a%b1");  // the copy stayed
  EXPECT_TRUE(first != second);
  second = first;
  ++first;
  ++first;
  EXPECT_EQ(first->size(), 2u);
  EXPECT_EQ(*first, "n1");
  EXPECT_EQ(*second, "a%b2");  // its texts were read again for the copy
  EXPECT_EQ(std::distance(set.begin(), set.end()), 5);
}

TEST(HostSetCursor, MatchesTheModelAndNamesByPlace) {
  std::mt19937 random(2020);
  for (int round = 0; round < 40; ++round) {
    krel_model::RandomHostSet const x = krel_model::random_host_set(random, 60, 30);
    HostSet const set = read_hosts(x.notation);
    std::vector<std::string> const names = walked(set);
    ASSERT_EQ(names.size(), set.size()) << x.notation;
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), x.names) << x.notation;
    for (std::size_t i = 0; i < names.size(); ++i)
      EXPECT_EQ(set.at(i), names[i]) << x.notation << " at " << i;
  }
}

TEST(HostSetCursor, WalksManySingleNamePatterns) {
  // 100,000 patterns of one name each: one pass, whatever their count.
  std::string notation;
  for (int i = 0; i < 100000; ++i)
    notation +=
        "h" + std::to_string(i) + "x" + std::to_string(i % 7) + "y" + std::to_string(i) + ",";
  HostSet const set = read_hosts(notation);
  std::uint64_t count = 0;
  std::string last;
  for (std::string const& name : set) {
    ++count;
    last = name;
  }
  EXPECT_EQ(count, 100000u);
  EXPECT_EQ(last, *set.at(99999));
}

}  // namespace
