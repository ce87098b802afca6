// The library's private helpers (src/generic_lib/src/internal/), tested on
// their own: the host-list units and the tool build on them.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "internal/bytewise_sort.hpp"
#include "internal/decimal.hpp"
#include "internal/first_appearance_classes.hpp"
#include "internal/hash.hpp"
#include "internal/inline_one_vector.hpp"
#include "internal/text.hpp"
#include "internal/value_bitmap.hpp"

namespace {

namespace internal = krel::internal;

// ---------------------------------------------------------------------------
// Decimal digits
// ---------------------------------------------------------------------------

TEST(IsDigit, AcceptsTheTenDigitsOnly) {
  std::string digits;
  for (int c = CHAR_MIN; c <= CHAR_MAX; ++c) {
    if (internal::is_digit(static_cast<char>(c))) digits += static_cast<char>(c);
  }
  EXPECT_EQ(digits, "0123456789");
}

TEST(PaddingZeros, KeepsTheLastZeroOfAnAllZeroRun) {
  struct Row {
    std::string digits;
    std::size_t zeros;
  };
  std::vector<Row> const rows = {
      {"", 0}, {"0", 0}, {"00", 1}, {"000", 2}, {"7", 0}, {"007", 2}, {"10", 0}, {"0100", 1},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE("\"" + row.digits + "\"");
    EXPECT_EQ(internal::padding_zeros(row.digits), row.zeros);
  }
}

TEST(ScanDecimal, StopsAtTheFirstOtherByteOrTheEnd) {
  struct Row {
    std::string text;
    std::size_t digits;
    std::uint64_t value;
    char const* reason;
  };
  std::vector<Row> const rows = {
      {"0042x", 4, 42, "padding zeros are digits of the run"},
      {"-7", 0, 0, "no digit: nothing read"},
      {"", 0, 0, "empty text"},
      {"12-34", 2, 12, "a dash ends the run"},
      {"9999999999999999999", 19, 9999999999999999999ULL, "19 digits always fit"},
      {"7·", 1, 7, "a byte above 0x7f is not a digit"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.reason);
    std::uint64_t value = 1;
    char const* const begin = row.text.data();
    char const* const stop = internal::scan_decimal(begin, begin + row.text.size(), value);
    EXPECT_EQ(static_cast<std::size_t>(stop - begin), row.digits);
    EXPECT_EQ(value, row.value);
  }
  // The end given bounds the run, not the text's own end.
  std::uint64_t value = 0;
  std::string const text = "12345";
  EXPECT_EQ(internal::scan_decimal(text.data(), text.data() + 3, value), text.data() + 3);
  EXPECT_EQ(value, 123u);
}

TEST(DecimalValue, ReadsAnyLengthAndRefusesPast64Bits) {
  struct Row {
    std::string digits;
    bool fits;
    std::uint64_t value;
    char const* reason;
  };
  std::vector<Row> const rows = {
      {"0042", true, 42, "padding zeros skipped"},
      {"0", true, 0, ""},
      {"000", true, 0, "all zeros"},
      {"18446744073709551615", true, UINT64_MAX, "2^64 - 1: twenty digits, checked"},
      {"18446744073709551616", false, 0, "2^64"},
      {"99999999999999999999", false, 0, "twenty nines"},
      {"100000000000000000000", false, 0, "21 digits"},
      {"00000000000000000000000018446744073709551615", true, UINT64_MAX,
       "padding does not count against the size"},
      {"10000000000000000000", true, 10000000000000000000ULL, "twenty digits that fit"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.digits + " " + row.reason);
    std::uint64_t value = 0;
    EXPECT_EQ(internal::decimal_value(row.digits, value), row.fits);
    if (row.fits) {
      EXPECT_EQ(value, row.value);
    }
  }
}

TEST(ZeroString, WritesCountZerosAndNoneBelowOne) {
  struct Row {
    int count;
    std::string zeros;
  };
  std::vector<Row> const rows = {{-5, ""}, {0, ""}, {1, "0"}, {4, "0000"}};
  for (Row const& row : rows) {
    SCOPED_TRACE(row.count);
    EXPECT_EQ(internal::zero_string(row.count), row.zeros);
  }
}

TEST(AppendDecimal, AppendsSignAndDigits) {
  struct Row {
    std::string before;
    long long value;
    std::string after;
  };
  std::vector<Row> const rows = {
      {"cn", 17, "cn17"},
      {"", 0, "0"},
      {"", -3, "-3"},
      {"x", INT_MIN, "x-2147483648"},
      {"", LLONG_MAX, "9223372036854775807"},
      {"", LLONG_MIN, "-9223372036854775808"},
  };
  for (Row const& row : rows) {
    std::string out = row.before;
    internal::append_decimal(out, row.value);
    EXPECT_EQ(out, row.after);
  }
  std::string from_int;
  internal::append_decimal(from_int, INT_MAX);
  EXPECT_EQ(from_int, "2147483647");
}

TEST(IncrementDecimal, CarriesWithinTheDigitsOnly) {
  struct Row {
    std::string digits;
    std::string after;
    bool fits;
  };
  std::vector<Row> const rows = {
      {"0", "1", true},    {"0419", "0420", true}, {"09", "10", true}, {"9", "0", false},
      {"99", "00", false}, {"1999", "2000", true}, {"", "", false},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE("\"" + row.digits + "\"");
    std::string digits = row.digits;
    EXPECT_EQ(internal::increment_decimal(digits.data(), digits.size()), row.fits);
    EXPECT_EQ(digits, row.after);
  }
}

TEST(IncrementDecimal, CountsLikeTheIntegers) {
  std::string digits = "0000";
  for (int value = 1; value < 10000; ++value) {
    ASSERT_TRUE(internal::increment_decimal(digits.data(), digits.size()));
    std::string expected = std::to_string(value);
    expected.insert(0, 4 - expected.size(), '0');
    ASSERT_EQ(digits, expected);
  }
  EXPECT_FALSE(internal::increment_decimal(digits.data(), digits.size()));
  EXPECT_EQ(digits, "0000");
}

// ---------------------------------------------------------------------------
// Blanks and quoting
// ---------------------------------------------------------------------------

TEST(IsBlank, AcceptsTheSixWhiteSpaceBytesOnly) {
  std::string blanks;
  for (int c = CHAR_MIN; c <= CHAR_MAX; ++c) {
    if (internal::is_blank(static_cast<char>(c))) blanks += static_cast<char>(c);
  }
  EXPECT_EQ(blanks, "\t\n\v\f\r ");
}

TEST(TrimBlanks, TrimsBothEndsOnly) {
  struct Row {
    std::string text;
    std::string trimmed;
  };
  std::vector<Row> const rows = {
      {"", ""},       {" \t\n\r\v\f", ""}, {" \tcn[1-2]\n", "cn[1-2]"},
      {"a b", "a b"}, {"\va\f", "a"},      {"_a_", "_a_"},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE("\"" + row.text + "\"");
    EXPECT_EQ(internal::trim_blanks(row.text), row.trimmed);
  }
}

TEST(Quoted, WrapsInDoubleQuotesOnOneLine) {
  EXPECT_EQ(internal::quoted("cn[3-1]"), "\"cn[3-1]\"");
  EXPECT_EQ(internal::quoted(""), "\"\"");
  EXPECT_EQ(internal::quoted("a\"b"), "\"a\"b\"");
  EXPECT_EQ(internal::quoted(std::string_view("a\0b", 3)), std::string("\"a\0b\"", 5));
  // Messages stay one line.
  EXPECT_EQ(internal::quoted("a[1\n2\r"), "\"a[1\\n2\\r\"");
  EXPECT_EQ(internal::one_line("1\n2\t3"), "1\\n2\t3");
}

// ---------------------------------------------------------------------------
// Hashing
// ---------------------------------------------------------------------------

std::uint64_t hash_of(std::string const& text) {
  return internal::hash_finish(internal::hash_bytes(internal::kHashSeed, text.data(), text.size()));
}

TEST(HashBytes, EqualBytesHashEquallyAndTheLengthCounts) {
  std::string const a = "node0017";
  std::string const b = std::string("node00") + "17";
  EXPECT_EQ(hash_of(a), hash_of(b));
  // Zero bytes at the end would pad to the same word: the length tells them
  // apart.
  EXPECT_NE(hash_of("ab"), hash_of(std::string("ab\0", 3)));
  EXPECT_NE(hash_of(""), hash_of(std::string(1, '\0')));
}

TEST(HashBytes, SpreadsShortKeysOverTheLowBits) {
  // Names that differ in one digit must not crowd into a few table slots.
  std::set<std::uint64_t> slots;
  for (int i = 0; i < 1000; ++i)
    slots.insert(hash_of("cn" + std::to_string(i)) & 1023);
  EXPECT_GT(slots.size(), 500U);
}

// ---------------------------------------------------------------------------
// Classes by first appearance
// ---------------------------------------------------------------------------

// Items are ints, equivalent when equal modulo `modulus`; the hash is weak on
// purpose (few distinct values), so that probing and tags are exercised.
std::vector<std::uint32_t> classes_of(std::vector<int> const& items, int modulus) {
  internal::FirstAppearanceClasses classes;
  std::vector<int> firsts;  // the first member of each class
  std::vector<std::uint32_t> result;
  for (int const item : items) {
    int const key = item % modulus;
    std::uint64_t const hash = internal::hash_finish(static_cast<std::uint64_t>(key % 3));
    classes.prefetch(hash);
    bool opened = false;
    std::uint32_t const c = classes.find_or_open(
        hash, [&](std::uint32_t candidate) { return firsts[candidate] % modulus == key; }, opened);
    EXPECT_EQ(opened, c == firsts.size());
    if (opened) firsts.push_back(item);
    result.push_back(c);
  }
  return result;
}

// The plain form: every item tested against the first member of every class.
std::vector<std::uint32_t> plain_classes_of(std::vector<int> const& items, int modulus) {
  std::vector<int> firsts;
  std::vector<std::uint32_t> result;
  for (int const item : items) {
    std::uint32_t c = 0;
    while (c < firsts.size() && firsts[c] % modulus != item % modulus)
      ++c;
    if (c == firsts.size()) firsts.push_back(item);
    result.push_back(c);
  }
  return result;
}

TEST(FirstAppearanceClasses, NumbersClassesInOrderOfFirstAppearance) {
  EXPECT_EQ(classes_of({5, 3, 15, 4, 13, 5}, 10), (std::vector<std::uint32_t>{0, 1, 0, 2, 1, 0}));
  EXPECT_EQ(classes_of({}, 10), std::vector<std::uint32_t>{});
}

TEST(FirstAppearanceClasses, MatchesThePlainFormWhileTheTableGrows) {
  std::mt19937 random(5);
  for (int modulus : {1, 7, 100, 5000}) {
    std::uniform_int_distribution<int> item(0, 20000);
    std::vector<int> items(3000);
    for (int& i : items)
      i = item(random);
    SCOPED_TRACE(modulus);
    EXPECT_EQ(classes_of(items, modulus), plain_classes_of(items, modulus));
  }
}

// ---------------------------------------------------------------------------
// The bit map of close values
// ---------------------------------------------------------------------------

using Runs = std::vector<std::pair<int, int>>;

Runs runs_of(internal::ValueBitmap const& map) {
  Runs runs;
  map.for_each_run([&runs](int first, int last) { runs.emplace_back(first, last); });
  return runs;
}

// The runs of the distinct values, found through an ordered set.
Runs plain_runs_of(std::vector<int> const& values) {
  std::set<int> const distinct(values.begin(), values.end());
  Runs runs;
  for (int const value : distinct) {
    if (!runs.empty() && static_cast<long long>(runs.back().second) + 1 == value)
      runs.back().second = value;
    else
      runs.emplace_back(value, value);
  }
  return runs;
}

TEST(BitRuns, FindsRunsAcrossWordsAndAtTheEnd) {
  struct Row {
    std::vector<std::uint64_t> words;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> runs;
    char const* reason;
  };
  std::vector<Row> const rows = {
      {{}, {}, "no words"},
      {{0}, {}, "no bit set"},
      {{0b1101}, {{0, 0}, {2, 3}}, ""},
      {{std::uint64_t{1} << 63, 1}, {{63, 64}}, "a run across two words"},
      {{0, ~std::uint64_t{0}}, {{64, 127}}, "a run up to the last bit"},
      {{~std::uint64_t{0}, ~std::uint64_t{0}, 0b10}, {{0, 127}, {129, 129}}, ""},
  };
  for (Row const& row : rows) {
    SCOPED_TRACE(row.reason);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> runs;
    internal::for_each_bit_run(row.words, [&](std::uint64_t first, std::uint64_t last) {
      runs.emplace_back(first, last);
    });
    EXPECT_EQ(runs, row.runs);
  }
  EXPECT_EQ(internal::next_bit_with({0b0110}, 0, true), 1u);
  EXPECT_EQ(internal::next_bit_with({0b0110}, 1, false), 3u);
  EXPECT_EQ(internal::next_bit_with({0b0110}, 3, true), 64u) << "none: the size in bits";
}

TEST(ValueBitmap, CountsAndWalksTheRunsOfCloseValues) {
  struct Row {
    std::vector<int> values;
    std::size_t count;
    Runs runs;
  };
  std::vector<Row> const rows = {
      {{7, 3, 4, 3}, 3, {{3, 4}, {7, 7}}},
      {{0}, 1, {{0, 0}}},
      {{-2, -1, 0, 1}, 4, {{-2, 1}}},
      {{61, 62, 63, 64, 65, 70, 71}, 7, {{61, 65}, {70, 71}}},
      {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 128, 127}, 18, {{0, 15}, {127, 128}}},
      {{INT_MIN, INT_MIN + 1}, 2, {{INT_MIN, INT_MIN + 1}}},
      {{INT_MAX, INT_MAX - 2}, 2, {{INT_MAX - 2, INT_MAX - 2}, {INT_MAX, INT_MAX}}},
  };
  for (Row const& row : rows) {
    auto const map = internal::ValueBitmap::of_close_values(row.values);
    ASSERT_TRUE(map.has_value());
    EXPECT_EQ(map->count(), row.count);
    EXPECT_EQ(runs_of(*map), row.runs);
  }
}

