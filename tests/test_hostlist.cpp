#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <functional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "krel/hostlist.hpp"
#include "krel/str.hpp"
#include "test_support.hpp"

namespace {

using krel::TokenizedHost;
using krel_test::capture_stderr;
using krel_test::LogSettings;
using Token = TokenizedHost::Token;
using Names = std::vector<std::string>;

constexpr unsigned long kNoPosition = static_cast<unsigned long>(-1);

// ---------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------

struct ExpectedToken {
  int type;
  int number;
  std::string text;
  int leading_zeroes;
};

ExpectedToken text_token(std::string text) {
  return {TokenizedHost::TOKEN_STR, 0, text, 0};
}
ExpectedToken number_token(int number, int zeroes = 0) {
  return {TokenizedHost::TOKEN_INT, number, "", zeroes};
}

void expect_tokens(TokenizedHost const& host, std::vector<ExpectedToken> const& expected) {
  ASSERT_EQ(host.tokens.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE("token " + std::to_string(i));
    EXPECT_EQ(host.tokens[i].type, expected[i].type);
    EXPECT_EQ(host.tokens[i].number, expected[i].number);
    EXPECT_EQ(host.tokens[i].text, expected[i].text);
    EXPECT_EQ(host.tokens[i].leading_zeroes, expected[i].leading_zeroes);
  }
}

// A host written back from its tokens, as a number token's contract says.
std::string written_back(TokenizedHost const& host) {
  std::string name;
  for (Token const& token : host.tokens) {
    if (token.type == TokenizedHost::TOKEN_STR) {
      name += token.text;
    } else {
      name += TokenizedHost::get_zeroes_str(token.leading_zeroes) + std::to_string(token.number);
    }
  }
  return name;
}

std::vector<Names> written_back(std::vector<std::vector<TokenizedHost>> const& groups) {
  std::vector<Names> names;
  for (auto const& group : groups) {
    names.emplace_back();
    for (TokenizedHost const& host : group)
      names.back().push_back(written_back(host));
  }
  return names;
}

std::vector<TokenizedHost> hosts_of(Names const& names) {
  return std::vector<TokenizedHost>(names.begin(), names.end());
}

// The message of the std::out_of_range that `body` throws; a marker text when
// it throws something else or nothing.
std::string out_of_range_message(std::function<void()> const& body) {
  try {
    body();
  } catch (std::out_of_range const& error) {
    return error.what();
  } catch (...) {
    return "<another exception>";
  }
  return "<no exception>";
}

std::string quoted(Names const& names) {
  std::string text;
  for (std::string const& name : names)
    text += "\"" + name + "\" ";
  return text;
}

// ---------------------------------------------------------------------------
// Tokens and tokenising
// ---------------------------------------------------------------------------

static_assert(std::is_convertible_v<std::string, TokenizedHost>,
              "a vector of hosts is built straight from strings");
static_assert(std::is_copy_constructible_v<TokenizedHost> &&
                  std::is_move_constructible_v<TokenizedHost>,
              "hosts are plain values");
static_assert(std::is_copy_constructible_v<Token> && std::is_move_constructible_v<Token>,
              "tokens are plain values");
static_assert(!std::is_polymorphic_v<TokenizedHost> && !std::is_polymorphic_v<Token>,
              "no virtual functions");

TEST(Token, ConstructorsFillEveryField) {
  Token const plain;
  EXPECT_EQ(plain.type, TokenizedHost::TOKEN_INT);
  EXPECT_EQ(plain.number, 0);
  EXPECT_EQ(plain.text, "");
  EXPECT_EQ(plain.leading_zeroes, 0);

  Token const number(42);
  EXPECT_EQ(number.type, 0);
  EXPECT_EQ(number.number, 42);
  EXPECT_EQ(number.text, "");
  EXPECT_EQ(number.leading_zeroes, 0);

  Token const text(std::string("node"));
  EXPECT_EQ(text.type, 1);
  EXPECT_EQ(text.number, 0);
  EXPECT_EQ(text.text, "node");
  EXPECT_EQ(text.leading_zeroes, 0);
}

TEST(TokenizedHost, SplitsNamesIntoAlternatingTextAndNumbers) {
  struct Row {
    std::string name;
    std::vector<ExpectedToken> tokens;
  };
  std::vector<Row> const rows = {
      {"node017", {text_token("node"), number_token(17, 1)}},
      {"42", {number_token(42)}},
      {"login", {text_token("login")}},
      {"", {}},
      {"cn000", {text_token("cn"), number_token(0, 2)}},
      {"a-1.b2", {text_token("a-"), number_token(1), text_token(".b"), number_token(2)}},
      {"0000000000001", {number_token(1, 12)}},
      {"r2c3n14",
       {text_token("r"), number_token(2), text_token("c"), number_token(3), text_token("n"),
        number_token(14)}},
      {"cn-5", {text_token("cn-"), number_token(5)}},
      {"x+7", {text_token("x+"), number_token(7)}},
      {"0", {number_token(0)}},
      {"00", {number_token(0, 1)}},
      {"0100", {number_token(100, 1)}},
      {"7up", {number_token(7), text_token("up")}},
      {"a b\t1", {text_token("a b\t"), number_token(1)}},
      {"2147483647", {number_token(2147483647)}},
      {"0002147483647", {number_token(2147483647, 3)}},
      {"\xc3\xa9t\xe9"
       "5\xff",
       {text_token("\xc3\xa9t\xe9"), number_token(5), text_token("\xff")}},
      {std::string("a\0"
                   "1",
                   3),
       {text_token(std::string("a\0", 2)), number_token(1)}},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.name);
    expect_tokens(TokenizedHost(row.name), row.tokens);
    if (row.name.find('\0') == std::string::npos) {
      expect_tokens(TokenizedHost(row.name.c_str()), row.tokens);
    }
  }
}

TEST(TokenizedHost, CharPointerFormStopsAtTheFirstNul) {
  std::string const name(
      "a\0"
      "1",
      3);
  expect_tokens(TokenizedHost(name.c_str()), {text_token("a")});
}

