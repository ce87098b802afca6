#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "krel/hostlist.hpp"
#include "krel/ranges.hpp"
#include "models.hpp"
#include "test_support.hpp"

namespace {

using krel::TokenizedHost;
using krel_test::capture_stderr;
using krel_test::LogSettings;
using krel_test::out_of_range_message;
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
// Merging against the plain model (tests/models)
// ---------------------------------------------------------------------------

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
    std::string const expected = krel_model::merged_ints(values, expected_multiple, padding);
    bool multiple = !expected_multiple;
    ASSERT_EQ(krel::str::get_merged_ints(values, multiple, padding), expected);
    ASSERT_EQ(multiple, expected_multiple);
  }
}

}  // namespace
