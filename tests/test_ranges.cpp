#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "krel/hostlist.hpp"
#include "krel/ranges.hpp"
#include "krel/str.hpp"
#include "models.hpp"
#include "test_support.hpp"

namespace {

using krel::TokenizedHost;
using krel_test::capture_stderr;
using krel_test::LogSettings;

// ---------------------------------------------------------------------------
// Integer run folding
// ---------------------------------------------------------------------------

struct FoldRow {
  std::vector<int> values;
  int zeroes;
  std::string folded;
  bool multiple;
};

std::vector<FoldRow> const& fold_rows() {
  static std::vector<FoldRow> const rows = {
      {{}, 0, "", false},
      {{}, 3, "", false},
      {{5}, 0, "5", false},
      {{5, 5, 5}, 0, "5", false},
      {{3, 1, 2}, 0, "1-3", true},
      {{1, 2, 3, 5, 7, 8}, 0, "1-3,5,7-8", true},
      {{1, 3, 5}, 0, "1,3,5", true},
      {{4, 4, 5}, 0, "4-5", true},
      {{8, 9}, 1, "08-09", true},
      {{9, 10}, 1, "09-010", true},
      {{1, 2, 4}, 2, "001-002,004", true},
      {{-3, -2, -1}, 0, "-3--1", true},
      {{7, 1, 7, 2, 3}, 0, "1-3,7", true},
      {{7, 7}, 2, "007", false},
      {{0}, 0, "0", false},
      {{-5, 5}, 1, "0-5,05", true},
      {{1, 2, 3}, -1, "1-3", true},
      {{INT_MAX, INT_MIN, INT_MAX - 1}, 0, "-2147483648,2147483646-2147483647", true},
      {{INT_MIN, INT_MIN + 1}, 0, "-2147483648--2147483647", true},
      {{10, 1, 1000000, 2, 12, 11}, 0, "1-2,10-12,1000000", true},
  };
  return rows;
}

TEST(GetMergedInts, FoldsRunsWithPadding) {
  for (FoldRow const& row : fold_rows()) {
    SCOPED_TRACE(krel::str::int_vect_to_str(row.values, ",") + " zeroes " +
                 std::to_string(row.zeroes));
    bool multiple = !row.multiple;
    EXPECT_EQ(krel::str::get_merged_ints(row.values, multiple, row.zeroes), row.folded);
    EXPECT_EQ(multiple, row.multiple);
  }
}

TEST(GetMergedInts, HostClassFormForwards) {
  for (FoldRow const& row : fold_rows()) {
    SCOPED_TRACE(krel::str::int_vect_to_str(row.values, ","));
    bool multiple = !row.multiple;
    EXPECT_EQ(TokenizedHost::get_merged_hosts_ints(row.values, multiple, row.zeroes), row.folded);
    EXPECT_EQ(multiple, row.multiple);
  }
}

TEST(GetMergedInts, SetsMultipleFalseFirstAndLeavesInputAlone) {
  bool multiple = true;
  EXPECT_EQ(krel::str::get_merged_ints({}, multiple, 0), "");
  EXPECT_FALSE(multiple);
  std::vector<int> const values = {3, 1, 2};
  krel::str::get_merged_ints(values, multiple, 0);
  EXPECT_EQ(values, (std::vector<int>{3, 1, 2}));
}

TEST(GetMergedInts, DenseAndSparseListsFoldAlike) {
  // A long dense list and the same numbers spread far apart.
  std::vector<int> dense;
  std::vector<int> sparse;
  for (int i = 100000; i >= 1; --i) {
    if (i % 1000 == 500) continue;
    dense.push_back(i);
    sparse.push_back(i * 20000);
  }
  bool multiple = false;
  std::string const folded = krel::str::get_merged_ints(dense, multiple, 0);
  EXPECT_TRUE(multiple);
  EXPECT_EQ(folded.substr(0, 20), "1-499,501-1499,1501-");
  EXPECT_EQ(folded.substr(folded.size() - 13), ",99501-100000");
  std::string const spread = krel::str::get_merged_ints(sparse, multiple, 0);
  EXPECT_EQ(spread.substr(0, 18), "20000,40000,60000,");
  EXPECT_EQ(spread.substr(spread.size() - 11), ",2000000000");
}

TEST(IntVectToStr, JoinsInGivenOrder) {
  struct Row {
    std::vector<int> values;
    std::string separator;
    std::string joined;
  };
  std::vector<Row> const rows = {
      {{3, 1, 3}, ", ", "3, 1, 3"},
      {{}, ", ", ""},
      {{7}, ",", "7"},
      {{-1, 0, INT_MIN}, "", "-10-2147483648"},
      {{1, 2},
       std::string("\0", 1),
       std::string("1\0"
                   "2",
                   3)},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.joined);
    EXPECT_EQ(krel::str::int_vect_to_str(row.values, row.separator), row.joined);
  }
}