TEST(TokenizedHost, NumberTokensWriteBackTheirDigitRuns) {
  for (std::string const name :
       {"node017", "cn000", "0", "00", "007", "0100", "r02c003n0004", "a-1.b2", "x0y00z000"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(written_back(TokenizedHost(name)), name);
  }
  TokenizedHost const host("cn000");
  EXPECT_EQ(TokenizedHost::get_zeroes_str(host.tokens[1].leading_zeroes) +
                std::to_string(host.tokens[1].number),
            "000");
}

TEST(TokenizedHost, DigitRunsAboveIntMaxThrowStoi) {
  std::string const thousand_digits(1000, '9');
  for (std::string const& name :
       {std::string("cn99999999999"), std::string("2147483648"), std::string("n0002147483648"),
        std::string("a1b4294967296"), std::string("x") + thousand_digits,
        std::string("0000") + thousand_digits + "z"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(out_of_range_message([&] { TokenizedHost const host(name); }), "stoi");
    EXPECT_EQ(out_of_range_message([&] { TokenizedHost const host(name.c_str()); }), "stoi");
  }
}

TEST(TokenizedHost, LongRunsOfPaddingStillConvert) {
  std::string const name = "n" + std::string(5000, '0') + "12";
  expect_tokens(TokenizedHost(name), {text_token("n"), number_token(12, 5000)});
  expect_tokens(TokenizedHost(std::string(3000, '0')), {number_token(0, 2999)});
}

TEST(TokenizedHost, NullPointerThrowsLogicError) {
  char const* volatile name = nullptr;
  EXPECT_THROW(TokenizedHost{name}, std::logic_error);
}

TEST(TokenizedHost, CountsPaddingZerosOfADigitRun) {
  struct Row {
    std::string digits;
    int zeroes;
  };
  std::vector<Row> const rows = {{"", 0},
                                 {"0", 0},
                                 {"00", 1},
                                 {"000", 2},
                                 {"7", 0},
                                 {"007", 2},
                                 {"0100", 1},
                                 {"10", 0},
                                 {"0a", 1},
                                 {"a0", 0},
                                 {"00000000000000000000", 19}};
  for (Row const& row : rows) {
    SCOPED_TRACE(row.digits);
    EXPECT_EQ(TokenizedHost::count_leading_zeroes(row.digits), row.zeroes);
  }
}

TEST(TokenizedHost, WritesZeroStrings) {
  struct Row {
    int count;
    std::string zeroes;
  };
  std::vector<Row> const rows = {{3, "000"}, {1, "0"}, {0, ""}, {-2, ""}, {INT_MIN, ""}};
  for (Row const& row : rows) {
    SCOPED_TRACE(row.count);
    EXPECT_EQ(TokenizedHost::get_zeroes_str(row.count), row.zeroes);
  }
}

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
// Host-list merging
// ---------------------------------------------------------------------------

struct MergeRow {
  Names names;
  std::string merged;
};

void expect_merges(std::vector<MergeRow> const& rows) {
  for (MergeRow const& row : rows) {
    SCOPED_TRACE(quoted(row.names));
    EXPECT_EQ(TokenizedHost::get_merged_hosts(row.names), row.merged);
  }
}

TEST(GetMergedHosts, FoldsTheDocumentedLists) {
  expect_merges({
      {{}, ""},
      {{"node1", "node2", "node3", "node5"}, "node[1-3,5]"},
      {{"node3", "node1", "node2"}, "node[1-3]"},
      {{"node01", "node02", "node10", "login1"}, "login1, node10, node[01-02]"},
      {{"cn08", "cn09", "cn10", "cn11"}, "cn[08-09], cn[10-11]"},
      {{"cn09", "cn010"}, "cn[09-010]"},
      {{"r1c1", "r1c2", "r2c1", "r2c2"}, "r[1-2]c1, r[1-2]c2"},
      {{"r1c1", "r1c2", "r1c3", "r2c1"}, "r1c[1-3], r2c1"},
      {{"a", "a"}, "a"},
      {{"cn1", "cn1"}, "cn1"},
      {{"login", "admin"}, "admin, login"},
      {{"cn1", "cn1x"}, "cn1, cn1x"},
      {{"", "a1"}, ", a1"},
      {{"cn007"}, "cn007"},
      {{"node3", "node1", "node2", "login1"}, "login1, node[1-3]"},
  });
}

TEST(GetMergedHosts, FoldsMixedGroups) {
  expect_merges({
      {{"node1", "node2", "login1", "login2", "gpu01", "gpu02", "gpu3", "node3x"},
       "gpu3, gpu[01-02], login[1-2], node3x, node[1-2]"},
      {{"a1", "b1", "a2", "b2", "a", "b", "1"}, "1, a, a[1-2], b, b[1-2]"},
      {{"n1", "N1", "n2", "N2"}, "N[1-2], n[1-2]"},
      {{"cn-5", "cn-6", "cn+7"}, "cn+7, cn-[5-6]"},
      {{"n00", "n01", "n0", "n1", "n2"}, "n[0-2], n[00-01]"},
      {{"n0", "n00"}, "n0, n00"},
      {{"x9", "x09", "x009"}, "x009, x09, x9"},
      {{"n2147483647", "n2147483646"}, "n[2147483646-2147483647]"},
  });
}

TEST(GetMergedHosts, FoldsOneOfSeveralNumbers) {
  expect_merges({
      {{"r1c1n1", "r1c1n2", "r1c2n1", "r1c2n2", "r2c1n1", "r2c1n2", "r2c2n1", "r2c2n2"},
       "r[1-2]c1n1, r[1-2]c1n2, r[1-2]c2n1, r[1-2]c2n2"},
      {{"r1c1n1", "r1c1n2", "r1c1n3", "r2c1n1"}, "r1c1n[1-3], r2c1n1"},
      {{"1a1", "2a2"}, "1a1, 2a2"},
      {{"1a1", "2a1", "3a1"}, "[1-3]a1"},
      {{"1.1", "1.2", "2.1"}, "1.2, [1-2].1"},
      {{"r01c1", "r02c1", "r1c2"}, "r1c2, r[01-02]c1"},
      {{"r1c01", "r2c1", "r3c01"}, "r2c1, r[1,3]c01"},
  });
}

TEST(GetMergedHosts, CollapsesDuplicates) {
  expect_merges({
      {{"n1", "n2", "n1", "n2", "n2"}, "n[1-2]"},
      {{"n1", "n1", "x", "x", ""}, ", n1, x"},
      {{"", ""}, ""},
      {{"", "", "x"}, ", x"},
      {{"r1c1", "r1c1", "r1c2"}, "r1c[1-2]"},
      {{"n5", "n5", "n5", "n5"}, "n5"},
  });
}

TEST(GetMergedHosts, SortsPiecesBytewise) {
  expect_merges({
      {{"b", "a", "B", "_", "[", "0"}, "0, B, [, _, a, b"},
      {{"node10", "node01", "node02"}, "node10, node[01-02]"},
      {{"ab", "a", "abc"}, "a, ab, abc"},
  });
}

TEST(GetMergedHosts, PassesBytesAboveSeventyFHexThrough) {
  expect_merges({
      {{"\xff"
        "1",
        "\xff"
        "2"},
       "\xff[1-2]"},
      {{"\xe9"
        "1",
        "a1"},
       "a1, \xe9"
       "1"},
      {{"n\xc3\xa9"
        "1",
        "n\xc3\xa9"
        "2",
        "n\xc3\xa8"
        "3"},
       "n\xc3\xa8"
       "3, n\xc3\xa9[1-2]"},
      {{std::string("a\0"
                    "1",
                    3),
        std::string("a\0"
                    "2",
                    3),
        "a3"},
       std::string("a\0[1-2], a3", 11)},
  });
}

TEST(GetMergedHosts, OverflowingDigitRunsThrowStoi) {
  std::string const long_run(300, '7');
  for (Names const& names : std::vector<Names>{{"cn99999999999"},
                                               {"n1", "n2", "n2147483648"},
                                               {"a1", "b" + long_run, "c1"},
                                               {"x1", "x2", "x3", "x4294967296"}}) {
    SCOPED_TRACE(quoted(names));
    EXPECT_EQ(out_of_range_message([&] { TokenizedHost::get_merged_hosts(names); }), "stoi");
  }
}

TEST(GetMergedHosts, WritesNoLogRecords) {
  LogSettings const everything(7);
  std::string merged;
  std::string const written = capture_stderr([&] {
    merged = TokenizedHost::get_merged_hosts({});
    merged += TokenizedHost::get_merged_hosts({"n1", "n2", "", "x"});
  });
  EXPECT_EQ(merged, ", n[1-2], x");
  EXPECT_EQ(written, "");
}

// ---------------------------------------------------------------------------
// The steps of merging, called on their own
// ---------------------------------------------------------------------------

TEST(HostMergeMatchStr, ComparesShapeAndTextsOnly) {
  struct Row {
    std::string a;
    std::string b;
    bool match;
  };
  std::vector<Row> const rows = {
      {"node1", "node22", true},  {"n01", "n1", true},       {"", "", true},
      {"node1", "nodes1", false}, {"node1", "1node", false}, {"a1", "a1b", false},
      {"a", "b", false},          {"a", "", false},          {"r1c2", "r3c4", true},
      {"r1c2", "r1d2", false},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.a + " / " + row.b);
    EXPECT_EQ(TokenizedHost::host_merge_match_str(row.a, row.b), row.match);
    EXPECT_EQ(TokenizedHost::host_merge_match_str(row.b, row.a), row.match);
  }
}

TEST(HostMergeMatchInt, ComparesPaddingsAndOtherNumbers) {
  struct Row {
    std::string a;
    std::string b;
    unsigned long idx;
    bool match;
  };
  std::vector<Row> const rows = {
      {"n1", "n2", 1, true},
      {"n1", "n2", kNoPosition, false},
      {"n1", "n1", kNoPosition, true},
      {"n01", "n1", 1, false},
      {"n01", "n02", 1, true},
      {"r1c1", "r1c2", 3, true},
      {"r1c1", "r2c2", 3, false},
      {"r1c1", "r2c1", 1, true},
      {"a1", "b1", 1, true},
      {"a1", "b1", kNoPosition, true},
      {"a", "b", 0, true},
      {"1", "a", 0, false},
      {"a1", "a1b", 1, false},
      {"", "", 0, true},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.a + " / " + row.b + " at " + std::to_string(row.idx));
    EXPECT_EQ(TokenizedHost::host_merge_match_int(row.a, row.b, row.idx), row.match);
    EXPECT_EQ(TokenizedHost::host_merge_match_int(row.b, row.a, row.idx), row.match);
  }
}