TEST(ValueBitmap, DeclinesEmptyAndSpreadOutLists) {
  EXPECT_FALSE(internal::ValueBitmap::of_close_values({}).has_value());
  // A span of eight per value still pays; more does not.
  EXPECT_TRUE(internal::ValueBitmap::of_close_values({0, 16}).has_value());
  EXPECT_FALSE(internal::ValueBitmap::of_close_values({0, 24}).has_value());
  EXPECT_FALSE(internal::ValueBitmap::of_close_values({INT_MIN, INT_MAX}).has_value());
}

TEST(ValueBitmap, MatchesTheOrderedSet) {
  std::mt19937 random(17);
  for (int round = 0; round < 300; ++round) {
    std::uniform_int_distribution<int> value(-300, 300);
    std::vector<int> values(static_cast<std::size_t>(1 + round % 200));
    for (int& v : values)
      v = value(random);
    auto const map = internal::ValueBitmap::of_close_values(values);
    if (!map) continue;
    Runs const expected = plain_runs_of(values);
    ASSERT_EQ(runs_of(*map), expected);
    ASSERT_EQ(map->count(), std::set<int>(values.begin(), values.end()).size());
  }
}

// ---------------------------------------------------------------------------
// Byte-wise sorting
// ---------------------------------------------------------------------------

