#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "krel/str.hpp"

namespace {

using Fields = std::vector<std::string>;

std::string shown(std::string const& text) {
  std::string out = "\"";
  for (char const c : text) {
    if (c >= 0x20 && c < 0x7f) {
      out += c;
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(c));
      out += code;
    }
  }
  return out + "\"";
}

// ---------------------------------------------------------------------------
// Case
// ---------------------------------------------------------------------------

TEST(Case, ConvertsAsciiLettersAndKeepsOtherBytes) {
  struct Row {
    std::string input;
    std::string lowered;
    std::string raised;
  };
  std::vector<Row> const rows = {
      {"Node17", "node17", "NODE17"},
      {"", "", ""},
      {"abc-Z_9", "abc-z_9", "ABC-Z_9"},
      {"\xc3\x89t\xe9", "\xc3\x89t\xe9", "\xc3\x89T\xe9"},
      {std::string("A\0b", 3), std::string("a\0b", 3), std::string("A\0B", 3)},
      {"\xff\x80 [x]", "\xff\x80 [x]", "\xff\x80 [X]"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.input));
    EXPECT_EQ(krel::str::lower(row.input), row.lowered);
    EXPECT_EQ(krel::str::upper(row.input), row.raised);
  }
}

TEST(Case, LeavesTheCallersStringAlone) {
  std::string const original = "MiXeD";
  std::string copy = original;
  EXPECT_EQ(krel::str::lower(copy), "mixed");
  EXPECT_EQ(krel::str::upper(copy), "MIXED");
  EXPECT_EQ(krel::str::strip(copy, "M"), "iXeD");
  EXPECT_EQ(copy, original);
}

// ---------------------------------------------------------------------------
// Trimming
// ---------------------------------------------------------------------------

struct TrimRow {
  std::string input;
  std::string chars;
  std::string trimmed;
};

TEST(Strip, TrimsBothEndsEmptySetMeansWhiteSpace) {
  std::vector<TrimRow> const rows = {
      {"  xx  ", "", "xx"},
      {"--a-b--", "-", "a-b"},
      {"---", "-", ""},
      {"abc\n", "", "abc"},
      {"", "", ""},
      {"", "-", ""},
      {"xyabcyx", "yx", "abc"},
      {"\v x \f", "", "\v x \f"},
      {" \t\r\nx y\n", "", "x y"},
      {std::string("\0a\0", 3), std::string("\0", 1), "a"},
      {"\xff"
       "a\xff",
       "\xff", "a"},
      {"abc", "xyz", "abc"},
  };
  for (TrimRow const& row : rows) {
    SCOPED_TRACE(shown(row.input) + " without " + shown(row.chars));
    EXPECT_EQ(krel::str::strip(row.input, row.chars), row.trimmed);
  }
}

TEST(Rstrip, TrimsTheTrailingRun) {
  std::vector<TrimRow> const rows = {
      {"abc", "", "abc"}, {"a--", "-", "a"},          {"--a--", "-", "--a"},  {"---", "-", ""},
      {"", "x", ""},      {"xyabcyx", "xy", "xyabc"}, {"abc\n", "", "abc\n"}, {"a b  ", " ", "a b"},
  };
  for (TrimRow const& row : rows) {
    SCOPED_TRACE(shown(row.input) + " without " + shown(row.chars));
    EXPECT_EQ(krel::str::rstrip(row.input, row.chars), row.trimmed);
  }
}

TEST(Fstrip, TrimsTheLeadingRun) {
  std::vector<TrimRow> const rows = {
      {"abc", "", "abc"}, {"--a", "-", "a"},          {"--a--", "-", "a--"},  {"---", "-", ""},
      {"", "x", ""},      {"xyabcyx", "xy", "abcyx"}, {"\nabc", "", "\nabc"}, {"  a b", " ", "a b"},
  };
  for (TrimRow const& row : rows) {
    SCOPED_TRACE(shown(row.input) + " without " + shown(row.chars));
    EXPECT_EQ(krel::str::fstrip(row.input, row.chars), row.trimmed);
  }
}

