#include <malloc.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "krel/gather.hpp"
#include "krel/hostset.hpp"

namespace {

using krel::GatheredOutput;
using krel::Gatherer;
using krel::GatherOrder;
using krel::GatherPageOptions;
using krel::GatherReadOptions;
using krel::GatherStyle;

constexpr GatherStyle kDshbak = GatherStyle::kDshbak;
constexpr GatherStyle kClubak = GatherStyle::kClubak;

// The page of `input` read whole, or "error: <message>".
std::string page_of(std::string_view input, GatherStyle style, GatherPageOptions page = {},
                    std::string separator = ":") {
  Gatherer gatherer(GatherReadOptions{std::move(separator), style});
  std::string error;
  if (!gatherer.feed(input, &error) || !gatherer.finish(&error)) return "error: " + error;
  return gatherer.page(page);
}

// What each page shows, for every style and view. The expected texts are
// what dshbak -c, dshbak, clubak -b, clubak -bL, clubak and clubak -L write.
struct PageRow {
  char const* reason;
  std::string input;
  GatherStyle style;
  GatherPageOptions page;
  std::string expected;
};

std::string const kMixed =
    "node2: a\nnode1: a\nnode3: b\nnode1: x\nnode2: x\nnode10: a\nnode10: x\n";

std::vector<PageRow> const kPages = {
    {"dshbak -c",
     kMixed,
     kDshbak,
     {},
     "----------------\nnode[1-2,10]\n----------------\na\nx\n"
     "----------------\nnode3\n----------------\nb\n"},
    {"dshbak",
     kMixed,
     kDshbak,
     {true, false},
     "----------------\nnode1\n----------------\na\nx\n"
     "----------------\nnode2\n----------------\na\nx\n"
     "----------------\nnode3\n----------------\nb\n"
     "----------------\nnode10\n----------------\na\nx\n"},
    {"clubak -b",
     kMixed,
     kClubak,
     {},
     "---------------\nnode[1-2,10] (3)\n---------------\n a\n x\n"
     "---------------\nnode3\n---------------\n b\n"},
    {"clubak -bL",
     kMixed,
     kClubak,
     {false, true},
     "node[1-2,10]:  a\nnode[1-2,10]:  x\nnode3:  b\n"},
    {"clubak",
     kMixed,
     kClubak,
     {true, false},
     "---------------\nnode1\n---------------\n a\n x\n"
     "---------------\nnode2\n---------------\n a\n x\n"
     "---------------\nnode3\n---------------\n b\n"
     "---------------\nnode10\n---------------\n a\n x\n"},
    {"clubak -L", "n2: b\nn1: a\n", kClubak, {true, true}, "n1:  a\nn2:  b\n"},
    {"dshbak drops one space after the separator, no more, and no tab",
     "x1:   three\nx2:\ttab\nx3:none\nx4: trailing  \n",
     kDshbak,
     {true, false},
     "----------------\nx1\n----------------\n  three\n"
     "----------------\nx2\n----------------\n\ttab\n"
     "----------------\nx3\n----------------\nnone\n"
     "----------------\nx4\n----------------\ntrailing  \n"},
    {"dshbak keeps a carriage return",
     "n1: a\r\nn2: a\r\n",
     kDshbak,
     {},
     "----------------\nn[1-2]\n----------------\na\r\n"},
    {"clubak drops carriage returns ending a line, not inner ones",
     "n1: a\r\r\nn2: b\rc\r\n",
     kClubak,
     {false, true},
     "n1:  a\nn2:  b\rc\n"},
    {"a missing last newline loses nothing",
     "n1: a\nn2: a",
     kDshbak,
     {},
     "----------------\nn[1-2]\n----------------\na\n"},
    {"bytes that are not UTF-8 pass unchanged",
     "n1: \xff\xfe\nn2: \xff\xfe\n",
     kClubak,
     {false, true},
     "n[1-2]:  \xff\xfe\n"},
    {"empty texts are lines",
     "n1:\nn2: \n",
     kDshbak,
     {true, false},
     "----------------\nn1\n----------------\n\n----------------\nn2\n----------------\n\n"},
    {"srun --label ranks, padded for alignment",
     " 0: a\n 1: a\n10: b\n",
     kDshbak,
     {},
     "----------------\n[0-1]\n----------------\na\n----------------\n10\n----------------\nb\n"},
    {"blanks around the name go, the text keeps its separators",
     "  n1 : a: b\n",
     kClubak,
     {false, true},
     "n1:  a: b\n"},
    {"dshbak orders by the trailing number, groups by their first node",
     "c: z\nn2: w\nb1: m\nn9: q\n",
     kDshbak,
     {false, true},
     "c: z\nb1: m\nn2: w\nn9: q\n"},
    {"dshbak ranks a name without trailing digits as 0 and ignores padding",
     "x5y: a\nn007: b\nn6: c\n",
     kDshbak,
     {true, true},
     "x5y: a\nn6: c\nn007: b\n"},
    {"clubak puts larger groups first, then folds byte-wise",
     "zz: a\nzz: b\nb1: c\nb2: c\nc5: d\n",
     kClubak,
     {false, true},
     "b[1-2]:  c\nc5:  d\nzz:  a\nzz:  b\n"},
    {"clubak lists nodes in set order",
     "n01: a\nn2: a\nn1: a\n9: a\n",
     kClubak,
     {true, true},
     "9:  a\nn1:  a\nn2:  a\nn01:  a\n"},
    {"dshbak folds the last number of a name only, clubak every one",
     "r1c1: a\nr1c2: a\nr2c1: a\nr2c2: a\n",
     kDshbak,
     {false, true},
     "r1c[1-2],r2c[1-2]: a\n"},
    {"clubak folds every number",
     "r1c1: a\nr1c2: a\nr2c1: a\nr2c2: a\n",
     kClubak,
     {},
     "---------------\nr[1-2]c[1-2] (4)\n---------------\n a\n"},
    {"no input, no page", "", kClubak, {}, ""},
};

TEST(GathererPage, WritesEachPeersPageByteForByte) {
  for (PageRow const& row : kPages)
    EXPECT_EQ(page_of(row.input, row.style, row.page), row.expected) << row.reason;
}

TEST(GathererPage, SplitsAtAnySeparatorText) {
  EXPECT_EQ(page_of("n1 | a | b\nn2 | a | b\n", kClubak, {false, true}, " | "), "n[1-2]: a | b\n");
  EXPECT_EQ(page_of("n1=x\n", kDshbak, {false, true}, "="), "n1: x\n");
}

// Lines the peers disagree on (dshbak drops them, clubak stops) are refused
// with the line's number.
struct ErrorRow {
  std::string input;
  std::string expected;
};

TEST(GathererErrors, NamesTheLineAndTheFault) {
  std::vector<ErrorRow> const rows = {
      {"n1: a\nbroken\n", "error: line 2: no \":\" between node name and text in \"broken\""},
      {"n1: a\n\n", "error: line 2: no \":\" between node name and text in \"\""},
      {"n1: a\n : b\n", "error: line 2: no node name before \":\" in \" : b\""},
      {"n1 x: a\n", "error: line 1: node name \"n1 x\" is not one host name"},
      {"a,b: x\n", "error: line 1: node name \"a,b\" is not one host name"},
      {"n[1-2]: x\n", "error: line 1: node name \"n[1-2]\" is not one host name"},
      // Set-expression operators and group references are not host names.
      {"n1!n2: x\n", "error: line 1: node name \"n1!n2\" is not one host name"},
      {"@x2: x\n", "error: line 1: node name \"@x2\" is not one host name"},
      {"n1: a\nlast line without separator",
       "error: line 2: no \":\" between node name and "
       "text in \"last line without separator\""},
      {std::string(100, 'x') + "\n",
       "error: line 1: no \":\" between node name and text in \"" + std::string(60, 'x') + "\"..."},
  };
  for (ErrorRow const& row : rows)
    EXPECT_EQ(page_of(row.input, kDshbak), row.expected) << row.input;
}

TEST(GathererErrors, AddRefusesNamesThatAreNotOneHost) {
  Gatherer gatherer;
  std::string error;
  EXPECT_FALSE(gatherer.add("", "x", &error));
  EXPECT_EQ(error, "empty node name");
  EXPECT_FALSE(gatherer.add("a\tb", "x", &error));
  EXPECT_EQ(error, "node name \"a\tb\" is not one host name");
  EXPECT_EQ(gatherer.node_count(), 0U);
}

TEST(GathererFeed, GivesTheSamePageWhereverTheTextIsCut) {
  std::string const whole = page_of(kMixed, kClubak);
  for (std::size_t cut = 0; cut <= kMixed.size(); ++cut) {
    for (std::size_t second = cut; second <= kMixed.size(); second += 5) {
      Gatherer gatherer(GatherReadOptions{":", kClubak});
      ASSERT_TRUE(gatherer.feed(kMixed.substr(0, cut)));
      ASSERT_TRUE(gatherer.feed(kMixed.substr(cut, second - cut)));
      ASSERT_TRUE(gatherer.feed(kMixed.substr(second)));
      ASSERT_TRUE(gatherer.finish());
      EXPECT_EQ(gatherer.page({}), whole) << cut << " " << second;
    }
  }
}

TEST(GathererFeed, ReadsMegabyteLines) {
  std::string const text(3 << 20, 'q');
  Gatherer gatherer;
  ASSERT_TRUE(gatherer.feed("n1: " + text.substr(0, 1000)));
  ASSERT_TRUE(gatherer.feed(text.substr(1000) + "\nn2: " + text + "\n"));
  std::vector<GatheredOutput> const groups = gatherer.gathered();
  ASSERT_EQ(groups.size(), 1U);
  EXPECT_EQ(groups[0].nodes.fold(), "n[1-2]");
  EXPECT_EQ(groups[0].lines, std::vector<std::string>{text});
}

TEST(GathererGroups, GroupsIdenticalSequencesInEitherOrder) {
  Gatherer gatherer;
  std::vector<std::pair<char const*, char const*>> const pairs = {
      {"a2", "m"}, {"b1", "m"}, {"n1", "k"}, {"a10", "y"}, {"b2", "y"}, {"n01", "k"}, {"c", "z"}};
  for (auto const& [node, line] : pairs)
    ASSERT_TRUE(gatherer.add(node, line));
  EXPECT_EQ(gatherer.node_count(), 7U);
  EXPECT_EQ(gatherer.line_count(), 7U);
  auto const folds = [&](GatherOrder order) {
    std::string text;
    for (GatheredOutput const& group : gatherer.gathered(order))
      text += group.nodes.fold() + "=" + group.lines.at(0) + " ";
    return text;
  };
  // Three groups of two: "a10" < "a2" < "n[1,01]" byte-wise.
  EXPECT_EQ(folds(GatherOrder::kLargestFirst), "a10,b2=y a2,b1=m n[1,01]=k c=z ");
  // By each group's first node: c (0), b1 (1, before n01 and n1 by name), b2 (2).
  EXPECT_EQ(folds(GatherOrder::kTrailingNumber), "c=z a2,b1=m n[1,01]=k a10,b2=y ");
}

TEST(GathererGroups, KeepsEachNodesLinesInOrder) {
  Gatherer gatherer;
  ASSERT_TRUE(gatherer.feed("n1: a\nn2: b\nn1: b\nn2: a\nn3: a\nn3: b\n"));
  std::vector<std::string> seen;
  gatherer.for_each_node(GatherOrder::kLargestFirst,
                         [&](std::string_view node, std::vector<std::string_view> const& lines) {
                           std::string text(node);
                           for (std::string_view const line : lines)
                             text += "|" + std::string(line);
                           seen.push_back(text);
                         });
  EXPECT_EQ(seen, (std::vector<std::string>{"n1|a|b", "n2|b|a", "n3|a|b"}));
  std::vector<GatheredOutput> const groups = gatherer.gathered();
  ASSERT_EQ(groups.size(), 2U);
  EXPECT_EQ(groups[0].nodes.fold(), "n[1,3]");
  EXPECT_EQ(groups[1].lines, (std::vector<std::string>{"b", "a"}));
}

TEST(GathererGroups, ListsNodesByTrailingNumberThenName) {
  Gatherer gatherer;
  for (char const* node : {"a10", "c5", "n1", "zz", "b2", "n01"})
    ASSERT_TRUE(gatherer.add(node, "x"));
  std::string order;
  gatherer.for_each_node(GatherOrder::kTrailingNumber,
                         [&](std::string_view node, std::vector<std::string_view> const&) {
                           order += std::string(node) + " ";
                         });
  EXPECT_EQ(order, "zz n01 n1 b2 c5 a10 ");
}

TEST(GathererErrors, KeepsTheLinesBeforeARefusedOne) {
  Gatherer gatherer;
  EXPECT_FALSE(gatherer.feed("n1: a\nn2: a\nbad\nn3: a\n"));
  EXPECT_EQ(gatherer.node_count(), 2U);
  EXPECT_EQ(gatherer.line_count(), 2U);
}

// 40,000 nodes each saying the same 25 lines of 200 bytes would be 200 MB
// stored pair by pair; held once, they cost the names and a few numbers.
TEST(GathererMemory, StoresIdenticalSequencesOnce) {
  constexpr int kNodes = 40000;
  std::vector<std::string> lines;
  for (int i = 0; i < 25; ++i)
    lines.push_back(std::string(199, 'a' + static_cast<char>(i % 26)) + std::to_string(i));
  std::size_t const before = mallinfo2().uordblks;
  {
    Gatherer gatherer;
    for (std::string const& line : lines)
      for (int node = 0; node < kNodes; ++node)
        ASSERT_TRUE(gatherer.add("node" + std::to_string(node), line));
    std::size_t const held = mallinfo2().uordblks - before;
    EXPECT_LT(held, std::size_t(kNodes) * 64) << held;
    std::vector<GatheredOutput> const groups = gatherer.gathered();
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(groups[0].nodes.fold(), "node[0-39999]");
    EXPECT_EQ(groups[0].lines, lines);
  }
}

}  // namespace
