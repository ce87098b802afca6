// Writing host sets as notation (hostset_write.cpp, hostset_axes.cpp): the
// padding rules every peer reads the same way, n-dimensional folding, axes,
// autostep and separators.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "krel/hostset.hpp"
#include "test_support.hpp"

namespace {

using krel::HostSet;
using krel::HostSetFoldOptions;
using krel_test::read_hosts;
using krel_test::verified;

struct FoldRow {
  std::string notation;
  std::string folded;
};

void expect_folds(std::vector<FoldRow> const& rows, HostSetFoldOptions const& options = {}) {
  for (FoldRow const& row : rows) {
    HostSet const set = read_hosts(row.notation);
    EXPECT_EQ(set.fold(options), row.folded) << "notation: \"" << row.notation << "\"";
    // Whatever is written reads back as the same set.
    EXPECT_EQ(read_hosts(set.fold(options)), set) << "notation: \"" << row.notation << "\"";
  }
}

TEST(HostSetWrite, FoldsOneDimensionLikeThePeers) {
  expect_folds({
      {"", ""},
      {"node1", "node1"},
      {"node3 node1 node2 login1", "login1,node[1-3]"},
      {"n[1-3,5]", "n[1-3,5]"},
      {"node[1-9/2]", "node[1,3,5,7,9]"},
      {"b1,a1,a,b,a1b2,a2b1,a1x,ab1,a-1,A1,a1.b,a10,_1,1a,1,z",
       "1,1a,A1,_1,a,a[1,10],a1.b,a1b2,a2b1,a1x,a-1,ab1,b,b1,z"},
  });
}

TEST(HostSetWrite, WritesARangeOnlyWithinOneWidth) {
  expect_folds({
      {"cn09 cn010", "cn[09,010]"},
      {"node[001-150]", "node[001-150]"},
      {"node001 node[002-009] node[010-099] node[100-150]", "node[001-150]"},
      {"cn8 cn09 cn10", "cn[8,09-10]"},
      {"cn1 cn01 cn001", "cn[1,01,001]"},
      {"n8 n9 n10 n010 n011", "n[8-10,010-011]"},
      {"n9,n05,n10,n11", "n[9,05,10-11]"},
      {"n[1-20],n05", "n[1-9,05,10-20]"},
      {"n9,n010,n10", "n[9-10,010]"},
      {"n0,n00,n000,n1,n9,n10,n99,n100", "n[0-1,9,00,10,99,000,100]"},
      {"n[005-010],n[100-101]", "n[005-010,100-101]"},
      {"n[05-99] n100", "n[05-99,100]"},
      {"n[0-18446744073709551614]", "n[0-18446744073709551614]"},
  });
}

TEST(HostSetWrite, FoldsEveryPositionOfAPattern) {
  expect_folds({
      {"r1c1 r1c2 r2c1 r2c2", "r[1-2]c[1-2]"},
      {"x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3]", "x[1000-1063]c[0-7]s[0-7]b[0-1]n[0-3]"},
      {"a1b1,a1b2,a2b1", "a1b[1-2],a2b1"},
      {"a1b1,a1b2,a2b1,a2b3", "a1b[1-2],a2b[1,3]"},
      {"a[1-3]b[1-3],a[2-3]b[4-5]", "a1b[1-3],a[2-3]b[1-5]"},
      {"a[1-3]b1,a[1-2]b2", "a[1-2]b[1-2],a3b1"},
      {"x1y2,x2y1", "x1y2,x2y1"},
      {"r[1-2,5-6]c[1-4] r[3-4]c[1-2]", "r[1-2,5-6]c[1-4],r[3-4]c[1-2]"},
      {"a9b1,a10b1,a010b1,a9b2", "a9b[1-2],a[10,010]b1"},
  });
}

TEST(HostSetWrite, KeepsPercentSignsInTexts) {
  // Texts with '%' sort as written: '%' comes before letters and digits.
  expect_folds({
      {"a%b1 a%b2", "a%b[1-2]"},
      {"c%%d", "c%%d"},
      {"%s9 50% a%b1 c%%d", "%s9,50%,a%b1,c%%d"},
      {"n%[1-2]x%[3-4]", "n%[1-2]x%[3-4]"},
  });
  HostSetFoldOptions first;
  first.axes = {1};
  expect_folds({{"n%1x%3 n%2x%3 n%2x%4", "n%[1-2]x%3,n%2x%4"}}, first);
  HostSet const set = read_hosts("%s9 50% a%b[1-2] c%%d");
  EXPECT_EQ(set.expand(), (std::vector<std::string>{"%s9", "50%", "a%b1", "a%b2", "c%%d"}));
  EXPECT_EQ(set.at(3), "a%b2");
  EXPECT_EQ(set.at(4), "c%%d");
}

TEST(HostSetWrite, TextDoesNotDependOnInputOrder) {
  std::vector<std::string> names;
  for (int r = 1; r <= 6; ++r) {
    for (int c = 1; c <= 5; ++c) {
      if ((r * 7 + c * 3) % 4 != 0)
        names.push_back("r" + std::to_string(r) + "c" + std::to_string(c));
    }
  }
  std::string const reference = read_hosts(names.front()).fold().empty() ? "" : [&] {
    std::string text;
    for (std::string const& name : names)
      text += name + " ";
    return read_hosts(text).fold();
  }();
  std::mt19937 random(12);
  for (int round = 0; round < 20; ++round) {
    std::shuffle(names.begin(), names.end(), random);
    std::string text;
    for (std::string const& name : names)
      text += name + ",";
    EXPECT_EQ(read_hosts(text).fold(), reference);
  }
}

TEST(HostSetWrite, FoldsOnlyTheChosenAxes) {
  HostSetFoldOptions last;
  last.axes = {-1};
  expect_folds(
      {
          {"r[1-2]c[1-2]", "r1c[1-2],r2c[1-2]"},
          {"r[1-2]c[1-2],x1", "r1c[1-2],r2c[1-2],x1"},
          {"n[1-3]", "n[1-3]"},
          {"x[1-2]c[0-1]n[0-3]", "x1c0n[0-3],x1c1n[0-3],x2c0n[0-3],x2c1n[0-3]"},
      },
      last);
  HostSetFoldOptions first;
  first.axes = {1};
  expect_folds(
      {
          {"r[1-2]c[1-2]", "r[1-2]c1,r[1-2]c2"},
          {"r1c1,r1c2,r2c1", "r[1-2]c1,r1c2"},
          {"r[1-3]c[1-2]s[1-2]", "r[1-3]c1s1,r[1-3]c1s2,r[1-3]c2s1,r[1-3]c2s2"},
      },
      first);
  HostSetFoldOptions beyond;
  beyond.axes = {3};
  // A pattern without any chosen position is folded on all it has, where
  // `nodeset --axis` writes it name by name.
  expect_folds({{"r[1-2]c[1-2],n[1-3]", "n[1-3],r[1-2]c[1-2]"}, {"login", "login"}}, beyond);
  HostSetFoldOptions second;
  second.axes = {2};
  expect_folds({{"ln0 ln1", "ln[0-1]"}, {"ln0 ln1 r[1-2]c[1-2]", "ln[0-1],r1c[1-2],r2c[1-2]"}},
               second);
  HostSetFoldOptions before_first;
  before_first.axes = {-2};
  expect_folds({{"n[1-2]", "n[1-2]"}, {"node[1-1000000000]", "node[1-1000000000]"}}, before_first);
  HostSetFoldOptions outer;
  outer.axes = {1, 3};
  expect_folds({{"a[1-2]b[1-2]c[1-2]", "a[1-2]b1c[1-2],a[1-2]b2c[1-2]"}}, outer);
}

TEST(HostSetWrite, AutostepWritesEvenSteps) {
  HostSetFoldOptions three;
  three.autostep = 3;
  expect_folds(
      {
          {"node[1,3,5,7]", "node[1-7/2]"},
          {"n[1,3,5,7,9,10,11]", "n[1-9/2,10-11]"},
          {"n[1,3,5,8-20]", "n[1-5/2,8-20]"},
          {"n[1-3,5,7,9]", "n[1-3,5-9/2]"},
          {"n[1,3]", "n[1,3]"},
          {"n[01,03,05,7]", "n[7,01-05/2]"},
          {"n8,n9,n10,n12,n14", "n[8-10,12,14]"},
          {"n[1-5,7,9,11]", "n[1-5,7-11/2]"},
          {"n[1,3,5-6]", "n[1-5/2,6]"},
          {"n[8,10,12]", "n[8-12/2]"},
          {"n[020,120,220,1020]", "n[020-220/100,1020]"},
          {"n[120,220,1020]", "n[120,220,1020]"},
          {"n[920,1020,1120]", "n[920-1120/100]"},
          {"r[1,3,5]c[2,4,6]", "r[1-5/2]c[2-6/2]"},
      },
      three);
}

TEST(HostSetWrite, SeparatorGoesBetweenPieces) {
  HostSetFoldOptions spaced;
  spaced.separator = " ";
  EXPECT_EQ(read_hosts("a b n[1-2]").fold(spaced), "a b n[1-2]");
  spaced.separator = "\n";
  EXPECT_EQ(read_hosts("a1b1,a1b2,a2b1").fold(spaced), "a1b[1-2]\na2b1");
  spaced.separator = ", ";
  EXPECT_EQ(read_hosts("x").fold(spaced), "x");
}

struct PiecesRow {
  std::string notation;
  std::vector<int> axes;
  std::vector<std::string> pieces;
};

TEST(HostSetWrite, VisitsThePiecesFoldWrites) {
  std::vector<PiecesRow> const rows = {
      {"a1b1,a1b2,a2b1", {}, {"a1b[1-2]", "a2b1"}},
      {"n[1-2],login1", {-1}, {"login1", "n[1-2]"}},
      {"r[1-2]c[1-2]", {-1}, {"r1c[1-2]", "r2c[1-2]"}},
      {"x", {}, {"x"}},
      {"", {}, {}},  // the empty set has no piece
      // a name without numbers, and x[1-3] without a second position, stand
      // beside pieces cut on the axis
      {"a,r[1-2]c[1-2],x[1-3]", {2}, {"a", "r1c[1-2]", "r2c[1-2]", "x[1-3]"}},
      {"a,r[1-2]c[1-2],x[1-3]", {1}, {"a", "r[1-2]c1", "r[1-2]c2", "x[1-3]"}},
  };
  for (PiecesRow const& row : rows) {
    HostSetFoldOptions options;
    options.axes = row.axes;
    options.separator = ";";  // never shows in the pieces
    std::vector<std::string> pieces;
    read_hosts(row.notation).for_each_piece(options, [&pieces](std::string_view piece) {
      pieces.emplace_back(piece);
    });
    EXPECT_EQ(pieces, row.pieces) << "notation: \"" << row.notation << "\"";
  }
}

}  // namespace