TEST(Stripws, TrimsOnlySpaceTabLineFeedAndReturn) {
  struct Row {
    std::string input;
    std::string trimmed;
  };
  std::vector<Row> const rows = {
      {"\v x \f", "\v x \f"},
      {"", ""},
      {" \t", ""},
      {" \t\r\n", ""},
      {" \t\r\nx y\r\n\t ", "x y"},
      {"\vx", "\vx"},
      {"x\f", "x\f"},
      {" \vx\f ", "\vx\f"},
      {"a", "a"},
      {std::string(" \0 ", 3), std::string("\0", 1)},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.input));
    EXPECT_EQ(krel::str::stripws(row.input), row.trimmed);
  }
}

// ---------------------------------------------------------------------------
// White space
// ---------------------------------------------------------------------------

TEST(IsSpace, FollowsTheCLibrary) {
  for (char const c : {' ', '\t', '\n', '\v', '\f', '\r'}) {
    SCOPED_TRACE(static_cast<int>(c));
    EXPECT_TRUE(krel::str::isSpace(c));
  }
  for (char const c : {'a', '\0', '_', '\x1c', '\x85', '\xa0', '\xff'}) {
    SCOPED_TRACE(static_cast<int>(c));
    EXPECT_FALSE(krel::str::isSpace(c));
  }
}

TEST(Stripallws, RemovesEveryWhiteSpaceByte) {
  struct Row {
    std::string input;
    std::string kept;
  };
  std::vector<Row> const rows = {
      {"\v x \f", "x"},    {" a\tb\nc\vd\fe\rf ", "abcdef"},  {"", ""},
      {" \t\n\v\f\r", ""}, {"node 1, node 2", "node1,node2"}, {"\xa0x\x85", "\xa0x\x85"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.input));
    EXPECT_EQ(krel::str::stripallws(row.input), row.kept);
  }
}

// ---------------------------------------------------------------------------
// Replacing and squeezing
// ---------------------------------------------------------------------------

TEST(Replace, ReplacesLeftToRightWithoutRescanning) {
  struct Row {
    std::string input;
    std::string from;
    std::string to;
    std::string replaced;
  };
  std::vector<Row> const rows = {
      {"aaa", "aa", "b", "ba"},
      {"abc", "b", "bb", "abbc"},
      {"a", "a", "aa", "aa"},
      {"aaa", "a", "aa", "aaaaaa"},
      {"abcabc", "abc", "", ""},
      {"xyz", "q", "r", "xyz"},
      {"aXbXc", "X", "--", "a--b--c"},
      {"aXbXc", "X", "Y", "aYbYc"},
      {"", "a", "b", ""},
      {"abab", "ab", "ba", "baba"},
      {"aaaa", "aa", "a", "aa"},
      {"a  b   c", "  ", " ", "a b  c"},
      {std::string("a\0b", 3), std::string("\0", 1), "-", "a-b"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.input) + " " + shown(row.from) + " -> " + shown(row.to));
    EXPECT_EQ(krel::str::replace(row.input, row.from, row.to), row.replaced);
  }
}

TEST(Replace, EmptyFromReturnsTheStringUnchanged) {
  EXPECT_EQ(krel::str::replace("abc", "", "x"), "abc");
  EXPECT_EQ(krel::str::replace("", "", "x"), "");
}

TEST(Replace, ScalesToManyOccurrences) {
  std::string text;
  for (int i = 0; i < 100000; ++i)
    text += "a,";
  std::string const replaced = krel::str::replace(text, ",", ";;");
  EXPECT_EQ(replaced.size(), 300000U);
  EXPECT_EQ(replaced.substr(0, 9), "a;;a;;a;;");
}