// ---------------------------------------------------------------------------
// Range expansion
// ---------------------------------------------------------------------------

struct ExpandRow {
  std::string list;
  std::vector<int> values;
};

void expect_expansions(std::vector<ExpandRow> const& rows) {
  for (ExpandRow const& row : rows) {
    SCOPED_TRACE("\"" + row.list + "\"");
    EXPECT_EQ(krel::str::expand_ranges(row.list), row.values);
  }
}

TEST(ExpandRanges, ExpandsTheDocumentedLists) {
  expect_expansions({
      {"1-3,5", {1, 2, 3, 5}},
      {"5,1-3,2", {1, 2, 3, 5}},
      {" 7 ", {7}},
      {"4-4", {4}},
      {"3-1", {}},
      {"1-3,x", {}},
      {"1 -3", {}},
      {"1-3a", {}},
      {"1,2-", {}},
      {"", {}},
      {"-5", {-5}},
      {"4294967296", {0}},
      {",1", {}},
  });
}

TEST(ExpandRanges, ReadsSignsAsTheUnsignedConversionDoes) {
  expect_expansions({
      {"+5", {5}},
      {"1-+3", {1, 2, 3}},
      {"-0", {0}},
      {"-2--1", {-2, -1}},
      {"-1-1", {}},  // the wrapped low bound is far above 1
      {"--1", {}},
      {"+-1", {}},
      {"4294967295", {-1}},
      {"18446744073709551615", {-1}},
      {"-18446744073709551615", {1}},
  });
}

TEST(ExpandRanges, ReadsSpacesAsTheUnsignedConversionDoes) {
  expect_expansions({
      {"\t 1-2 \r\n", {1, 2}},
      {"1, 2", {1, 2}},
      {"1- 3", {1, 2, 3}},
      {"1 ,2", {}},
      {"1-3 ", {1, 2, 3}},  // the whole list is trimmed first
      {"1-3 ,5", {}},
      {"\v7", {7}},
      {"7\v", {}},
      {" ", {}},
      {"1 2", {}},
  });
}

TEST(ExpandRanges, ReadsEmptyItemsAndCommaRuns) {
  expect_expansions({
      {"1,,2", {1, 2}},
      {"1,2,", {1, 2}},
      {"1,2,,,", {1, 2}},
      {",", {}},
      {",,,", {}},
      {"-", {}},
      {"1-", {}},
      {"-3-", {}},
      {"x", {}},
      {"0x10", {}},
      {std::string("1\0"
                   "2",
                   3),
       {}},
      {std::string("1-2\0", 4), {}},
  });
}

TEST(ExpandRanges, NarrowsHugeNumbersToTheirLowBits) {
  expect_expansions({
      {"18446744073709551616", {}},  // beyond unsigned long
      {"1-18446744073709551616", {}},
      {"99999999999999999999999", {}},
      {"4294967296-4294967298", {0, 1, 2}},
      {"4294967295-4294967296", {-1, 0}},
      {"2147483647-2147483648", {INT_MIN, INT_MAX}},
      {"1-3,4294967297", {1, 2, 3}},
      {"18446744073709551614-18446744073709551615", {-2, -1}},
      {"2147483646-2147483649", {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX}},
  });
}