std::vector<std::string> sorted_bytewise(std::vector<std::string> const& texts) {
  std::vector<std::string_view> views(texts.begin(), texts.end());
  internal::sort_bytewise(views);
  return std::vector<std::string>(views.begin(), views.end());
}

TEST(RadixSortByKey, KeepsEqualKeysInOrderAndLooksAtTheLowBitsOnly) {
  using Item = std::pair<std::uint64_t, char>;
  auto const key = [](Item const& item) { return item.first; };
  std::vector<Item> items = {{3, 'a'}, {1, 'b'}, {3, 'c'}, {UINT64_MAX, 'd'}, {0, 'e'}};
  krel::internal::radix_sort_by_key<8>(items, 64, key);
  EXPECT_EQ(items, (std::vector<Item>{{0, 'e'}, {1, 'b'}, {3, 'a'}, {3, 'c'}, {UINT64_MAX, 'd'}}));
  // Bits above `bits` are not looked at: 0x100 and 0x200 sort as 0.
  std::vector<Item> low = {{0x201, 'a'}, {0x100, 'b'}, {0x200, 'c'}, {0x3, 'd'}};
  krel::internal::radix_sort_by_key<8>(low, 8, key);
  EXPECT_EQ(low, (std::vector<Item>{{0x100, 'b'}, {0x200, 'c'}, {0x201, 'a'}, {0x3, 'd'}}));
}