TEST(Squeeze, ShortensRunsOfOneByteOnly) {
  struct Row {
    std::string input;
    char c;
    std::string squeezed;
  };
  std::vector<Row> const rows = {
      {"a,,b,,,c,", ',', "a,b,c,"},
      {",", ',', ","},
      {"", ',', ""},
      {"a,,", ',', "a,"},
      {",,,,", ',', ","},
      {"aa,,bb", ',', "aa,bb"},
      {"aa,,bb", 'a', "a,,bb"},
      {"a  b   c", ' ', "a b c"},
      {"\xff\xff"
       "a",
       '\xff',
       "\xff"
       "a"},
      {std::string("\0\0x\0", 4), '\0', std::string("\0x\0", 3)},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.input) + " squeezing " + shown(std::string(1, row.c)));
    EXPECT_EQ(krel::str::squeeze(row.input, row.c), row.squeezed);
  }
}

// ---------------------------------------------------------------------------
// Prefixes, suffixes and searches
// ---------------------------------------------------------------------------

TEST(StartsWithEndsWith, CompareTheEnds) {
  struct Row {
    std::string s;
    std::string affix;
    bool starts;
    bool ends;
  };
  std::vector<Row> const rows = {
      {"ab", "abc", false, false}, {"abc", "", true, true},      {"", "", true, true},
      {"", "a", false, false},     {"abc", "ab", true, false},   {"abc", "bc", false, true},
      {"abc", "abc", true, true},  {"abc", "abd", false, false}, {"aXa", "a", true, true},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.s) + " / " + shown(row.affix));
    EXPECT_EQ(krel::str::startswith(row.s, row.affix), row.starts);
    EXPECT_EQ(krel::str::endswith(row.s, row.affix), row.ends);
  }
}

TEST(InVect, FindsEqualElements) {
  struct Row {
    std::vector<std::string> list;
    std::string s;
    bool found;
  };
  std::vector<Row> const rows = {
      {{"a", "b"}, "", false}, {{""}, "", true},     {{}, "", false},     {{"a", "b"}, "b", true},
      {{"ab"}, "a", false},    {{"a"}, "ab", false}, {{"A"}, "a", false},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.s));
    EXPECT_EQ(krel::str::in_vect(row.list, row.s), row.found);
  }
}

TEST(StringSearch, FindsSubstringsInNonEmptyElements) {
  struct Row {
    std::vector<std::string> list;
    std::string s;
    bool found;
  };
  std::vector<Row> const rows = {
      {{"", "x"}, "", true},         {{""}, "", false},
      {{"hostname"}, "stn", true},   {{}, "", false},
      {{"", ""}, "", false},         {{"abc"}, "abcd", false},
      {{"", "xay"}, "a", true},      {{"abc", "def"}, "ef", true},
      {{"abc", "def"}, "cd", false},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(shown(row.s));
    EXPECT_EQ(krel::str::string_search(row.list, row.s), row.found);
  }
}

// ---------------------------------------------------------------------------
// Splitting
// ---------------------------------------------------------------------------

struct SplitRow {
  std::string input;
  Fields plain;     // squeeze_runs false
  Fields squeezed;  // squeeze_runs true
};

TEST(Split, CutsAtCommasWithAndWithoutSqueezing) {
  std::vector<SplitRow> const rows = {
      {"", {}, {}},
      {"a", {"a"}, {"a"}},
      {"a,b", {"a", "b"}, {"a", "b"}},
      {"a,,b", {"a", "", "b"}, {"a", "b"}},
      {",a", {"", "a"}, {"", "a"}},
      {",,a", {"", "", "a"}, {"", "a"}},
      {"a,", {"a"}, {"a"}},
      {"a,,,", {"a", "", ""}, {"a"}},
      {",", {""}, {""}},
      {",,,", {"", "", ""}, {""}},
      {"a,b,,", {"a", "b", ""}, {"a", "b"}},
      {" a , b", {" a ", " b"}, {" a ", " b"}},
      {"a,,b,,,c,", {"a", "", "b", "", "", "c"}, {"a", "b", "c"}},
  };
  for (SplitRow const& row : rows) {
    SCOPED_TRACE(shown(row.input));
    EXPECT_EQ(krel::str::split(row.input, ',', false), row.plain);
    EXPECT_EQ(krel::str::split(row.input, ',', true), row.squeezed);
  }
}

