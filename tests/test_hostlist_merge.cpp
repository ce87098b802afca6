// Folding whole host lists (hostlist_merge.cpp): TokenizedHost::get_merged_hosts
// by table, and against the plain model (tests/models) and the library's own
// exported steps on generated lists.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "krel/hostlist.hpp"
#include "models.hpp"
#include "test_support.hpp"

namespace {

using krel::TokenizedHost;
using krel_test::capture_stderr;
using krel_test::LogSettings;
using krel_test::out_of_range_message;
using Names = std::vector<std::string>;

constexpr unsigned long kNoPosition = static_cast<unsigned long>(-1);

std::string quoted(Names const& names) {
  std::string text;
  for (std::string const& name : names)
    text += "\"" + name + "\" ";
  return text;
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
// Merging against the plain model (tests/models)
// ---------------------------------------------------------------------------

// The model's fold; the generated names never hold a number above INT_MAX.
std::string model_merged_hosts(Names const& names) {
  return krel_model::merged_hosts(names).value_or("<a number above INT_MAX>");
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
    std::string const expected = model_merged_hosts(names);
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
    EXPECT_EQ(TokenizedHost::get_merged_hosts(names), model_merged_hosts(names));
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
}  // namespace
