#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "krel/hostlist.hpp"
#include "test_support.hpp"

namespace {

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
  });
}

TEST(ExpandHosts, PadsRangesWithAWiderLowBoundToItsWidth) {
  expect_expansions({
      {"n[009-11]", {"n009", "n010", "n011"}},
      {"n[0009-10]", {"n0009", "n0010"}},
  });
}

TEST(ExpandHosts, ReadsSteps) {
  expect_expansions({
      {"node[1-9/4]", {"node1", "node5", "node9"}},
      {"n[08-12/2], m[1-2/5]", {"n08", "n10", "n12", "m1"}},
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
      {"node[1-9/0]", "cannot expand \"node[1-9/0]\": step 0 in \"1-9/0\"\n"},
      {"node[5/2]", "cannot expand \"node[5/2]\": bad item \"5/2\"\n"},
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

}  // namespace