TEST(Split, CutsAtAnyByte) {
  EXPECT_EQ(krel::str::split("a b  c", ' ', true), (Fields{"a", "b", "c"}));
  EXPECT_EQ(krel::str::split("a b  c", ' ', false), (Fields{"a", "b", "", "c"}));
  EXPECT_EQ(krel::str::split(std::string("x\0y\0\0z", 6), '\0', true), (Fields{"x", "y", "z"}));
  EXPECT_EQ(krel::str::split("1\xff"
                             "2",
                             '\xff', false),
            (Fields{"1", "2"}));
  EXPECT_EQ(krel::str::split("a\nb\n", '\n', false), (Fields{"a", "b"}));
}

// ---------------------------------------------------------------------------
// Path-like strings
// ---------------------------------------------------------------------------

TEST(Basename, GivesTheLastComponent) {
  struct Row {
    std::string path;
    std::string base;
  };
  std::vector<Row> const rows = {
      {"/usr/lib/libx.so", "libx.so"},
      {"/usr/lib/", ""},
      {"libx.so", "libx.so"},
      {"", ""},
      {"/", ""},
      {"a/b", "b"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(krel::str::basename(row.path), row.base);
  }
}

TEST(Dirname, GivesTheParent) {
  struct Row {
    std::string path;
    std::string parent;
  };
  std::vector<Row> const rows = {
      {"/usr/lib/libx.so", "/usr/lib"},
      {"libx.so", "."},
      {"/", "/"},
      {"", "."},
      {"/usr/lib/", "/usr"},
      {"a//b", "a"},
      {"a/b/", "a"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(krel::str::dirname(row.path), row.parent);
  }
}

TEST(BasenameDirname, LookOnlyAtTheFirst4096Bytes) {
  std::string const long_name = "/dir/" + std::string(4995, 'f');
  ASSERT_EQ(long_name.size(), 5000U);
  EXPECT_EQ(krel::str::basename(long_name), std::string(4091, 'f'));
  EXPECT_EQ(krel::str::dirname(long_name), "/dir");

  // The slash beyond the cut is never seen.
  std::string const slash_beyond = std::string(4096, 'a') + "/b";
  EXPECT_EQ(krel::str::basename(slash_beyond), std::string(4096, 'a'));
  EXPECT_EQ(krel::str::dirname(slash_beyond), ".");

  std::string const exactly = std::string(4095, 'a') + "/";
  EXPECT_EQ(krel::str::basename(exactly), "");
  EXPECT_EQ(krel::str::basename(exactly + "tail"), "");
}

TEST(RemovePath, KeepsWhatFollowsTheLastSlash) {
  struct Row {
    std::string path;
    std::string kept;
  };
  std::vector<Row> const rows = {
      {"a/b/c", "c"},
      {"a/b/", ""},
      {"abc", "abc"},
      {"/", ""},
      {"", ""},
      {std::string(5000, 'a') + "/b", "b"},
      {"/" + std::string(5000, 'z'), std::string(5000, 'z')},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.path.substr(0, 40));
    EXPECT_EQ(krel::str::remove_path(row.path), row.kept);
  }
}

TEST(SubId, SplitsAtTheFirstColon) {
  struct Row {
    std::string id;
    std::string sub_id;
    std::string without;
  };
  std::vector<Row> const rows = {
      {"node7:2", ":2", "node7"}, {"a:b:c", ":b:c", "a"}, {"abc", "", "abc"}, {":x", ":x", ""},
      {"x:", ":", "x"},           {"", "", ""},           {":", ":", ""},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(krel::str::get_sub_id(row.id), row.sub_id);
    EXPECT_EQ(krel::str::remove_sub_id(row.id), row.without);
    EXPECT_EQ(krel::str::remove_sub_id(row.id) + krel::str::get_sub_id(row.id), row.id);
  }
}

// ---------------------------------------------------------------------------
// Number readers
// ---------------------------------------------------------------------------

template <typename Number>
struct Reading {
  Number value;
  unsigned long position;
};

template <typename Number>
Reading<Number> read(std::string const& text) {
  Reading<Number> reading{Number(-7), 999};
  krel::str::convert_to_selection_helper(text, reading.value, reading.position);
  return reading;
}

// The exception `Number`'s reader throws for `text`, as "type: message".
template <typename Number>
std::string failure(std::string const& text) {
  Number value = Number(-7);
  unsigned long position = 999;
  std::string thrown = "nothing";
  try {
    krel::str::convert_to_selection_helper(text, value, position);
  } catch (std::invalid_argument const& error) {
    thrown = std::string("invalid_argument: ") + error.what();
  } catch (std::out_of_range const& error) {
    thrown = std::string("out_of_range: ") + error.what();
  }
  // Nothing is stored when the conversion fails.
  EXPECT_EQ(value, Number(-7));
  EXPECT_EQ(position, 999UL);
  return thrown;
}

TEST(ConvertToSelectionHelper, ReadsNumbersAndTheirEnd) {
  struct Row {
    std::string text;
    double value;
    unsigned long position;
  };
  std::vector<Row> const rows = {
      {"1.5xyz", 1.5, 3}, {"  2", 2, 3}, {"0x10", 16, 4},    {"-2.5e2z", -250, 6},
      {"\t\n7", 7, 3},    {"+3.", 3, 3}, {"1e3 4", 1000, 3}, {".5", 0.5, 2},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.text);
    Reading<double> const as_double = read<double>(row.text);
    EXPECT_EQ(as_double.value, row.value);
    EXPECT_EQ(as_double.position, row.position);
    Reading<float> const as_float = read<float>(row.text);
    EXPECT_EQ(as_float.value, static_cast<float>(row.value));
    EXPECT_EQ(as_float.position, row.position);
    Reading<long double> const as_long_double = read<long double>(row.text);
    EXPECT_EQ(as_long_double.value, static_cast<long double>(row.value));
    EXPECT_EQ(as_long_double.position, row.position);
  }
}