TEST(RadixSortByKey, MatchesTheStableSortWithWideDigits) {
  std::mt19937_64 random(3);
  for (int bits : {0, 5, 11, 12, 40, 64}) {
    std::vector<std::uint64_t> keys(3000);
    for (std::uint64_t& key : keys)
      key = bits == 64 ? random() : random() & ((std::uint64_t{1} << bits) - 1);
    std::vector<std::uint64_t> expected = keys;
    std::stable_sort(expected.begin(), expected.end());
    krel::internal::radix_sort_by_key<11>(keys, bits, [](std::uint64_t key) { return key; });
    ASSERT_EQ(keys, expected) << bits << " bits";
  }
}

TEST(SortBytewise, OrdersBytesAsUnsignedPrefixesFirst) {
  std::vector<std::string> const texts = {"n2", "N1", "n10", "\xe9", "n", "", "n1\xff", "n1"};
  std::vector<std::string> const expected = {"", "N1", "n", "n1", "n10", "n1\xff", "n2", "\xe9"};
  EXPECT_EQ(sorted_bytewise(texts), expected);
}

TEST(SortBytewise, LongListsMatchThePlainSort) {
  // Past a few hundred pieces the radix pass takes over; long shared
  // prefixes leave the rest to the full comparison.
  std::mt19937 random(23);
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_int_distribution<int> length(0, 12);
  for (std::size_t count : {600, 3000}) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i) {
      std::string text = i % 3 == 0 ? "rack0node" : "";
      int const extra = length(random);
      for (int b = 0; b < extra; ++b)
        text += static_cast<char>(i % 5 == 0 ? 'a' + b % 3 : byte(random));
      texts.push_back(text);
    }
    std::vector<std::string> expected = texts;
    std::sort(expected.begin(), expected.end(), [](std::string const& a, std::string const& b) {
      return std::string_view(a) < std::string_view(b);
    });
    EXPECT_EQ(sorted_bytewise(texts), expected);
  }
}