TEST(GetHostSetsStr, GroupsByFirstAppearance) {
  EXPECT_TRUE(TokenizedHost::get_host_sets_str({}).empty());
  EXPECT_EQ(written_back(TokenizedHost::get_host_sets_str(
                hosts_of({"n1", "x1", "n02", "x", "n3", "", "x7", ""}))),
            (std::vector<Names>{{"n1", "n02", "n3"}, {"x1", "x7"}, {"x"}, {"", ""}}));
}

TEST(GetHostSetsInt, GroupsByPaddingAndOtherNumbers) {
  EXPECT_TRUE(TokenizedHost::get_host_sets_int({}, 1).empty());
  EXPECT_EQ(written_back(TokenizedHost::get_host_sets_int(hosts_of({"n01", "n1", "n02", "n2"}), 1)),
            (std::vector<Names>{{"n01", "n02"}, {"n1", "n2"}}));
  EXPECT_EQ(written_back(TokenizedHost::get_host_sets_int(
                hosts_of({"r1c1", "r2c1", "r1c2", "r3c1", "r2c2"}), 1)),
            (std::vector<Names>{{"r1c1", "r2c1", "r3c1"}, {"r1c2", "r2c2"}}));
  EXPECT_EQ(
      written_back(TokenizedHost::get_host_sets_int(hosts_of({"n1", "n2", "n1"}), kNoPosition)),
      (std::vector<Names>{{"n1", "n1"}, {"n2"}}));
}

TEST(GetTokenIdx, PicksTheMostVariedNumberLeftmostOnTies) {
  struct Row {
    Names names;
    unsigned long idx;
  };
  std::vector<Row> const rows = {
      {{"r1c1", "r1c2", "r2c1", "r2c2"}, 1},
      {{"r1c1", "r1c2", "r1c3", "r2c1"}, 3},
      {{"1a1", "2a2"}, 0},
      {{"1a1", "1a2"}, 2},
      {{"a"}, 0},
      {{"ab", "ab"}, 0},
      {{"n7"}, 1},
      {{"r1c1n1", "r1c1n2", "r1c1n3", "r2c1n1", "r3c1n1"}, 1},
      {{"r1c1n1", "r1c1n2", "r1c1n3", "r2c1n1"}, 5},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(quoted(row.names));
    EXPECT_EQ(TokenizedHost::get_token_idx(hosts_of(row.names)), row.idx);
  }
}

TEST(GetTokenIdx, SurvivesListsCallersNeverPass) {
  EXPECT_EQ(TokenizedHost::get_token_idx({}), 0UL);
  // A host shorter than the first contributes nothing at positions it lacks.
  EXPECT_EQ(TokenizedHost::get_token_idx(hosts_of({"a1b2", "a1"})), 1UL);
  EXPECT_EQ(TokenizedHost::get_token_idx(hosts_of({"a1b2", "a2", "a3"})), 1UL);
}

