// The HostSet value type (hostset.cpp): membership, copies, and const
// members shared between threads.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "krel/hostset.hpp"
#include "test_support.hpp"

namespace {

using krel::HostSet;
using krel_test::read_hosts;

TEST(HostSet, ContainsOnlyNamesOfTheSameWidth) {
  struct Row {
    std::string notation;
    std::string name;
    bool contained;
  };
  std::vector<Row> const rows = {
      {"node[1-10]", "node7", true},
      {"node[1-10]", "node07", false},
      {"node[1-10]", "node11", false},
      {"node[1-10]", "node", false},
      {"r[1-2]c[1-2]", "r2c1", true},
      {"r[1-2]c[1-2]", "r2c3", false},
      {"r[1-2]c[1-2]", "r2", false},
      {"login", "login", true},
      {"", "a", false},
      {"x99999999999999999999999y", "x99999999999999999999999y", true},
      {"n[0-18446744073709551614]", "n18446744073709551614", true},
      {"n[0-18446744073709551614]", "n18446744073709551615", false},
  };
  for (Row const& row : rows)
    EXPECT_EQ(read_hosts(row.notation).contains(row.name), row.contained)
        << row.notation << " contains " << row.name;
}

TEST(HostSet, CopiesAreIndependentValues) {
  HostSet a = read_hosts("n[1-5]");
  HostSet const b = a;
  a -= read_hosts("n3");
  EXPECT_EQ(a.fold(), "n[1-2,4-5]");
  EXPECT_EQ(b.fold(), "n[1-5]");
  HostSet c = std::move(a);
  EXPECT_EQ(c.fold(), "n[1-2,4-5]");
  HostSet const empty;
  EXPECT_TRUE(empty.empty());
  EXPECT_EQ(empty.size(), 0u);
  EXPECT_EQ(empty.fold(), "");
  EXPECT_EQ(empty.expand(), std::vector<std::string>{});
}

TEST(HostSet, ConstMembersMayRunOnSeveralThreads) {
  HostSet const set = read_hosts("x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3]");
  std::vector<std::string> folded(4);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < folded.size(); ++t) {
    threads.emplace_back([&set, &folded, t] {
      HostSet copy = set;
      copy -= set.slice(0, 1);
      folded[t] = set.fold() + " " + std::to_string(copy.size()) + " " + *set.at(5);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (std::string const& text : folded)
    EXPECT_EQ(text, "x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3] 32767 x1000c0s0b1n1");
}

}  // namespace