TEST(InlineOneVector, KeepsTheFirstValueInsideAndGrowsByDoubling) {
  struct Row {
    std::size_t pushed;
    std::size_t capacity;
    bool inside;  // whether the values are in the object itself
  };
  std::vector<Row> const rows = {
      {0, 1, true}, {1, 1, true}, {2, 2, false}, {3, 4, false}, {5, 8, false},
  };
  for (Row const& row : rows) {
    internal::InlineOneVector<std::uint64_t> values;
    std::vector<std::uint64_t> expected;
    for (std::size_t i = 0; i < row.pushed; ++i) {
      values.push_back(100 + i);
      expected.push_back(100 + i);
    }
    auto const* const object = reinterpret_cast<char const*>(&values);
    auto const* const first = reinterpret_cast<char const*>(values.data());
    bool const inside = first >= object && first < object + sizeof values;
    EXPECT_EQ(inside, row.inside) << "pushed " << row.pushed;
    EXPECT_EQ(values.capacity(), row.capacity) << "pushed " << row.pushed;
    EXPECT_EQ(std::vector<std::uint64_t>(values.begin(), values.end()), expected)
        << "pushed " << row.pushed;
  }
}

TEST(InlineOneVector, MovesValuesAndMarkAndLeavesTheSourceEmpty) {
  for (std::size_t count : {1, 3}) {
    internal::InlineOneVector<int> source;
    for (std::size_t i = 0; i < count; ++i)
      source.push_back(static_cast<int>(7 + i));
    source.set_mark();
    internal::InlineOneVector<int> moved(std::move(source));
    EXPECT_EQ(moved.size(), count);
    EXPECT_EQ(moved[0], 7);
    EXPECT_EQ(moved.back(), static_cast<int>(7 + count - 1));
    EXPECT_TRUE(moved.mark());
    EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move): moved-from state is specified
    EXPECT_FALSE(source.mark());
    moved.shrink_to(1);
    EXPECT_EQ(moved.size(), 1u);
    EXPECT_EQ(moved[0], 7);
  }
}

}  // namespace