TEST(GetMergedHostsStr, WritesOneGroupAsOnePiece) {
  struct Row {
    Names names;
    unsigned long idx;
    std::string piece;
  };
  std::vector<Row> const rows = {
      {{"n1", "n3", "n2"}, 1, "n[1-3]"},
      {{"n1", "n1"}, 1, "n1"},
      {{"r1c5", "r2c5"}, 1, "r[1-2]c5"},
      {{"r1c05", "r1c06"}, 3, "r1c[05-06]"},
      {{"n1", "n2"}, kNoPosition, "n1"},
      {{"a1", "a2"}, 0, "a1"},
      {{"ab"}, 0, "ab"},
      {{""}, 0, ""},
      {{"cn09", "cn010"}, 1, "cn[09-010]"},
      {{"cn1", "cn02"}, 1, "cn[1-2]"},
      {{"cn02", "cn1"}, 1, "cn[01-02]"},
      {{"n1", "n2"}, 7, "n1"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(quoted(row.names) + " at " + std::to_string(row.idx));
    EXPECT_EQ(TokenizedHost::get_merged_hosts_str(hosts_of(row.names), row.idx), row.piece);
  }
}

TEST(GetMergedHostsStr, EmptyListWritesAWarning) {
  {
    LogSettings const warnings(4);
    std::string piece = "unchanged";
    EXPECT_EQ(capture_stderr([&] { piece = TokenizedHost::get_merged_hosts_str({}, 1); }),
              "attempted to merge empty host list\n");
    EXPECT_EQ(piece, "");
  }
  std::string piece = "unchanged";
  EXPECT_EQ(capture_stderr([&] { piece = TokenizedHost::get_merged_hosts_str({}, 1); }), "");
  EXPECT_EQ(piece, "");
}

// ---------------------------------------------------------------------------
// Merging against a plain reference
// ---------------------------------------------------------------------------

// The merge done step by step in the plainest way: every host tested against
// the first member of every group, ordered sets for the variety, and the
// run state read back from the last character.
namespace reference {

bool match_str(TokenizedHost const& a, TokenizedHost const& b) {
  if (a.tokens.size() != b.tokens.size()) return false;
  for (std::size_t i = 0; i < a.tokens.size(); ++i) {
    if (a.tokens[i].type != b.tokens[i].type) return false;
    if (a.tokens[i].type == TokenizedHost::TOKEN_STR && a.tokens[i].text != b.tokens[i].text) {
      return false;
    }
  }
  return true;
}

bool match_int(TokenizedHost const& a, TokenizedHost const& b, unsigned long idx) {
  if (a.tokens.size() != b.tokens.size()) return false;
  for (std::size_t i = 0; i < a.tokens.size(); ++i) {
    if (a.tokens[i].type != b.tokens[i].type) return false;
    if (a.tokens[i].type != TokenizedHost::TOKEN_INT) continue;
    if (a.tokens[i].leading_zeroes != b.tokens[i].leading_zeroes) return false;
    if (i != idx && a.tokens[i].number != b.tokens[i].number) return false;
  }
  return true;
}

template <typename Match>
std::vector<std::vector<TokenizedHost>> partition(std::vector<TokenizedHost> const& hosts,
                                                  Match match) {
  std::vector<std::vector<TokenizedHost>> groups;
  for (TokenizedHost const& host : hosts) {
    bool placed = false;
    for (auto& group : groups) {
      if (match(group.front(), host)) {
        group.push_back(host);
        placed = true;
        break;
      }
    }
    if (!placed) groups.push_back({host});
  }
  return groups;
}

unsigned long token_idx(std::vector<TokenizedHost> const& hosts) {
  unsigned long best = 0;
  std::size_t best_count = 0;
  for (std::size_t i = 0; i < hosts.front().tokens.size(); ++i) {
    if (hosts.front().tokens[i].type != TokenizedHost::TOKEN_INT) continue;
    std::set<int> values;
    for (TokenizedHost const& host : hosts)
      values.insert(host.tokens[i].number);
    if (values.size() > best_count) {
      best = i;
      best_count = values.size();
    }
  }
  return best;
}

std::string padded(int zeroes, int value) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%d", value);
  return std::string(zeroes > 0 ? static_cast<std::size_t>(zeroes) : 0, '0') + digits;
}

std::string fold(std::vector<int> values, bool& multiple, int zeroes) {
  multiple = false;
  if (values.empty()) return "";
  std::sort(values.begin(), values.end());
  std::string result = padded(zeroes, values[0]);
  for (std::size_t i = 1; i < values.size(); ++i) {
    if (values[i] == values[i - 1]) continue;
    multiple = true;
    if (values[i] == values[i - 1] + 1) {
      if (result.back() != '-') result += "-";
    } else {
      if (result.back() == '-') result += padded(zeroes, values[i - 1]);
      result += "," + padded(zeroes, values[i]);
    }
  }
  if (result.back() == '-') result += padded(zeroes, values.back());
  return result;
}

std::string piece(std::vector<TokenizedHost> const& hosts, unsigned long idx) {
  std::string text;
  auto const& first = hosts.front().tokens;
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i].type == TokenizedHost::TOKEN_STR) {
      text += first[i].text;
    } else if (i != idx) {
      text += padded(first[i].leading_zeroes, first[i].number);
    } else {
      std::vector<int> values;
      for (TokenizedHost const& host : hosts)
        values.push_back(host.tokens[i].number);
      bool multiple = false;
      std::string const folded = fold(values, multiple, first[i].leading_zeroes);
      text += multiple ? "[" + folded + "]" : folded;
    }
  }
  return text;
}

std::string merged_hosts(Names const& names) {
  std::vector<TokenizedHost> const hosts(names.begin(), names.end());
  std::vector<std::string> pieces;
  for (auto const& group : partition(hosts, match_str)) {
    if (group.size() == 1) {
      pieces.push_back(piece(group, kNoPosition));
      continue;
    }
    unsigned long const idx = token_idx(group);
    auto const by_numbers = [idx](TokenizedHost const& a, TokenizedHost const& b) {
      return match_int(a, b, idx);
    };
    for (auto const& subgroup : partition(group, by_numbers))
      pieces.push_back(piece(subgroup, idx));
  }
  std::sort(pieces.begin(), pieces.end());
  std::string joined;
  for (std::size_t i = 0; i < pieces.size(); ++i)
    joined += (i ? ", " : "") + pieces[i];
  return joined;
}

}  // namespace reference