TEST(ExpandRanges, MergesOverlappingRanges) {
  expect_expansions({
      {"5-9,1-6,8", {1, 2, 3, 4, 5, 6, 7, 8, 9}},
      {"3,1,2,3,1", {1, 2, 3}},
      {"1-2,4-5,3", {1, 2, 3, 4, 5}},
      {"10-12,1-2", {1, 2, 10, 11, 12}},
  });
}

TEST(ExpandRanges, ExpandsWideRangesInFull) {
  std::vector<int> const values = krel::str::expand_ranges("0-999999");
  ASSERT_EQ(values.size(), 1000000U);
  for (std::size_t i = 0; i < values.size(); ++i)
    ASSERT_EQ(values[i], static_cast<int>(i));
  std::vector<int> const around_zero = krel::str::expand_ranges("4294967000-4294968000");
  ASSERT_EQ(around_zero.size(), 1001U);
  EXPECT_EQ(around_zero.front(), -296);
  EXPECT_EQ(around_zero.back(), 704);
}

// The model enumerates every value; the lists compared here name far fewer.
constexpr std::size_t kModelValueLimit = 1000000;

TEST(ExpandRangesProperty, MatchesThePlainReading) {
  std::mt19937 random(99);
  std::vector<std::string> const bounds = {
      "0",  "1",  "7", "15", "2147483646",           "-3", "4294967294", "4294967297",
      " 4", "+2", "",  "x",  "18446744073709551615", "05"};
  std::uniform_int_distribution<std::size_t> bound(0, bounds.size() - 1);
  std::uniform_int_distribution<int> shape(0, 5);
  std::uniform_int_distribution<int> items(0, 4);
  int compared = 0;
  int expanded = 0;
  for (int round = 0; round < 2000; ++round) {
    std::string list;
    int const count = items(random);
    for (int i = 0; i < count; ++i) {
      if (i != 0) list += shape(random) == 0 ? ",," : ",";
      std::string const low = bounds[bound(random)];
      switch (shape(random)) {
        case 0:
        case 1:
          list += low;
          break;
        case 2: {
          // A narrow range above low: only readable bounds make it.
          list += low + "-" + low;
          break;
        }
        default: {
          std::string const high = bounds[bound(random)];
          list += low + "-" + high;
        }
      }
    }
    SCOPED_TRACE("\"" + list + "\"");
    // Ranges wider than a few thousand values are left to the other tests.
    bool narrow = true;
    for (std::string const& item : krel::str::split(list, ',', true)) {
      std::size_t const dash = item.find('-', 1);
      if (dash == std::string::npos) continue;
      try {
        unsigned long const low = std::stoul(item.substr(0, dash));
        unsigned long const high = std::stoul(item.substr(dash + 1));
        if (high > low && high - low > 5000) narrow = false;
      } catch (...) {
      }
    }
    if (!narrow) continue;
    std::optional<std::vector<int>> const modelled =
        krel_model::expand_ranges(list, kModelValueLimit);
    ASSERT_TRUE(modelled.has_value());
    std::vector<int> const& expected = *modelled;
    ASSERT_EQ(krel::str::expand_ranges(list), expected);
    ++compared;
    if (!expected.empty()) ++expanded;
  }
  // The generator must reach both outcomes often for the comparison to mean
  // anything.
  EXPECT_GT(compared, 1200);
  EXPECT_GT(expanded, 250);
}

