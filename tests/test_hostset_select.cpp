// Host sets picked by place (hostset_select.cpp, hostset_cursor.cpp): names
// by place, slices, index ranges as text and as numbers, splitting,
// contiguous runs, and the axis lists.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "hostset_model.hpp"
#include "krel/hostset.hpp"
#include "test_support.hpp"

namespace {

using krel::HostSet;
using krel_test::read_hosts;
using krel_test::verified;

std::vector<std::string> folds(std::vector<HostSet> const& sets) {
  std::vector<std::string> texts;
  for (HostSet const& set : sets) {
    EXPECT_TRUE(verified(set));
    texts.push_back(set.fold());
  }
  return texts;
}

TEST(HostSetSelect, NamesByPlace) {
  HostSet const set = read_hosts("n[1-10] m[01-02] r[1-2]c[1-3]");
  struct Row {
    std::uint64_t index;
    std::optional<std::string> name;
  };
  std::vector<Row> const rows = {
      {0, "m01"},   {1, "m02"},   {2, "n1"},    {5, "n4"},          {11, "n10"},
      {12, "r1c1"}, {15, "r2c1"}, {17, "r2c3"}, {18, std::nullopt}, {UINT64_MAX, std::nullopt},
  };
  for (Row const& row : rows)
    EXPECT_EQ(set.at(row.index), row.name) << row.index;
  EXPECT_EQ(read_hosts("n[0-18446744073709551614]").at(18446744073709551613u),
            "n18446744073709551613");
}

TEST(HostSetSelect, SlicesByPlace) {
  struct Row {
    std::string notation;
    std::uint64_t first;
    std::uint64_t last;
    std::string folded;
  };
  std::vector<Row> const rows = {
      {"n[1-10]", 2, 5, "n[3-5]"},
      {"n[1-10]", 0, 100, "n[1-10]"},
      {"n[1-10]", 7, 7, ""},
      {"n[1-10]", 9, 3, ""},
      {"r[1-3]c[1-4]", 2, 9, "r1c[3-4],r2c[1-4],r3c1"},
      {"r[1-3]c[1-4]", 4, 12, "r[2-3]c[1-4]"},
      {"a b n[1-3]", 1, 3, "b,n1"},
      {"node[1-1000000000]", 999999998, UINT64_MAX, "node[999999999-1000000000]"},
  };
  for (Row const& row : rows) {
    HostSet const slice = read_hosts(row.notation).slice(row.first, row.last);
    EXPECT_EQ(slice.fold(), row.folded)
        << row.notation << " [" << row.first << ", " << row.last << ")";
    EXPECT_TRUE(verified(slice)) << row.notation;
  }
}

TEST(HostSetSelect, SelectsIndexRanges) {
  struct Row {
    std::string indexes;
    std::string folded;
  };
  std::vector<Row> const rows = {
      {"0,2-3", "n[1,3-4]"}, {"0-9/2", "n[1,3,5,7,9]"}, {"8-100", "n[9-10]"}, {"50", ""}, {"", ""},
      {"3,1,3", "n[2,4]"},
  };
  HostSet const set = read_hosts("n[1-10]");
  for (Row const& row : rows) {
    std::optional<HostSet> const selected = set.select(row.indexes);
    ASSERT_TRUE(selected.has_value()) << row.indexes;
    EXPECT_EQ(selected->fold(), row.folded) << row.indexes;
    EXPECT_TRUE(verified(*selected)) << row.indexes;
  }
  // Many ranges: picked name by name, the same names.
  HostSet const big = read_hosts("r[1-30]c[1-40] n[1-1000]");
  std::vector<std::string> const names = big.expand();
  std::string every_third;
  std::vector<std::string> picked;
  for (std::size_t i = 0; i < names.size(); i += 3) {
    every_third += std::to_string(i) + ",";
    picked.push_back(names[i]);
  }
  every_third += "0";
  EXPECT_EQ(big.select(every_third)->expand(), picked);
  EXPECT_EQ(big.select("0-2199/3")->expand(), picked);
}

TEST(HostSetSelect, ReadsIndexRangesWithBlanksPaddingAndSteps) {
  struct Row {
    std::string indexes;
    std::string folded;
  };
  std::vector<Row> const rows = {
      {" 1 , 2 ", "n[2-3]"},                     // blanks around items
      {"1 - 3", "n[2-4]"},                       // and around the dash
      {"1-3 / 2", "n[2,4]"},                     // and around the slash
      {"\t1\n", "n2"},                           // any blank
      {"1\f", "n2"},                             // form feed is blank
      {"\n", ""},                                // blank text picks nothing
      {"01-03", "n[2-4]"},                       // padding zeros mean nothing
      {"000000000000000000000000000000", "n1"},  // however many
      {"3-3/2", "n4"},
      {"0-0/5", "n1"},
      {"1-9/3", "n[2,5,8]"},
      {"18446744073709551615", ""},  // the largest index, past the end
      {"0-18446744073709551615", "n[1-10]"},
      {"1-18446744073709551615/18446744073709551615", "n2"},
      {"18446744073709551615-18446744073709551615/2", ""},
      {"0-2097150/2", "n[1,3,5,7,9]"},  // 1048576 stepped indexes: the most
      {"0-1048576/1", "n[1-10]"},       // a step of 1 is one run
  };
  HostSet const set = read_hosts("n[1-10]");
  for (Row const& row : rows) {
    std::string error;
    std::optional<HostSet> const selected = set.select(row.indexes, &error);
    ASSERT_TRUE(selected.has_value()) << row.indexes << ": " << error;
    EXPECT_EQ(selected->fold(), row.folded) << row.indexes;
  }
}

TEST(HostSetSelect, RefusesBadIndexRangesNamingTheItem) {
  struct Row {
    std::string indexes;
    std::string error;
  };
  std::vector<Row> const rows = {
      {"2-1", "cannot read \"2-1\": descending range 2-1"},
      {"9-1/2", "cannot read \"9-1/2\": descending range 9-1/2"},
      {"x", "cannot read \"x\": bad item x"},
      {"[1]", "cannot read \"[1]\": bad item [1]"},
      {"1]", "cannot read \"1]\": bad item 1]"},
      {"1,2]", "cannot read \"1,2]\": bad item 1,2]"},  // the whole text
      {"1,[2", "cannot read \"1,[2\": bad item 1,[2"},
      {"[", "cannot read \"[\": bad item ["},
      {"1,,2", "cannot read \"1,,2\": empty item"},
      {",", "cannot read \",\": empty item"},
      {"1,", "cannot read \"1,\": empty item"},
      {"-1", "cannot read \"-1\": bad item -1"},
      {"-3", "cannot read \"-3\": bad item -3"},
      {"+1", "cannot read \"+1\": bad item +1"},
      {"1-", "cannot read \"1-\": bad item 1-"},
      {"-", "cannot read \"-\": bad item -"},
      {"1--3", "cannot read \"1--3\": bad item 1--3"},
      {"1-2-3", "cannot read \"1-2-3\": bad item 1-2-3"},
      {"1-3-", "cannot read \"1-3-\": bad item 1-3-"},
      {"1/2", "cannot read \"1/2\": bad item 1/2"},  // a step needs a range
      {"/", "cannot read \"/\": bad item /"},
      {"1/", "cannot read \"1/\": bad item 1/"},
      {"1-/2", "cannot read \"1-/2\": bad item 1-/2"},
      {"1-3/", "cannot read \"1-3/\": bad item 1-3/"},
      {"1-3//2", "cannot read \"1-3//2\": bad item 1-3//2"},
      {"1-3/-1", "cannot read \"1-3/-1\": bad item 1-3/-1"},
      {"1-5/x", "cannot read \"1-5/x\": bad item 1-5/x"},
      {"a-b", "cannot read \"a-b\": bad item a-b"},
      {"1.5", "cannot read \"1.5\": bad item 1.5"},
      {"0x1", "cannot read \"0x1\": bad item 0x1"},
      {"n1", "cannot read \"n1\": bad item n1"},
      {"1!2", "cannot read \"1!2\": bad item 1!2"},
      {"@g", "cannot read \"@g\": bad item @g"},
      {"1 2", "cannot read \"1 2\": bad item 1 2"},  // blanks do not separate
      {"1\t2", "cannot read \"1\t2\": bad item 1\t2"},
      {"1\r2", "cannot read \"1\\r2\": bad item 1\\r2"},  // '\r' is not blank
      {"\xc2\xa0"
       "1",
       "cannot read \"\xc2\xa0"
       "1\": bad item \xc2\xa0"
       "1"},
      {"1-5/0", "cannot read \"1-5/0\": step 0 in 1-5/0"},
      {"5-5/0", "cannot read \"5-5/0\": step 0 in 5-5/0"},
      {"2-1/0", "cannot read \"2-1/0\": step 0 in 2-1/0"},  // step before order
      {"18446744073709551616",
       "cannot read \"18446744073709551616\": number too large in 18446744073709551616"},
      {"1-99999999999999999999999",
       "cannot read \"1-99999999999999999999999\": number too large in "
       "1-99999999999999999999999"},
      {"1-3/99999999999999999999999",
       "cannot read \"1-3/99999999999999999999999\": number too large in "
       "1-3/99999999999999999999999"},
      {"00000000000000000000000000000018446744073709551616",
       "cannot read \"00000000000000000000000000000018446744073709551616\": number too large "
       "in 00000000000000000000000000000018446744073709551616"},
      // Stepped indexes are counted over the text, past the end of the set too.
      {"0-3000000/2", "cannot read \"0-3000000/2\": more than 1048576 separate values"},
      {"0-2000000/2,0-2000000/2",
       "cannot read \"0-2000000/2,0-2000000/2\": more than 1048576 separate values"},
      {"0-18446744073709551615/4294967296",
       "cannot read \"0-18446744073709551615/4294967296\": more than 1048576 separate values"},
  };
  HostSet const set = read_hosts("n[1-10]");
  for (Row const& row : rows) {
    std::string error;
    EXPECT_EQ(set.select(row.indexes, &error), std::nullopt) << row.indexes;
    EXPECT_EQ(error, row.error) << row.indexes;
  }
}

TEST(HostSetSelect, SelectsNumericIndexRanges) {
  struct Row {
    std::vector<krel::HostSetIndexRange> ranges;
    std::string folded;
  };
  std::vector<Row> const rows = {
      {{{0, 0, 1}, {2, 9, 3}}, "n[1,3,6,9]"},
      {{{2, 3, 1}, {0, 0, 1}, {2, 2, 1}}, "n[1,3-4]"},  // any order, overlaps once
      {{{8, 100, 1}}, "n[9-10]"},                       // clamped to the set
      {{{1, UINT64_MAX, UINT64_MAX}}, "n2"},            // one stepped index
      {{{0, UINT64_MAX, 1ull << 40}}, "n1"},            // steps past the end cost nothing
      {{{10, UINT64_MAX, 1}}, ""},
      {{}, ""},
  };
  HostSet const set = read_hosts("n[1-10]");
  for (Row const& row : rows) {
    std::optional<HostSet> const selected = set.select(row.ranges);
    ASSERT_TRUE(selected.has_value()) << row.folded;
    EXPECT_EQ(selected->fold(), row.folded);
    EXPECT_TRUE(verified(*selected)) << row.folded;
  }
  struct Bad {
    krel::HostSetIndexRange range;
    std::string error;
  };
  std::vector<Bad> const bad = {
      {{3, 1, 1}, "cannot select index range 3-1/1: descending range"},
      {{1, 5, 0}, "cannot select index range 1-5/0: step 0"},
  };
  for (Bad const& row : bad) {
    std::string error;
    EXPECT_EQ(HostSet().select({row.range}, &error), std::nullopt) << row.error;
    EXPECT_EQ(error, row.error);
  }
  std::string error;
  EXPECT_EQ(read_hosts("n[1-3000000]").select({{0, UINT64_MAX, 2}}, &error), std::nullopt);
  EXPECT_EQ(error, "cannot select index ranges: more than 1048576 separate values");
}

// The names at `indexes` of `set`, by place.
std::vector<std::string> names_at(HostSet const& set, std::vector<std::uint64_t> const& indexes) {
  std::vector<std::string> const all = set.expand();
  std::vector<std::string> picked;
  for (std::uint64_t const index : indexes) {
    if (index < all.size()) picked.push_back(all[index]);
  }
  return picked;
}

TEST(HostSetSelect, SelectsAndSplitsRandomSetsByPlace) {
  std::mt19937 random(4242);
  for (int round = 0; round < 60; ++round) {
    krel_model::RandomHostSet const x = krel_model::random_host_set(random, 200, 20);
    HostSet const set = read_hosts(x.notation);
    std::uint64_t const size = set.size();
    // Random ranges, a few or many (past 64 the old way walked the names).
    std::vector<krel::HostSetIndexRange> ranges;
    std::set<std::uint64_t> chosen;
    int const count = round % 2 == 0 ? 5 : 150;
    for (int r = 0; r < count; ++r) {
      std::uint64_t const first = random() % (size + 3);
      std::uint64_t const last = first + random() % 6;
      std::uint64_t const step = 1 + random() % 3;
      ranges.push_back({first, last, step});
      for (std::uint64_t index = first; index <= last; index += step)
        chosen.insert(index);
    }
    std::optional<HostSet> const selected = set.select(ranges);
    ASSERT_TRUE(selected.has_value()) << x.notation;
    EXPECT_TRUE(verified(*selected)) << x.notation;
    EXPECT_EQ(selected->expand(), names_at(set, {chosen.begin(), chosen.end()})) << x.notation;
    // Parts, few (slices) or many (cut while walking).
    std::uint64_t const parts = round % 2 == 0 ? 3 : 70 + random() % 100;
    std::vector<std::string> rejoined;
    for (HostSet const& part : set.split(parts)) {
      EXPECT_TRUE(verified(part)) << x.notation;
      std::vector<std::string> const names = part.expand();
      rejoined.insert(rejoined.end(), names.begin(), names.end());
    }
    EXPECT_EQ(rejoined, set.expand()) << x.notation << " in " << parts;
  }
}

TEST(HostSetSelect, SplitsIntoNearEqualParts) {
  struct Row {
    std::string notation;
    std::uint64_t parts;
    std::vector<std::string> folded;
  };
  std::vector<Row> const rows = {
      {"n[1-10]", 3, {"n[1-4]", "n[5-7]", "n[8-10]"}},
      {"n[1-5]", 2, {"n[1-3]", "n[4-5]"}},
      {"n[1-2]", 5, {"n1", "n2"}},
      {"n[1-2]", 0, {}},
      {"", 3, {}},
      {"r[1-2]c[1-3]", 2, {"r1c[1-3]", "r2c[1-3]"}},
  };
  for (Row const& row : rows)
    EXPECT_EQ(folds(read_hosts(row.notation).split(row.parts)), row.folded) << row.notation;
  // Many parts: cut name by name, the same parts.
  HostSet const big = read_hosts("r[1-30]c[1-40]");
  std::vector<HostSet> const parts = big.split(500);
  ASSERT_EQ(parts.size(), 500u);
  EXPECT_EQ(parts[0].fold(), "r1c[1-3]");
  EXPECT_EQ(parts[199].fold(), "r15c[38-40]");
  EXPECT_EQ(parts[200].fold(), "r16c[1-2]");
  EXPECT_EQ(parts[499].fold(), "r30c[39-40]");
  HostSet joined;
  for (HostSet const& part : parts)
    joined |= part;
  EXPECT_EQ(joined, big);
}

TEST(HostSetSelect, SplitsIntoContiguousRuns) {
  struct Row {
    std::string notation;
    std::vector<std::string> folded;
  };
  std::vector<Row> const rows = {
      {"n[1-3,5]", {"n[1-3]", "n5"}},
      {"a,b,n[1-2]", {"a", "b", "n[1-2]"}},
      {"r[1-2]c[1-2,4]", {"r[1-2]c[1-2]", "r[1-2]c4"}},
      {"n[8-10,010]", {"n[8-10]", "n010"}},
      // A gap in any number position cuts, not only in the last one.
      {"n[1,3]-ib0", {"n1-ib0", "n3-ib0"}},
      {"r[1,3]c[1-2]", {"r1c[1-2]", "r3c[1-2]"}},
      {"r[1,3]c[1-2,5]", {"r1c[1-2]", "r1c5", "r3c[1-2]", "r3c5"}},
      {"a[1-2]b[1,3]c[1-2]", {"a[1-2]b1c[1-2]", "a[1-2]b3c[1-2]"}},
      // Pieces follow the fold's pieces, each cut on its own.
      {"r[1,3]c[1-2],r2c[5-6]", {"r1c[1-2]", "r3c[1-2]", "r2c[5-6]"}},
      {"r[1-2]c[1-3],r3c[1-2]", {"r[1-2]c[1-3]", "r3c[1-2]"}},
      {"r[8-10]c[1,3]", {"r[8-10]c1", "r[8-10]c3"}},
      {"", {}},
  };
  for (Row const& row : rows)
    EXPECT_EQ(folds(read_hosts(row.notation).contiguous()), row.folded) << row.notation;
}

TEST(HostSetSelect, ReadsAxisLists) {
  struct Row {
    std::string text;
    std::optional<std::vector<int>> axes;
  };
  std::vector<Row> const rows = {
      {"1", std::vector<int>{1}},
      {"1-2", std::vector<int>{1, 2}},
      {"-1", std::vector<int>{-1}},
      {"1,3", std::vector<int>{1, 3}},
      {"-3--2", std::vector<int>{-3, -2}},
      {" 2 ", std::vector<int>{2}},
      {"0", std::nullopt},
      {"", std::nullopt},
      {"2-1", std::nullopt},
      {"x", std::nullopt},
      {"-1-2", std::nullopt},
  };
  for (Row const& row : rows)
    EXPECT_EQ(HostSet::parse_axes(row.text), row.axes) << row.text;
  std::string error;
  EXPECT_EQ(HostSet::parse_axes("1,x", &error), std::nullopt);
  EXPECT_EQ(error, "cannot read axes \"1,x\": bad item x");
}

TEST(HostSetSelect, ChecksAxisNumbersAsTheirTextReads) {
  struct Row {
    std::vector<std::int64_t> positions;
    std::string text;  // the same positions written as text
  };
  std::vector<Row> const rows = {
      {{1}, "1"},
      {{1, -1, 3}, "1,-1,3"},
      {{999999, -999999}, "999999,-999999"},
      {{0}, "0"},
      {{1, 0, 5}, "1,0,5"},  // the first bad one is named
      {{1000000}, "1000000"},
      {{-1000000}, "-1000000"},
      {{INT64_MAX}, "9223372036854775807"},
      {{}, ""},  // an empty list, as empty text, is one empty item
      {std::vector<std::int64_t>(4096, 2), ""},
      {std::vector<std::int64_t>(4097, 2), ""},  // more than 4096 positions
  };
  for (Row row : rows) {
    if (row.positions.size() > 100) {
      for (std::int64_t const position : row.positions)
        row.text += (row.text.empty() ? "" : ",") + std::to_string(position);
    }
    std::string checked_error;
    std::string read_error;
    EXPECT_EQ(HostSet::check_axes(row.positions, &checked_error),
              HostSet::parse_axes(row.text, &read_error))
        << row.text.substr(0, 40);
    EXPECT_EQ(checked_error, read_error) << row.text.substr(0, 40);
  }
  std::string error;
  EXPECT_EQ(HostSet::check_axes({1, 0}, &error), std::nullopt);
  EXPECT_EQ(error, "cannot read axes \"1,0\": bad item 0");
}

}  // namespace