TEST(GetMergedIntsProperty, MatchesThePlainFolding) {
  std::mt19937 random(11);
  std::uniform_int_distribution<std::size_t> size(0, 120);
  std::uniform_int_distribution<int> zeroes(-1, 2);
  // Narrow value ranges give dense lists with repeats, wide ones sparse lists.
  std::vector<std::pair<int, int>> const ranges = {{0, 10},
                                                   {-5, 5},
                                                   {0, 200},
                                                   {1000, 1400},
                                                   {INT_MIN, INT_MIN + 50},
                                                   {INT_MAX - 60, INT_MAX},
                                                   {INT_MIN, INT_MAX},
                                                   {-100000, 100000}};
  for (int round = 0; round < 1500; ++round) {
    auto const [low, high] = ranges[static_cast<std::size_t>(round) % ranges.size()];
    std::uniform_int_distribution<int> value(low, high);
    std::vector<int> values(size(random));
    for (int& v : values)
      v = value(random);
    int const padding = zeroes(random);
    SCOPED_TRACE(krel::str::int_vect_to_str(values, ",") + " zeroes " + std::to_string(padding));
    bool expected_multiple = false;
    std::string const expected = reference::fold(values, expected_multiple, padding);
    bool multiple = !expected_multiple;
    ASSERT_EQ(krel::str::get_merged_ints(values, multiple, padding), expected);
    ASSERT_EQ(multiple, expected_multiple);
  }
}

// The library's own steps, composed as get_merged_hosts is described.
std::string merged_by_steps(Names const& names) {
  std::vector<TokenizedHost> const hosts(names.begin(), names.end());
  std::vector<std::string> pieces;
  for (auto const& group : TokenizedHost::get_host_sets_str(hosts)) {
    if (group.size() == 1) {
      pieces.push_back(TokenizedHost::get_merged_hosts_str(group, kNoPosition));
      continue;
    }
    unsigned long const idx = TokenizedHost::get_token_idx(group);
    for (auto const& subgroup : TokenizedHost::get_host_sets_int(group, idx)) {
      pieces.push_back(TokenizedHost::get_merged_hosts_str(subgroup, idx));
    }
  }
  std::sort(pieces.begin(), pieces.end());
  std::string joined;
  for (std::size_t i = 0; i < pieces.size(); ++i)
    joined += (i ? ", " : "") + pieces[i];
  return joined;
}

// Names from a few shapes per list (texts with number slots), small numbers
// and paddings, and now and then a name of its own, so that groups,
// duplicates, several numbers and padding changes all occur often.
Names generated_names(std::mt19937& random, std::size_t count) {
  static std::vector<std::string> const texts = {"n",   "node", "r", "c",   "-",
                                                 "a.b", "\xe9", "N", "x y", ""};
  std::uniform_int_distribution<std::size_t> text_choice(0, texts.size() - 1);
  std::uniform_int_distribution<int> numbers_per_name(0, 3);
  std::uniform_int_distribution<int> value(0, 12);
  std::uniform_int_distribution<int> padding(0, 5);
  std::uniform_int_distribution<int> coin(0, 1);
  std::uniform_int_distribution<int> one_in_eight(0, 7);

  // A shape: the texts around its numbers, texts[0] before the first number.
  auto const make_shape = [&] {
    std::vector<std::string> shape;
    int const numbers = numbers_per_name(random);
    shape.push_back(coin(random) ? texts[text_choice(random)] : "");
    for (int n = 0; n < numbers; ++n) {
      std::string text = texts[text_choice(random)];
      if (text.empty() && n + 1 < numbers) text = "c";  // keeps the numbers apart
      shape.push_back(n + 1 < numbers || coin(random) ? text : "");
    }
    return shape;
  };
  auto const make_name = [&](std::vector<std::string> const& shape) {
    std::string name = shape[0];
    for (std::size_t n = 1; n < shape.size(); ++n) {
      int const zeroes = padding(random);
      name += std::string(zeroes < 3 ? 0 : static_cast<std::size_t>(zeroes - 2), '0');
      name += std::to_string(value(random)) + shape[n];
    }
    return name;
  };

  std::vector<std::vector<std::string>> shapes;
  for (int i = 0; i < 3; ++i)
    shapes.push_back(make_shape());
  std::uniform_int_distribution<std::size_t> shape_choice(0, shapes.size() - 1);
  Names names;
  for (std::size_t i = 0; i < count; ++i) {
    names.push_back(one_in_eight(random) == 0 ? make_name(make_shape())
                                              : make_name(shapes[shape_choice(random)]));
  }
  return names;
}

TEST(GetMergedHostsProperty, MatchesThePlainReference) {
  std::mt19937 random(20240611);
  std::uniform_int_distribution<std::size_t> list_size(0, 40);
  int with_brackets = 0;
  int folded_before_another_number = 0;
  for (int round = 0; round < 400; ++round) {
    Names const names = generated_names(random, list_size(random));
    SCOPED_TRACE(quoted(names));
    std::string const expected = reference::merged_hosts(names);
    ASSERT_EQ(TokenizedHost::get_merged_hosts(names), expected);
    ASSERT_EQ(merged_by_steps(names), expected);
    if (expected.find('[') != std::string::npos) ++with_brackets;
    if (expected.find("]") != std::string::npos && expected.find(']') + 1 < expected.size() &&
        expected.find_first_of("0123456789", expected.find(']')) != std::string::npos) {
      ++folded_before_another_number;
    }
  }
  // The generator must produce folds, and folds with further numbers after
  // them, for the comparison to mean anything.
  EXPECT_GT(with_brackets, 150);
  EXPECT_GT(folded_before_another_number, 100);
}

TEST(GetMergedHostsProperty, MatchesThePlainReferenceOnLongLists) {
  std::mt19937 random(77);
  for (std::size_t size : {300, 1500}) {
    Names const names = generated_names(random, size);
    EXPECT_EQ(TokenizedHost::get_merged_hosts(names), reference::merged_hosts(names));
  }
}

TEST(GetMergedHostsProperty, IgnoresInputOrder) {
  std::mt19937 random(5);
  for (int round = 0; round < 100; ++round) {
    Names names = generated_names(random, 30);
    std::string const merged = TokenizedHost::get_merged_hosts(names);
    std::shuffle(names.begin(), names.end(), random);
    ASSERT_EQ(TokenizedHost::get_merged_hosts(names), merged) << quoted(names);
    std::reverse(names.begin(), names.end());
    ASSERT_EQ(TokenizedHost::get_merged_hosts(names), merged) << quoted(names);
  }
}