#if !defined(__SANITIZE_ADDRESS__)
// Runs `body` in a child process whose address space is limited to about
// 4 GB, as `ulimit -v 4000000` does, and returns what it wrote.
std::string run_with_limited_memory(std::function<std::string()> const& body) {
  int report[2];
  if (::pipe(report) != 0) return "<no pipe>";
  pid_t const child = ::fork();
  if (child == 0) {
    ::close(report[0]);
    rlimit const limit{4000000UL * 1024, 4000000UL * 1024};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) ::_exit(2);
    ::alarm(60);  // a child that enumerates 2^64 values is stopped, not waited for
    krel_test::write_all(report[1], body());
    ::_exit(0);
  }
  ::close(report[1]);
  std::string text;
  char buffer[256];
  for (;;) {
    ssize_t const n = ::read(report[0], buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
    } else if (n == 0 || errno != EINTR) {
      break;
    }
  }
  ::close(report[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return "<child failed>";
  return text;
}

TEST(ExpandRanges, ResultTooLargeForMemoryIsEmpty) {
  std::string const report = run_with_limited_memory([] {
    std::string sizes;
    for (char const* list :
         {"0-18446744073709551615", "0-4294967295", "5,1-18446744073709551615", "1-3"}) {
      sizes += std::to_string(krel::str::expand_ranges(list).size()) + ";";
    }
    return sizes;
  });
  EXPECT_EQ(report, "0;0;0;3;");
}
#else
// The address sanitizer reserves far more address space than the limit
// allows and ends the process on a failed allocation instead of throwing
// std::bad_alloc, so the limited-memory case runs only without it.
TEST(ExpandRanges, ResultTooLargeForMemoryIsEmpty) {
  GTEST_SKIP() << "needs std::bad_alloc from a failed allocation";
}
#endif

// ---------------------------------------------------------------------------
// Permutation counts
// ---------------------------------------------------------------------------

constexpr char kPermutationWarning[] =
    "Invalid value specified for number of nodelist permutations in cfg. Valid values are "
    "positive integers, they keyword 'all', or the number 0 to represent all\n";

struct PermutationRow {
  std::string value;
  unsigned int count;
  bool warned;
};

void expect_permutation_counts(std::vector<PermutationRow> const& rows) {
  for (PermutationRow const& row : rows) {
    SCOPED_TRACE("\"" + row.value + "\"");
    {
      LogSettings const warnings(4);
      unsigned int count = 0;
      std::string const written = capture_stderr(
          [&] { count = krel::str::get_num_permutations_from_string(row.value, 3, "cfg"); });
      EXPECT_EQ(count, row.count);
      EXPECT_EQ(written, row.warned ? kPermutationWarning : "");
    }
    unsigned int count = 0;
    std::string const written = capture_stderr(
        [&] { count = krel::str::get_num_permutations_from_string(row.value, 3, "cfg"); });
    EXPECT_EQ(count, row.count);
    EXPECT_EQ(written, "");
  }
}

TEST(GetNumPermutations, ReadsTheDocumentedValues) {
  expect_permutation_counts({
      {"5", 5, false},
      {"0", 0, false},
      {"all", 0, false},
      {"ALL", 0, false},
      {"All", 3, true},
      {"-2", 3, true},
      {"5abc", 5, false},
      {" 12", 12, false},
      {"", 3, true},
      {"99999999999", 3, true},
  });
}

TEST(GetNumPermutations, ReadsAsTheIntConversionDoes) {
  expect_permutation_counts({
      {"+7", 7, false},
      {"-0", 0, false},
      {"2147483647", 2147483647U, false},
      {"2147483648", 3, true},
      {"-2147483648", 3, true},
      {"-2147483649", 3, true},
      {"99999999999999999999999", 3, true},
      {"\t\n 8", 8, false},
      {"0x10", 0, false},
      {"5 all", 5, false},
      {"all ", 3, true},
      {" all", 3, true},
      {"aLL", 3, true},
      {"x", 3, true},
      {std::string("all\0", 4), 3, true},
  });
}

TEST(GetNumPermutations, QuotesTheSourceAndKeepsTheDefault) {
  LogSettings const warnings(4);
  unsigned int count = 0;
  std::string const written = capture_stderr(
      [&] { count = krel::str::get_num_permutations_from_string("many", 42, "--perms"); });
  EXPECT_EQ(count, 42U);
  EXPECT_EQ(written,
            "Invalid value specified for number of nodelist permutations in --perms. Valid values "
            "are positive integers, they keyword 'all', or the number 0 to represent all\n");
}

TEST(GetNumPermutations, LeavesErrnoAsItWas) {
  errno = 1234;
  EXPECT_EQ(krel::str::get_num_permutations_from_string("5", 3, "cfg"), 5U);
  EXPECT_EQ(errno, 1234);
  errno = 1234;
  EXPECT_EQ(krel::str::expand_ranges("1-2"), (std::vector<int>{1, 2}));
  EXPECT_EQ(errno, 1234);
}

}  // namespace