TEST(ConvertToSelectionHelper, ReadsInfinitiesAndNotANumber) {
  EXPECT_EQ(read<double>("inf").value, std::numeric_limits<double>::infinity());
  EXPECT_EQ(read<double>("-Infinity!").position, 9UL);
  EXPECT_TRUE(std::isnan(read<float>("nan").value));
  EXPECT_EQ(read<long double>(" NAN").position, 4UL);
}

TEST(ConvertToSelectionHelper, NothingToReadThrowsInvalidArgument) {
  for (std::string const text : {"abc", "", " ", "-", "e5", ".x"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(failure<double>(text), "invalid_argument: stod");
    EXPECT_EQ(failure<float>(text), "invalid_argument: stof");
    EXPECT_EQ(failure<long double>(text), "invalid_argument: stold");
  }
}

TEST(ConvertToSelectionHelper, RangeErrorsThrowOutOfRange) {
  EXPECT_EQ(failure<double>("1e999"), "out_of_range: stod");
  EXPECT_EQ(failure<float>("1e999"), "out_of_range: stof");
  EXPECT_EQ(failure<float>("1e39"), "out_of_range: stof");
  EXPECT_EQ(failure<double>("1e-400"), "out_of_range: stod");
  EXPECT_EQ(failure<long double>("1e99999"), "out_of_range: stold");
  // Within a long double's range.
  Reading<long double> const large = read<long double>("1e999");
  EXPECT_EQ(large.position, 5UL);
  EXPECT_GT(large.value, static_cast<long double>(std::numeric_limits<double>::max()));
}

}  // namespace