TEST(GetMergedHostsProperty, FoldsAWholeRangeOfNames) {
  Names names;
  for (int i = 20000; i >= 1; --i) {
    char name[16];
    std::snprintf(name, sizeof name, "node%05d", i);
    names.push_back(name);
  }
  EXPECT_EQ(TokenizedHost::get_merged_hosts(names),
            "node[00001-00009], node[00010-00099], "
            "node[00100-00999], node[01000-09999], "
            "node[10000-20000]");
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

// The plain reading of a range list: std::stoul, every value enumerated into
// an ordered set. Only usable for narrow ranges.
std::vector<int> reference_expansion(std::string const& list) {
  std::vector<std::string> const items = krel::str::split(krel::str::stripws(list), ',', true);
  std::set<int> values;
  try {
    for (std::string const& item : items) {
      std::size_t stop = 0;
      unsigned long const low = std::stoul(item, &stop);
      unsigned long high = low;
      if (stop < item.size()) {
        if (item[stop] != '-') return {};
        std::string const rest = item.substr(stop + 1);
        high = std::stoul(rest, &stop);
        if (stop != rest.size()) return {};
      }
      if (low > high) return {};
      for (unsigned long v = low;; ++v) {
        values.insert(static_cast<int>(v));
        if (v == high) break;
      }
    }
  } catch (...) {
    return {};
  }
  return std::vector<int>(values.begin(), values.end());
}

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
    std::vector<int> const expected = reference_expansion(list);
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

// ===========================================================================
// Expansion of host-list notation (TokenizedHost::expand_hosts), and the
// round trip with folding. Kept as one section of its own.
// ===========================================================================

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "krel/hostlist.hpp"
#include "test_support.hpp"

namespace expand_hosts_tests {

using krel::TokenizedHost;
using Names = std::vector<std::string>;

constexpr int kWarning = 4;

struct ExpansionRow {
  std::string notation;
  Names names;
};

void expect_expansions(std::vector<ExpansionRow> const& rows) {
  krel_test::LogSettings log(kWarning);
  for (ExpansionRow const& row : rows) {
    Names names;
    std::string const records =
        krel_test::capture_stderr([&] { names = TokenizedHost::expand_hosts(row.notation); });
    EXPECT_EQ(names, row.names) << "notation: \"" << row.notation << "\"";
    EXPECT_EQ(records, "") << "notation: \"" << row.notation << "\"";
  }
}

Names numbered(std::string const& stem, std::vector<std::string> const& numbers,
               std::string const& tail = "") {
  Names names;
  for (std::string const& number : numbers)
    names.push_back(stem + number + tail);
  return names;
}

TEST(ExpandHosts, ExpandsPiecesInOrderOfAppearance) {
  expect_expansions({
      {"", {}},
      {" \t\n ", {}},
      {"node1", {"node1"}},
      {"login1, node[01-03,05]", {"login1", "node01", "node02", "node03", "node05"}},
      {"node[1-3,5]", {"node1", "node2", "node3", "node5"}},
      {"  a ,\tb\n", {"a", "b"}},
      {"b,a", {"b", "a"}},
      {"[1-3]", {"1", "2", "3"}},
      {"[0-1]x", {"0x", "1x"}},
      {"a[7]b", {"a7b"}},
      {"node[ 1 - 2 , 4 ]", {"node1", "node2", "node4"}},
      {"cn-[1-2].ib", {"cn-1.ib", "cn-2.ib"}},
      {"node 1", {"node 1"}},
  });
}

TEST(ExpandHosts, KeepsDuplicatesAndItemOrder) {
  expect_expansions({
      {"n[3,1,3]", {"n3", "n1", "n3"}},
      {"a, a", {"a", "a"}},
      {"n[5,1-3]", {"n5", "n1", "n2", "n3"}},
      {"n[1-2], n1", {"n1", "n2", "n1"}},
  });
}

TEST(ExpandHosts, SeveralBracketsExpandLeftmostSlowest) {
  expect_expansions({
      {"r[1-2]c[1-2]", {"r1c1", "r1c2", "r2c1", "r2c2"}},
      {"r[1-2]c1, r[1-2]c2", {"r1c1", "r2c1", "r1c2", "r2c2"}},
      {"x[1-2]y[3]z[4-5]", {"x1y3z4", "x1y3z5", "x2y3z4", "x2y3z5"}},
      {"[1-2][8-9]", {"18", "19", "28", "29"}},
      {"r[09-010]c[1,3]", {"r09c1", "r09c3", "r010c1", "r010c3"}},
  });
}

TEST(ExpandHosts, EmptyPiecesAreEmptyNames) {
  // Folding writes an empty name as an empty piece, so expansion reads it back.
  expect_expansions({
      {", a1", {"", "a1"}},
      {"a,,b", {"a", "", "b"}},
      {"a, ", {"a", ""}},
  });
}

TEST(ExpandHosts, PadsRangesWithBoundsOfOneWidth) {
  expect_expansions({
      {"node[01-10]",
       numbered("node", {"01", "02", "03", "04", "05", "06", "07", "08", "09", "10"})},
      {"cn[08-09]", {"cn08", "cn09"}},
      {"cn[08-11]", {"cn08", "cn09", "cn10", "cn11"}},
      {"n[098-101]", {"n098", "n099", "n100", "n101"}},
      {"n[00-02]", {"n00", "n01", "n02"}},
      {"n[4-4]", {"n4"}},
      {"n[0004-0004]", {"n0004"}},
  });
}

TEST(ExpandHosts, PadsRangesWithBoundsOfTwoWidthsLikeTheLowBound) {
  expect_expansions({
      {"cn[09-010]", {"cn09", "cn010"}},
      {"n[1-10]", numbered("n", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"})},
      {"n[98-101]", {"n98", "n99", "n100", "n101"}},
      {"n[098-0101]", {"n098", "n099", "n0100", "n0101"}},
      {"n[00-010]",
       numbered("n", {"00", "01", "02", "03", "04", "05", "06", "07", "08", "09", "010"})},
      {"n[0-10]", numbered("n", {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"})},
      {"n[001-3]", {"n001", "n002", "n003"}},
      {"n[0009-10]", {"n0009", "n00010"}},
  });
}

TEST(ExpandHosts, WritesSingleValuesAsGiven) {
  expect_expansions({
      {"n[007]", {"n007"}},
      {"n[000]", {"n000"}},
      {"n[0]", {"n0"}},
      {"n[05,3,010]", {"n05", "n3", "n010"}},
      {"n[0000000000000000000000000001]", {"n0000000000000000000000000001"}},
      {"n[999999999999999999]", {"n999999999999999999"}},
  });
}

// ---------------------------------------------------------------------------
// Bad input: one warning record naming the piece, and no names.
// ---------------------------------------------------------------------------

struct BadInputRow {
  std::string notation;
  std::string record;
};

TEST(ExpandHosts, BadInputGivesOneWarningNamingThePiece) {
  std::vector<BadInputRow> const rows = {
      {"node[1-3", "cannot expand \"node[1-3\": unbalanced brackets\n"},
      {"node[1-3,5", "cannot expand \"node[1-3,5\": unbalanced brackets\n"},
      {"node1-3], a", "cannot expand \"node1-3]\": unbalanced brackets\n"},
      {"a, node[1[2]], b", "cannot expand \"node[1[2]]\": nested brackets\n"},
      {"node[]", "cannot expand \"node[]\": empty brackets\n"},
      {"node[ ]", "cannot expand \"node[ ]\": empty brackets\n"},
      {"node[3-1]", "cannot expand \"node[3-1]\": descending range \"3-1\"\n"},
      {"node[010-09]", "cannot expand \"node[010-09]\": descending range \"010-09\"\n"},
      {"node[1-x]", "cannot expand \"node[1-x]\": bad item \"1-x\"\n"},
      {"node[1,,2]", "cannot expand \"node[1,,2]\": bad item \"\"\n"},
      {"node[1,]", "cannot expand \"node[1,]\": bad item \"\"\n"},
      {"node[1-]", "cannot expand \"node[1-]\": bad item \"1-\"\n"},
      {"node[-2]", "cannot expand \"node[-2]\": bad item \"-2\"\n"},
      {"node[+2]", "cannot expand \"node[+2]\": bad item \"+2\"\n"},
      {"node[1-2-3]", "cannot expand \"node[1-2-3]\": bad item \"1-2-3\"\n"},
      {"node[1 2]", "cannot expand \"node[1 2]\": bad item \"1 2\"\n"},
      {"node[1234567890123456789]",
       "cannot expand \"node[1234567890123456789]\": number too large "
       "\"1234567890123456789\"\n"},
      {" a[1-2],  b[2-1] , c[", "cannot expand \"b[2-1]\": descending range \"2-1\"\n"},
  };
  krel_test::LogSettings log(kWarning);
  for (BadInputRow const& row : rows) {
    Names names{"stale"};
    std::string const records =
        krel_test::capture_stderr([&] { names = TokenizedHost::expand_hosts(row.notation); });
    EXPECT_EQ(records, row.record) << "notation: \"" << row.notation << "\"";
    EXPECT_TRUE(names.empty()) << "notation: \"" << row.notation << "\"";
  }
}

TEST(ExpandHosts, BadInputRecordIsAWarningOnly) {
  krel_test::LogSettings log(3);
  Names names{"stale"};
  std::string const records =
      krel_test::capture_stderr([&] { names = TokenizedHost::expand_hosts("node[3-1]"); });
  EXPECT_EQ(records, "");
  EXPECT_TRUE(names.empty());
}

// ---------------------------------------------------------------------------
// The guard against huge expansions.
// ---------------------------------------------------------------------------

struct GuardRow {
  std::string notation;
  std::size_t max_names;
  std::size_t expected_count;
  std::string record;
};

TEST(ExpandHosts, MaxNamesGuardsTheWholeExpansion) {
  std::vector<GuardRow> const rows = {
      {"n[1-5]", 5, 5, ""},
      {"n[1-5]", 4, 0, "cannot expand \"n[1-5]\": more than 4 names\n"},
      {"a, b, c", 2, 0, "cannot expand \"c\": more than 2 names\n"},
      {"a, b, c", 3, 3, ""},
      {"r[1-3]c[1-3]", 8, 0, "cannot expand \"r[1-3]c[1-3]\": more than 8 names\n"},
      {"a", 0, 0, "cannot expand \"a\": more than 0 names\n"},
      {"", 0, 0, ""},
      {"n[1-999999999999999999]", 10000000, 0,
       "cannot expand \"n[1-999999999999999999]\": more than 10000000 names\n"},
      // The product of these counts is far beyond 64 bits; it saturates.
      {"n[1-999999999999999999][1-999999999999999999][1-999999999999999999]", 10000000, 0,
       "cannot expand \"n[1-999999999999999999][1-999999999999999999][1-999999999999999999]\": "
       "more than 10000000 names\n"},
      {"n[0-999999999999999999,0-999999999999999999,0-999999999999999999]", 10000000, 0,
       "cannot expand \"n[0-999999999999999999,0-999999999999999999,0-999999999999999999]\": "
       "more than 10000000 names\n"},
  };
  krel_test::LogSettings log(kWarning);
  for (GuardRow const& row : rows) {
    Names names;
    std::string const records = krel_test::capture_stderr(
        [&] { names = TokenizedHost::expand_hosts(row.notation, row.max_names); });
    EXPECT_EQ(names.size(), row.expected_count) << "notation: \"" << row.notation << "\"";
    EXPECT_EQ(records, row.record) << "notation: \"" << row.notation << "\"";
  }
}

TEST(ExpandHosts, DefaultGuardIsTenMillionNames) {
  krel_test::LogSettings log(kWarning);
  Names names;
  std::string const records = krel_test::capture_stderr(
      [&] { names = TokenizedHost::expand_hosts("n[1-5000000], m[1-5000001]"); });
  EXPECT_EQ(records, "cannot expand \"m[1-5000001]\": more than 10000000 names\n");
  EXPECT_TRUE(names.empty());
}

TEST(ExpandHosts, ExpandsAMillionNames) {
  Names const names = TokenizedHost::expand_hosts("node[1-1000000]");
  ASSERT_EQ(names.size(), 1000000u);
  EXPECT_EQ(names.front(), "node1");
  EXPECT_EQ(names[8], "node9");
  EXPECT_EQ(names[9], "node10");
  EXPECT_EQ(names[99999], "node100000");
  EXPECT_EQ(names.back(), "node1000000");
}

// ---------------------------------------------------------------------------
// Folding and expanding again.
// ---------------------------------------------------------------------------

std::set<std::string> expanded_set(std::string const& notation) {
  Names const names = TokenizedHost::expand_hosts(notation);
  return std::set<std::string>(names.begin(), names.end());
}

struct RoundTripRow {
  Names names;
  std::string folded;
};

// Cases that other host-list tools got wrong, each folded and expanded back.
TEST(ExpandHosts, RoundTripKeepsEverySpelling) {
  std::vector<RoundTripRow> const rows = {
      {{"c09", "c010"}, "c[09-010]"},
      {{"listserv01", "listserv3"}, "listserv01, listserv3"},
      {{"server1", "server2", "server03"}, "server03, server[1-2]"},
      {numbered("node", {"541", "542", "570"}), "node[541-542,570]"},
      {numbered("node", {"0541", "0542", "0570"}), "node[0541-0542,0570]"},
      {{"0", "42"}, "[0,42]"},
      {{"0"}, "0"},
      {{"42", "43", "7"}, "[7,42-43]"},
      {{"007", "008"}, "[007-008]"},
      {{"cn08", "cn09", "cn10", "cn11"}, "cn[08-09], cn[10-11]"},
      {{"r1c1", "r1c2", "r2c1", "r2c2"}, "r[1-2]c1, r[1-2]c2"},
      {{"", "a1"}, ", a1"},
  };
  for (RoundTripRow const& row : rows) {
    std::string const folded = TokenizedHost::get_merged_hosts(row.names);
    EXPECT_EQ(folded, row.folded);
    EXPECT_EQ(expanded_set(folded), std::set<std::string>(row.names.begin(), row.names.end()))
        << "folded: \"" << folded << "\"";
  }
}

TEST(ExpandHosts, PaddedAndUnpaddedRangesAreDifferentHosts) {
  std::set<std::string> const plain = expanded_set("node[541-570]");
  std::set<std::string> const padded = expanded_set("node[0541-0570]");
  ASSERT_EQ(plain.size(), 30u);
  ASSERT_EQ(padded.size(), 30u);
  for (std::string const& name : plain)
    EXPECT_EQ(padded.count(name), 0u) << name;
  EXPECT_EQ(TokenizedHost::get_merged_hosts(Names(plain.begin(), plain.end())), "node[541-570]");
  EXPECT_EQ(TokenizedHost::get_merged_hosts(Names(padded.begin(), padded.end())),
            "node[0541-0570]");
}

TEST(ExpandHosts, HandWrittenFormsFoldBackToTheirCanonicalForm) {
  EXPECT_EQ(TokenizedHost::get_merged_hosts(TokenizedHost::expand_hosts("r[1-2]c[1-2]")),
            "r[1-2]c1, r[1-2]c2");
  EXPECT_EQ(TokenizedHost::get_merged_hosts(TokenizedHost::expand_hosts("node[08-11]")),
            "node[08-09], node[10-11]");
  EXPECT_EQ(TokenizedHost::get_merged_hosts(TokenizedHost::expand_hosts("n[3,1,3,2]")), "n[1-3]");
}

// Random host names: stems from a small alphabet (digits never touch a stem
// boundary by accident, since the generator writes whole tokens), one to
// three numbers with zero to two padding zeros, values around the points
// where the digit count changes.
class NameGenerator {
 public:
  explicit NameGenerator(unsigned seed) : random_(seed) {}

  Names list(std::size_t count) {
    // A few shapes per list, so that names group and fold.
    std::vector<std::vector<std::string>> shapes;
    std::size_t const shape_count = 1 + pick(3);
    for (std::size_t s = 0; s < shape_count; ++s)
      shapes.push_back(shape());
    Names names;
    for (std::size_t i = 0; i < count; ++i)
      names.push_back(name(shapes[pick(shape_count)]));
    return names;
  }

 private:
  std::size_t pick(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }

  std::string text() {
    static char const kLetters[] = "abcnrx-._";
    std::string result;
    std::size_t const length = 1 + pick(3);
    for (std::size_t i = 0; i < length; ++i)
      result += kLetters[pick(sizeof kLetters - 1)];
    return result;
  }

  // Texts of a shape; an empty text between numbers is not possible (two
  // digit runs would merge), so a shape alternates text and number slots.
  std::vector<std::string> shape() {
    std::vector<std::string> texts;
    std::size_t const numbers = 1 + pick(3);
    bool const starts_with_number = pick(6) == 0;
    texts.push_back(starts_with_number ? "" : text());
    for (std::size_t n = 1; n < numbers; ++n)
      texts.push_back(text());
    texts.push_back(pick(3) == 0 ? text() : "");
    return texts;
  }

  std::string number() {
    static int const kCentres[] = {0, 5, 9, 10, 99, 100, 999, 1000, 541};
    int const centre = kCentres[pick(sizeof kCentres / sizeof kCentres[0])];
    int const value = std::max(0, centre - 3 + static_cast<int>(pick(7)));
    std::size_t const zeros = pick(4) == 0 ? pick(3) : 0;
    return std::string(zeros, '0') + std::to_string(value);
  }

  std::string name(std::vector<std::string> const& texts) {
    std::string result = texts.front();
    for (std::size_t t = 1; t < texts.size(); ++t)
      result += number() + texts[t];
    return result;
  }

  std::mt19937 random_;
};

TEST(ExpandHosts, ExpandingAFoldGivesTheDistinctNamesBack) {
  NameGenerator generator(20261121);
  for (int round = 0; round < 400; ++round) {
    Names const names = generator.list(1 + static_cast<std::size_t>(round % 80));
    std::string const folded = TokenizedHost::get_merged_hosts(names);
    Names expanded = TokenizedHost::expand_hosts(folded);
    std::set<std::string> const distinct(names.begin(), names.end());
    // Exactly the distinct names, each once: pieces never overlap.
    std::sort(expanded.begin(), expanded.end());
    ASSERT_EQ(expanded, Names(distinct.begin(), distinct.end())) << "folded: \"" << folded << "\"";
    // And the fold of the expansion is the fold itself.
    ASSERT_EQ(TokenizedHost::get_merged_hosts(expanded), folded);
  }
}

TEST(ExpandHosts, ExpandingAFoldOfDigitOnlyNamesGivesThemBack) {
  std::mt19937 random(7);
  for (int round = 0; round < 100; ++round) {
    Names names;
    std::size_t const count = 1 + static_cast<std::size_t>(round % 30);
    for (std::size_t i = 0; i < count; ++i) {
      std::size_t const zeros = random() % 3;
      names.push_back(std::string(zeros, '0') + std::to_string(random() % 120));
    }
    std::string const folded = TokenizedHost::get_merged_hosts(names);
    EXPECT_EQ(expanded_set(folded), std::set<std::string>(names.begin(), names.end()))
        << "folded: \"" << folded << "\"";
  }
}

}  // namespace expand_hosts_tests
