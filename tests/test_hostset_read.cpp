// Reading host-list notation into host sets (hostset_read.cpp,
// hostset_build.cpp, hostset_bracket_piece.cpp): every notation rule, every padding rule, steps,
// the exact messages for bad notation, and the names in the order written.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "krel/hostset.hpp"
#include "test_support.hpp"

namespace {

using krel::HostSet;
using Names = std::vector<std::string>;

struct ReadRow {
  std::string notation;
  Names names;  // in iteration order
};

void expect_reads(std::vector<ReadRow> const& rows) {
  for (ReadRow const& row : rows) {
    std::string error = "untouched";
    std::string records;
    std::optional<HostSet> set;
    records = krel_test::capture_stderr([&] { set = HostSet::parse(row.notation, &error); });
    ASSERT_TRUE(set.has_value()) << "notation: \"" << row.notation << "\" error: " << error;
    EXPECT_EQ(set->expand(), row.names) << "notation: \"" << row.notation << "\"";
    EXPECT_EQ(set->size(), row.names.size()) << "notation: \"" << row.notation << "\"";
    EXPECT_TRUE(krel_test::verified(*set)) << "notation: \"" << row.notation << "\"";
    EXPECT_EQ(error, "untouched") << "notation: \"" << row.notation << "\"";
    EXPECT_EQ(records, "") << "notation: \"" << row.notation << "\"";
  }
}

TEST(HostSetRead, ReadsPiecesSeparatedByCommasAndBlanks) {
  expect_reads({
      {"", {}},
      {" \t\n ", {}},
      {",, ,", {}},
      {"node1", {"node1"}},
      {"login1, node[01-03,05]", {"login1", "node01", "node02", "node03", "node05"}},
      {"node3\nnode1\nnode2\n", {"node1", "node2", "node3"}},
      {"b a\tc", {"a", "b", "c"}},
      {"node[ 1 - 2 , 4 ]", {"node1", "node2", "node4"}},
      {"cn-[1-2].ib", {"cn-1.ib", "cn-2.ib"}},
      {"[1-3]", {"1", "2", "3"}},
      {"a,a,a", {"a"}},
  });
}

TEST(HostSetRead, SeveralBracketsAreAProduct) {
  expect_reads({
      {"r[1-2]c[1-2]", {"r1c1", "r1c2", "r2c1", "r2c2"}},
      {"x[1-2]y[3]z[4-5]", {"x1y3z4", "x1y3z5", "x2y3z4", "x2y3z5"}},
      {"r[2,1]c1 r1c[2,1]", {"r1c1", "r1c2", "r2c1"}},
  });
}

TEST(HostSetRead, DigitsNextToABracketJoinItsNumber) {
  expect_reads({
      {"n0[1-3]", {"n01", "n02", "n03"}},
      {"n1[8-10]", {"n18", "n19", "n110"}},
      {"n[1-2]3", {"n13", "n23"}},
      {"n[1-2][8-9]", {"n18", "n19", "n28", "n29"}},
      {"n[0-1][0-2]", {"n00", "n01", "n02", "n10", "n11", "n12"}},
  });
}

TEST(HostSetRead, StepsPickEveryNthValue) {
  expect_reads({
      {"node[1-9/2]", {"node1", "node3", "node5", "node7", "node9"}},
      {"node[1-10/3]", {"node1", "node4", "node7", "node10"}},
      {"n[08-12/2]", {"n08", "n10", "n12"}},
      {"n[5-5/7]", {"n5"}},
      {"n[ 1 - 5 / 4 ]", {"n1", "n5"}},
  });
}

TEST(HostSetRead, BoundsOfOneWidthPadEveryValue) {
  expect_reads({
      {"n[08-11]", {"n08", "n09", "n10", "n11"}},
      {"n[00-02]", {"n00", "n01", "n02"}},
      {"n[098-101]", {"n098", "n099", "n100", "n101"}},
  });
}

TEST(HostSetRead, AWiderLowBoundPadsToItsWidth) {
  expect_reads({
      {"n[009-11]", {"n009", "n010", "n011"}},
      {"n[0009-10]", {"n0009", "n0010"}},
      {"n[001-3]", {"n001", "n002", "n003"}},
  });
}

TEST(HostSetRead, APaddedNarrowLowBoundKeepsItsZeros) {
  expect_reads({
      {"cn[09-010]", {"cn09", "cn010"}},
      {"n[00-010]", {"n00", "n01", "n02", "n03", "n04", "n05", "n06", "n07", "n08", "n09", "n010"}},
      {"n[098-0101]", {"n098", "n099", "n0100", "n0101"}},
  });
}

TEST(HostSetRead, UnpaddedBoundsWriteValuesPlainly) {
  expect_reads({
      {"n[8-10]", {"n8", "n9", "n10"}},
      {"n[98-101]", {"n98", "n99", "n100", "n101"}},
      {"n[0-10]", {"n0", "n1", "n2", "n3", "n4", "n5", "n6", "n7", "n8", "n9", "n10"}},
  });
}

TEST(HostSetRead, SingleValuesStayAsWritten) {
  expect_reads({
      {"n[007]", {"n007"}},
      {"n[000]", {"n000"}},
      {"n[0]", {"n0"}},
      {"n[05,3,010]", {"n3", "n05", "n010"}},
      {"n7 n07 n007", {"n7", "n07", "n007"}},
  });
}

TEST(HostSetRead, OrdersByPatternThenWidthThenValue) {
  expect_reads({
      {"listserv01 listserv3", {"listserv3", "listserv01"}},
      {"cn10 cn09 cn8", {"cn8", "cn09", "cn10"}},
      {"n011 n010 n10 n9 n8", {"n8", "n9", "n10", "n010", "n011"}},
      {"b1,a1,a,b,a1b2,a1x,a-1,1a,1", {"1", "1a", "a", "a1", "a1b2", "a1x", "a-1", "b", "b1"}},
      // Patterns order by their key, a number standing as "%s", '%' as "%%".
      {"a-1 a1x a%1 a1 x1 xy", {"a%1", "a1", "a1x", "a-1", "x1", "xy"}},
  });
}

TEST(HostSetRead, NamesOfAnEarlierPatternAfterManyNewOnesReadRight) {
  // Each long name makes a new pattern, which grows the store of pattern
  // keys; names of the first pattern come between them, and their texts must
  // be taken from the grown store (a memory checker tells stale reads).
  std::string notation = "a1";
  Names long_names;
  for (int i = 0; i < 40; ++i) {
    std::string const name = "b" + std::string(static_cast<std::size_t>(30 + i), 'x') + "y1";
    notation += " " + name + " a2 a3";
    long_names.push_back(name);
  }
  // 'x' sorts before 'y': the longest run of x first.
  Names names = {"a1", "a2", "a3"};
  names.insert(names.end(), long_names.rbegin(), long_names.rend());
  expect_reads({{notation, names}});
}

TEST(HostSetRead, LongDigitRunsOutsideBracketsStayText) {
  expect_reads({
      {"x99999999999999999999999y", {"x99999999999999999999999y"}},
      {"n18446744073709551615", {"n18446744073709551615"}},
      {"n00000000000000000000000001", {"n00000000000000000000000001"}},
  });
}

TEST(HostSetRead, KeepsNumbersOfAnyValueAndWidth) {
  // Values from 2^56 and widths from 256 digits take more room than most
  // numbers; names of both kinds mix in one pattern, first or later.
  std::string const zeros(299, '0');
  expect_reads({
      {"n1 n72057594037927936 n2 n18446744073709551615",
       {"n1", "n2", "n72057594037927936", "n18446744073709551615"}},
      {"m72057594037927936 m1", {"m1", "m72057594037927936"}},
      {"m72057594037927936 m72057594037927935", {"m72057594037927935", "m72057594037927936"}},
      {"x" + zeros + "8 x7 x" + zeros + "7", {"x7", "x" + zeros + "7", "x" + zeros + "8"}},
      {"r1c72057594037927936 r1c1 r2c1", {"r1c1", "r1c72057594037927936", "r2c1"}},
  });
  EXPECT_EQ(HostSet::parse("x" + zeros + "7 x" + zeros + "8")->fold(),
            "x[" + zeros + "7-" + zeros + "8]");
}

TEST(HostSetRead, DigitRunsPastTheHundredAndTwentyEighthNumberAreText) {
  std::string name;
  for (int i = 0; i < 200; ++i)
    name += "a" + std::to_string(i);
  std::string second = name;
  second[second.size() - 1] = '8';  // a199 -> a198: text, not a number
  std::optional<HostSet> const set = HostSet::parse(name + " " + second);
  ASSERT_TRUE(set.has_value());
  EXPECT_EQ(set->size(), 2u);
  EXPECT_TRUE(set->contains(name));
  EXPECT_EQ(HostSet::parse(set->fold()), set);
  std::string bracketed;
  for (int i = 0; i < 129; ++i)
    bracketed += "a[1-2]";
  std::string error;
  EXPECT_EQ(HostSet::parse(bracketed, &error), std::nullopt);
  EXPECT_EQ(error, "cannot read \"" + bracketed + "\": more than 128 numbers in a name");
}

TEST(HostSetRead, CountsWithoutExpanding) {
  struct Row {
    std::string notation;
    std::uint64_t size;
  };
  std::vector<Row> const rows = {
      {"node[0-18446744073709551614]", 18446744073709551615u},
      {"node[1-1000000000]", 1000000000u},
      {"r[1-100000]c[1-100000]", 10000000000u},
      {"n[1-10,5-20]", 20u},
      {"n[0-18446744073709551614],n[0-18446744073709551614]", 18446744073709551615u},
  };
  for (Row const& row : rows) {
    std::optional<HostSet> const set = HostSet::parse(row.notation);
    ASSERT_TRUE(set.has_value()) << row.notation;
    EXPECT_EQ(set->size(), row.size) << row.notation;
  }
}

struct BadRow {
  std::string notation;
  std::string message;
};

TEST(HostSetRead, BadNotationGivesOneMessageNamingThePiece) {
  std::vector<BadRow> const rows = {
      {"node[1-3", "cannot read \"node[1-3\": unbalanced brackets"},
      {"a node1-3] b", "cannot read \"node1-3]\": unbalanced brackets"},
      {"node[1[2]]", "cannot read \"node[1[2]]\": nested brackets"},
      {"node[]", "cannot read \"node[]\": empty brackets"},
      {"node[ ]", "cannot read \"node[ ]\": empty brackets"},
      {"node[1,,2]", "cannot read \"node[1,,2]\": empty item"},
      {"node[1,]", "cannot read \"node[1,]\": empty item"},
      {"node[1-x]", "cannot read \"node[1-x]\": bad item 1-x"},
      {"node[-2]", "cannot read \"node[-2]\": bad item -2"},
      {"node[1-2-3]", "cannot read \"node[1-2-3]\": bad item 1-2-3"},
      {"node[5/2]", "cannot read \"node[5/2]\": bad item 5/2"},
      {"node[3-1]", "cannot read \"node[3-1]\": descending range 3-1"},
      {"node[010-09]", "cannot read \"node[010-09]\": descending range 010-09"},
      {"node[1-9/0]", "cannot read \"node[1-9/0]\": step 0 in 1-9/0"},
      {"n[18446744073709551616]",
       "cannot read \"n[18446744073709551616]\": number too large in 18446744073709551616"},
      {"n[0-18446744073709551615]",
       "cannot read \"n[0-18446744073709551615]\": more than 18446744073709551615 names"},
      {"r[0-4294967296]c[0-4294967295]",
       "cannot read \"r[0-4294967296]c[0-4294967295]\": more than 18446744073709551615 names"},
      {"n[1-10000000/2]", "cannot read \"n[1-10000000/2]\": more than 1048576 separate values"},
      // A pattern that grows too large is named by its last piece, and a
      // set of patterns that does by the last piece of all.
      {"n[0-18446744073709551614] m1 n18446744073709551615",
       "cannot read \"n18446744073709551615\": more than 18446744073709551615 names"},
      {"n18446744073709551615 m1 n[0-18446744073709551614] m2",
       "cannot read \"n[0-18446744073709551614]\": more than 18446744073709551615 names"},
      {"n[0-18446744073709551614] m1 x", "cannot read \"x\": more than 18446744073709551615 names"},
      {"a[1-2] b[2-1] c[", "cannot read \"b[2-1]\": descending range 2-1"},
  };
  for (BadRow const& row : rows) {
    std::string error;
    std::optional<HostSet> set;
    std::string const records =
        krel_test::capture_stderr([&] { set = HostSet::parse(row.notation, &error); });
    EXPECT_FALSE(set.has_value()) << row.notation;
    EXPECT_EQ(error, row.message) << row.notation;
    EXPECT_EQ(records, "") << row.notation;
    EXPECT_FALSE(HostSet::parse(row.notation).has_value()) << row.notation;
  }
}

TEST(HostSetRead, VisitsNamesInTheOrderWritten) {
  struct Row {
    std::string notation;
    Names names;
  };
  std::vector<Row> const rows = {
      {"n[3,1],n3", {"n3", "n1", "n3"}},
      {"b a", {"b", "a"}},
      {"r[1-2]c[1-2]", {"r1c1", "r1c2", "r2c1", "r2c2"}},
      {"n[1-9/4]", {"n1", "n5", "n9"}},
      {"cn[09-010] n[009-11]", {"cn09", "cn010", "n009", "n010", "n011"}},
      {"n[98-101/3]", {"n98", "n101"}},
      {"", {}},
  };
  for (Row const& row : rows) {
    Names names;
    std::string error;
    EXPECT_TRUE(HostSet::for_each_written(
        row.notation, [&names](std::string_view name) { names.emplace_back(name); }, &error))
        << row.notation;
    EXPECT_EQ(names, row.names) << row.notation;
    EXPECT_EQ(HostSet::count_written(row.notation), row.names.size()) << row.notation;
  }
}

TEST(HostSetRead, WrittenOrderChecksEverythingBeforeTheFirstName) {
  Names names;
  std::string error;
  EXPECT_FALSE(HostSet::for_each_written(
      "a b n[2-1]", [&names](std::string_view name) { names.emplace_back(name); }, &error));
  EXPECT_EQ(names, Names{});
  EXPECT_EQ(error, "cannot read \"n[2-1]\": descending range 2-1");
  error.clear();
  EXPECT_EQ(HostSet::count_written("n[1-3] m[", &error), std::nullopt);
  EXPECT_EQ(error, "cannot read \"m[\": unbalanced brackets");
  EXPECT_EQ(HostSet::count_written("n[0-18446744073709551614] m", &error), std::nullopt);
  EXPECT_EQ(error, "cannot read \"m\": more than 18446744073709551615 names");
  EXPECT_EQ(HostSet::count_written("n[1-3],n2"), 4u);
  EXPECT_EQ(HostSet::count_written("n[0-18446744073709551614]"), 18446744073709551615u);
}

}  // namespace

// Found by fuzzing: 40 bytes that stand for 469,206 stepped values of
// growing widths (a digit next to the bracket joins every value). The set
// is read, counted and written back; its stepped fold is short.
TEST(HostSetRead, ReadsStepsOfManyWidthsFromAShortNotation) {
  std::string const notation(
      "na0\x0f"
      "19999b0[0-4481674407370/9551615]");
  std::optional<HostSet> const set = HostSet::parse(notation);
  ASSERT_TRUE(set.has_value());
  EXPECT_TRUE(krel_test::verified(*set));
  EXPECT_EQ(set->size(), 469206u);
  krel::HostSetFoldOptions stepped;
  stepped.autostep = 3;
  std::string const folded = set->fold(stepped);
  EXPECT_EQ(folded,
            "na0\x0f"
            "19999b[00,09551615,019103230-095516150/9551615,0105067765-0993367960/9551615,"
            "01002919575-09990989290/9551615,010000540905-099995857435/9551615,"
            "0100005409050-0999996780810/9551615,01000006332425-04481665516075/9551615]");
  EXPECT_EQ(HostSet::parse(folded), set);
  EXPECT_EQ(set->fold().size(), 6921765u);
}
