// The patterns a host-set read meets (hostset_pattern_table.cpp): buckets
// found again by key, numbered as met, and put in key order.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hostset_pattern_table.hpp"

namespace {

using krel::hostset_internal::Bucket;
using krel::hostset_internal::PatternTable;

struct FindRow {
  std::string key;
  std::size_t bucket;  // the number expected back
  bool made;
};

TEST(PatternTable, FindsBucketsAgainByKeyAndNumbersThemAsMet) {
  std::vector<FindRow> const rows = {
      {"n%s", 0, true},   {"m%s", 1, true},
      {"n%s", 0, false},  // not the last one: found through the look-up
      {"n%s", 0, false},  // the last one again
      {"", 2, true},      // a name without text
      {"n%s%%", 3, true}, {"m%s", 1, false},
  };
  PatternTable table;
  EXPECT_EQ(table.last(), PatternTable::kNone);
  for (FindRow const& row : rows) {
    SCOPED_TRACE(row.key);
    bool made = !row.made;
    Bucket const& bucket = table.find(row.key, 1, made);
    EXPECT_EQ(made, row.made);
    EXPECT_EQ(table.last(), row.bucket);
    EXPECT_EQ(&bucket, &table[row.bucket]);
    EXPECT_EQ(table.key_of(bucket), row.key);
  }
  EXPECT_EQ(table.size(), 4u);
}

TEST(PatternTable, MarksKeysHoldingDigitsAndKeepsTheNumberCount) {
  PatternTable table;
  bool made = false;
  EXPECT_TRUE(table.find("n%s", 1, made).digit_free);
  Bucket const& with_digits = table.find("n%s-10G", 2, made);
  EXPECT_FALSE(with_digits.digit_free);
  EXPECT_EQ(with_digits.number_count, 2);
}

TEST(PatternTable, PlacesPatternsInKeyOrder) {
  // Keys sharing their first eight bytes are told apart by the rest; a
  // shorter key sorts first.
  std::vector<std::string> const keys = {"rack%sb", "node%s", "rack%sa", "a", "rack%s", "node"};
  std::vector<std::uint32_t> const expected = {5, 2, 4, 0, 3, 1};
  PatternTable table;
  bool made = false;
  for (std::string const& key : keys)
    table.find(key, 0, made);
  EXPECT_EQ(table.places(), expected);
}

TEST(PatternTable, PlacesManyPatternsAsTheStringOrder) {
  // Past 64 buckets the order comes from a radix sort of the prefixes.
  PatternTable table;
  std::vector<std::string> keys;
  bool made = false;
  for (int i = 0; i < 500; ++i) {
    keys.push_back((i % 3 == 0 ? "longprefix" : "p") + std::to_string((i * 7919) % 500));
    table.find(keys.back(), 0, made);
  }
  std::vector<std::uint32_t> const places = table.places();
  for (std::size_t i = 0; i < keys.size(); ++i) {
    for (std::size_t j = 0; j < keys.size(); ++j)
      ASSERT_EQ(places[i] < places[j], keys[i] < keys[j]) << keys[i] << " " << keys[j];
  }
}

TEST(PatternTable, LetsBucketsGoInTheOrderMade) {
  PatternTable table;
  bool made = false;
  table.find("a%s", 1, made);
  table.find("b%s", 1, made);
  table.end_finding();
  EXPECT_EQ(table.last(), PatternTable::kNone);
  EXPECT_EQ(table.key_of(table.front()), "a%s");
  table.pop_front();
  EXPECT_EQ(table.key_of(table.front()), "b%s");
}

}  // namespace
