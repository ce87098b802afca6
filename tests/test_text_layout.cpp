#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "krel/text_layout.hpp"
#include "models.hpp"
#include "test_support.hpp"

// Allocation failure on demand: while `fail_allocations_from` is below
// SIZE_MAX, any request of at least that many bytes throws, as when memory
// runs out. The library's allocations land here through dynamic linking.
// Kept out of line, so that the compiler does not pair an inlined new with an
// inlined free.
namespace {
std::size_t fail_allocations_from = SIZE_MAX;
}  // namespace

__attribute__((visibility("default"), noinline)) void* operator new(std::size_t size) {
  if (size >= fail_allocations_from) throw std::bad_alloc();
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
__attribute__((visibility("default"), noinline)) void operator delete(void* memory) noexcept {
  std::free(memory);
}
__attribute__((visibility("default"), noinline)) void operator delete(void* memory,
                                                                      std::size_t) noexcept {
  std::free(memory);
}

namespace {

using krel::str::AlignRight;
using krel::str::clean_previous_formatting;
using krel::str::column_wrap;
using krel::str::join_set_strings;
using krel::str::space_wrap;
using krel::str::terminal_width;
using krel::str::vect_to_str;
using krel::str::word_wrap;

// ---------------------------------------------------------------------------
// Standard input stand-ins
// ---------------------------------------------------------------------------

// Puts `replacement` on descriptor 0 for the object's lifetime; the original
// standard input comes back afterwards.
class StandardInputSwap {
 public:
  explicit StandardInputSwap(int replacement) : saved_(::dup(STDIN_FILENO)) {
    EXPECT_GE(saved_, 0);
    EXPECT_EQ(::dup2(replacement, STDIN_FILENO), STDIN_FILENO);
  }
  ~StandardInputSwap() {
    ::dup2(saved_, STDIN_FILENO);
    ::close(saved_);
  }
  StandardInputSwap(StandardInputSwap const&) = delete;
  StandardInputSwap& operator=(StandardInputSwap const&) = delete;

 private:
  int saved_;
};

// Standard input is a pseudo-terminal `columns` wide.
class TerminalOnStandardInput {
 public:
  explicit TerminalOnStandardInput(unsigned short columns) {
    winsize size{};
    size.ws_row = 24;
    size.ws_col = columns;
    EXPECT_EQ(::openpty(&controller_, &terminal_, nullptr, nullptr, &size), 0);
    EXPECT_EQ(::ioctl(terminal_, TIOCSWINSZ, &size), 0);
    swap_ = new StandardInputSwap(terminal_);
  }
  ~TerminalOnStandardInput() {
    delete swap_;
    ::close(terminal_);
    ::close(controller_);
  }
  TerminalOnStandardInput(TerminalOnStandardInput const&) = delete;
  TerminalOnStandardInput& operator=(TerminalOnStandardInput const&) = delete;

 private:
  int controller_ = -1;
  int terminal_ = -1;
  StandardInputSwap* swap_ = nullptr;
};

// Standard input is /dev/null: no terminal, so the width is unknown.
class NoTerminalOnStandardInput {
 public:
  NoTerminalOnStandardInput() : null_(::open("/dev/null", O_RDONLY)), swap_(null_) {}
  ~NoTerminalOnStandardInput() { ::close(null_); }
  NoTerminalOnStandardInput(NoTerminalOnStandardInput const&) = delete;
  NoTerminalOnStandardInput& operator=(NoTerminalOnStandardInput const&) = delete;

 private:
  int null_;
  StandardInputSwap swap_;
};

// `count` four-byte words "w001", "w002", ... joined by single spaces.
std::string numbered_words(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    if (i > 1) text += ' ';
    std::string const number = std::to_string(i);
    text += 'w' + std::string(3 - number.size(), '0') + number;
  }
  return text;
}

// ---------------------------------------------------------------------------
// terminal_width
// ---------------------------------------------------------------------------

TEST(TerminalWidth, ReadsTheColumnsOfTheTerminalOnStandardInput) {
  {
    TerminalOnStandardInput terminal(80);
    EXPECT_EQ(terminal_width(), 80);
  }
  {
    TerminalOnStandardInput terminal(72);
    EXPECT_EQ(terminal_width(), 72);
  }
  {
    TerminalOnStandardInput terminal(1);
    EXPECT_EQ(terminal_width(), 1);
  }
}

TEST(TerminalWidth, TerminalOfZeroColumnsIsUnknownWidth) {
  TerminalOnStandardInput terminal(0);
  EXPECT_EQ(terminal_width(), 0);
}

TEST(TerminalWidth, NoTerminalGivesZero) {
  NoTerminalOnStandardInput no_terminal;
  EXPECT_EQ(terminal_width(), 0);
}

TEST(TerminalWidth, PipeGivesZero) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  {
    StandardInputSwap swap(ends[0]);
    EXPECT_EQ(terminal_width(), 0);
  }
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(TerminalWidth, ClosedStandardInputGivesZero) {
  int const saved = ::dup(STDIN_FILENO);
  ASSERT_GE(saved, 0);
  ::close(STDIN_FILENO);
  int const width = terminal_width();
  ::dup2(saved, STDIN_FILENO);
  ::close(saved);
  EXPECT_EQ(width, 0);
}

TEST(TerminalWidth, ThousandCallsLeaveNoDescriptorOpen) {
  TerminalOnStandardInput terminal(80);
  int const before = krel_test::open_descriptor_count();
  ASSERT_GT(before, 0);
  int wrong_answers = 0;
  for (int i = 0; i < 1000; ++i) {
    if (terminal_width() != 80) ++wrong_answers;
  }
  EXPECT_EQ(wrong_answers, 0);
  EXPECT_EQ(krel_test::open_descriptor_count(), before);
}

// ---------------------------------------------------------------------------
// word_wrap
// ---------------------------------------------------------------------------

struct WrapRow {
  std::string text;
  int width;
  std::string indent;
  std::string expected;
};

void expect_word_wrap_rows(std::vector<WrapRow> const& rows) {
  for (WrapRow const& row : rows) {
    EXPECT_EQ(word_wrap(row.text, row.width, row.indent), row.expected)
        << "text \"" << row.text << "\" width " << row.width << " indent \"" << row.indent << "\"";
  }
}

TEST(WordWrap, BreaksAtSpacesWithinTheWidth) {
  expect_word_wrap_rows({
      {"the quick brown fox jumps", 10, "", "the quick\nbrown fox\njumps"},
      {"the quick brown fox jumps", 10, "  ", "the quick\n  brown\n  fox\n  jumps"},
      {"x y", 1, "", "x\ny"},
  });
}

TEST(WordWrap, SpaceAtIndexWidthIsAValidBreak) {
  expect_word_wrap_rows({
      {"aaaa bbbb", 4, "", "aaaa\nbbbb"},
      {"aaaa bbbb cccc", 9, "", "aaaa bbbb\ncccc"},
  });
}

TEST(WordWrap, LongWordIsNeverSplit) {
  expect_word_wrap_rows({
      {"abcdefghijklmno pq", 5, "", "abcdefghijklmno\npq"},
      {"ab abcdefghijklmno pq", 5, "", "ab\nabcdefghijklmno\npq"},
      {"abcdefghij", 3, "", "abcdefghij"},
      {"abcdefghij", 3, "  ", "abcdefghij"},
  });
}

TEST(WordWrap, ConsumesOnlyTheOneBreakSpace) {
  expect_word_wrap_rows({
      {"aaa  bbb", 4, "", "aaa \nbbb"},
      {"aaa   bbb", 3, "", "aaa\n \nbbb"},
      {"aaaa  bbbb", 4, "", "aaaa\n bbbb"},
  });
}

TEST(WordWrap, LeadingSpaceIsNoBreak) {
  expect_word_wrap_rows({
      {" leading space here", 7, "", " leading\nspace\nhere"},
      {" abc", 2, "", " abc"},
  });
}

TEST(WordWrap, IndentOnlyAfterABreak) {
  expect_word_wrap_rows({
      {"short", 20, "--", "short"},
      {"one two\n\nthree four five\n", 9, "> ", "one two\n\nthree\n> four\n> five\n"},
      {"aa bb\ncc dd", 2, ">", "aa\n>bb\ncc\n>dd"},
  });
}

TEST(WordWrap, LineThatFitsIsCopiedEvenWhenLongerThanTheRoomBesideTheIndent) {
  expect_word_wrap_rows({
      {"aa bb cc", 8, "------", "aa bb cc"},
      {"aa bb cc", 8, "----------", "aa bb cc"},
  });
}

TEST(WordWrap, KeepsOrDropsTheFinalNewlineAsTheTextHadIt) {
  expect_word_wrap_rows({
      {"", 10, "x", ""},
      {"\n", 10, "x", "\n"},
      {"a b", 1, "", "a\nb"},
      {"a b\n", 1, "", "a\nb\n"},
      {"a\n\n", 5, "", "a\n\n"},
  });
}

TEST(WordWrap, BreakAtTheLastByteLeavesAnEmptyLastSegment) {
  expect_word_wrap_rows({
      {"ab ", 1, "", "ab\n"},
      {"ab ", 1, "--", "ab\n--"},
      {"ab \n", 1, "", "ab\n\n"},
      {"ab \ncd", 1, "", "ab\n\ncd"},
  });
}

TEST(WordWrap, TabsAndOtherBytesAreOrdinaryText) {
  expect_word_wrap_rows({
      {"a\tb c", 3, "", "a\tb\nc"},
      {"a\rb c", 3, "", "a\rb\nc"},
      {"a\xa0"
       "b c",
       3, "",
       "a\xa0"
       "b\nc"},
      {"\xc3\xa9\xc3\xa9 \xc3\xa9", 4, "", "\xc3\xa9\xc3\xa9\n\xc3\xa9"},
      {"\xff\xfe \x80\x81 \xfe\xff", 5, "\x90", "\xff\xfe \x80\x81\n\x90\xfe\xff"},
      {std::string("a\0b c", 5), 3, "", std::string("a\0b\nc", 5)},
  });
}

TEST(WordWrap, WidthOneBreaksAtEverySpace) {
  expect_word_wrap_rows({
      {"ab cd", 1, "", "ab\ncd"},
      {"a b c", 1, "", "a\nb\nc"},
      {"a", 1, "", "a"},
  });
}

TEST(WordWrap, HugeWidthCopiesTheText) {
  expect_word_wrap_rows({
      {"the quick brown fox", INT_MAX, "  ", "the quick brown fox"},
      {"the quick\nbrown fox\n", INT_MAX, "", "the quick\nbrown fox\n"},
      {"", INT_MAX, "", ""},
  });
}

TEST(WordWrap, TextOfOnlySpaces) {
  expect_word_wrap_rows({
      {"     ", 2, "", "  \n  "},
      {"   ", 1, "", " \n "},
      {"    ", 1, "-", " \n-\n-\n-"},
      {"   ", 80, "", "   "},
      {" ", 1, "", " "},
  });
}

TEST(WordWrap, TextOfOnlyNewlines) {
  expect_word_wrap_rows({
      {"\n\n\n", 5, "x", "\n\n\n"},
      {"\n\n\n", 1, "", "\n\n\n"},
      {"\n", INT_MAX, "", "\n"},
  });
}

// An indent longer than the width leaves no room beside it: the rest of the
// line goes out unbroken after the first break, whether or not the break
// arithmetic wraps past the line's end.
TEST(WordWrap, IndentLongerThanWidthEmitsTheRestUnbroken) {
  std::string const hundred_x(100, 'x');
  expect_word_wrap_rows({
      {"aaaa bbbb cccc", 5, hundred_x, "aaaa\n" + hundred_x + "bbbb cccc"},
      {"aa bb cc dd", 3, "----", "aa\n----bb cc dd"},
      {"aa bb cc dd", 2, "---", "aa\n---bb cc dd"},
      {"a b c", 1, "  ", "a\n  b c"},
      {"aa bb cc dd\nee ff gg\n", 3, "----", "aa\n----bb cc dd\nee\n----ff gg\n"},
      {"aaa bb cc", 2, "---", "aaa\n---bb cc"},
      // Here the break arithmetic would walk back over the leading spaces and
      // write " x" and then "  x" once more.
      {"   x", 1, "---", " \n--- x"},
      {"aa bb cc", 8, "---------", "aa bb cc"},
  });
}

TEST(WordWrap, IndentAsLongAsWidthPutsOneWordPerContinuationLine) {
  expect_word_wrap_rows({
      {"aa bb cc", 2, "--", "aa\n--bb\n--cc"},
      {"aa  bb", 2, "--", "aa\n--\n--bb"},
      {"a b c d", 1, "-", "a\n-b\n-c\n-d"},
  });
}

TEST(WordWrap, UnknownTerminalWidthDropsTheWholeText) {
  NoTerminalOnStandardInput no_terminal;
  for (int width : {0, -1, INT_MIN}) {
    EXPECT_EQ(word_wrap("the quick brown fox jumps", width, ""), "") << width;
    EXPECT_EQ(word_wrap("short\n", width, "  "), "") << width;
    EXPECT_EQ(word_wrap("\n\n", width, ""), "") << width;
    EXPECT_EQ(word_wrap("", width, ""), "") << width;
  }
}

TEST(WordWrap, WidthZeroOrLessTakesTheTerminalWidth) {
  // Words of four bytes and a space: spaces stand at 4, 9, ..., so a line
  // holds 14 words on a 72-column terminal and 16 on an 80-column one.
  std::string const text = numbered_words(40);
  std::string const at_72 = numbered_words(14) + "\n" + numbered_words(28).substr(70) + "\n" +
                            numbered_words(40).substr(140);
  std::string const at_80 = numbered_words(16) + "\n" + numbered_words(32).substr(80) + "\n" +
                            numbered_words(40).substr(160);
  ASSERT_EQ(word_wrap(text, 72, ""), at_72);
  ASSERT_EQ(word_wrap(text, 80, ""), at_80);
  for (int width : {0, -1, INT_MIN}) {
    {
      TerminalOnStandardInput terminal(72);
      EXPECT_EQ(word_wrap(text, width, ""), at_72) << width;
    }
    {
      TerminalOnStandardInput terminal(80);
      EXPECT_EQ(word_wrap(text, width, ""), at_80) << width;
      EXPECT_EQ(word_wrap("short text\n", width, ""), "short text\n") << width;
    }
  }
}

TEST(WordWrap, FailureWhileWrappingGivesEmptyText) {
  // Wrapping "a a a ..." at width 100 behind a 99-byte indent makes the
  // result about fifty times the text, so the output buffer must at some
  // point ask for at least four times the text's size.
  std::string text;
  for (int i = 0; i < 4096; ++i)
    text += "a ";
  std::string const indent(99, '-');
  std::string const wrapped = word_wrap(text, 100, indent);
  ASSERT_GT(wrapped.size(), 40 * text.size());

  std::vector<std::size_t> const thresholds = {1, text.size(), 4 * text.size(), wrapped.size()};
  for (std::size_t threshold : thresholds) {
    fail_allocations_from = threshold;
    std::string const result = word_wrap(text, 100, indent);
    fail_allocations_from = SIZE_MAX;
    EXPECT_EQ(result, "") << threshold;
  }
  EXPECT_EQ(word_wrap(text, 100, indent), wrapped);
}

using krel_model::literal_word_wrap;
using krel_model::LiteralEnd;

TEST(WordWrap, MatchesTheWrappingStepsWhereverTheyMoveForward) {
  // Short texts over a small alphabet, with widths and indent lengths around
  // their sizes, against the breaking rules of word_wrap's contract
  // (krel/text_layout.hpp) followed to the letter (tests/models). Wherever
  // those steps only move forward the results agree byte for byte; that is
  // every case with an indent no longer than the width.
  char const alphabet[] = {'a', 'b', ' ', ' ', '\n', '\xe9'};
  std::uint32_t state = 12345;
  auto next = [&state]() {
    state = state * 1103515245u + 12345u;
    return state >> 16;
  };
  int compared = 0;
  int going_back = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    std::size_t const length = next() % 24;
    for (std::size_t i = 0; i < length; ++i)
      text += alphabet[next() % sizeof alphabet];
    int const width = static_cast<int>(next() % 12) + 1;
    std::string const indent(next() % 14, '>');
    std::string expected;
    if (literal_word_wrap(text, width, indent, expected) != LiteralEnd::kPlainly) {
      EXPECT_GT(indent.size(), static_cast<std::size_t>(width)) << text;
      ++going_back;
      continue;
    }
    ++compared;
    EXPECT_EQ(word_wrap(text, width, indent), expected)
        << "text \"" << text << "\" width " << width << " indent " << indent.size();
  }
  EXPECT_GT(compared, 2000);
  EXPECT_GT(going_back, 0);
}

// ---------------------------------------------------------------------------
// column_wrap
// ---------------------------------------------------------------------------

struct ColumnRow {
  std::string text;
  int width;
  std::string indent;
  char separator;
  bool hide_separator;
  std::string expected;
};

void expect_column_wrap_rows(std::vector<ColumnRow> const& rows) {
  for (ColumnRow const& row : rows) {
    EXPECT_EQ(column_wrap(row.text, row.width, row.indent, row.separator, row.hide_separator),
              row.expected)
        << "text \"" << row.text << "\" width " << row.width << " indent \"" << row.indent
        << "\" separator '" << row.separator << "' hide " << row.hide_separator;
  }
}

TEST(ColumnWrap, LinesValuesUpInOneColumn) {
  expect_column_wrap_rows({
      {"name: value one\nlonger name: val", 80, "  ", ':', false,
       "name:        value one\nlonger name: val"},
      {"key: a b c d e f g h", 12, "    ", ':', false, "key: a b c d\n     e f g h"},
      {"title\nk: v\nlong key: w", 80, "", ':', false, "title\nk:        v\nlong key: w"},
      {"a:b:c\nlong:x", 80, "", ':', false, "a:   b:c\nlong:x"},
  });
}

TEST(ColumnWrap, ContinuationIndentIsColumnEndPlusTwoNotTheCallersIndent) {
  expect_column_wrap_rows({
      {"name: value one\nlonger name: val", 20, "  ", ':', false,
       "name:        value\n             one\nlonger name: val"},
      {"no separator here", 10, "> ", ':', false, "no\n  separator\n  here"},
  });
}

TEST(ColumnWrap, HiddenSeparatorBecomesASpace) {
  expect_column_wrap_rows({
      {"name=value\nlongername=val\n", 80, "", '=', true, "name       value\nlongername val\n"},
      {"a:b:c\nlong:x", 80, "", ':', true, "a    b:c\nlong x"},
  });
}

TEST(ColumnWrap, KeepsTheFinalNewlineAsTheTextHadIt) {
  expect_column_wrap_rows({
      {"", 10, "x", ':', false, ""},
      {"\n", 10, "x", ':', false, "\n"},
      {"\n\n", 10, "x", ':', false, "\n\n"},
      {"a: b\n", 10, "", ':', false, "a: b\n"},
      {"a: b\nlong: c\n\n", 10, "", ':', false, "a:    b\nlong: c\n\n"},
  });
}

TEST(ColumnWrap, SeparatorBeyondWidthFallsBackToPlainWrapping) {
  expect_column_wrap_rows({
      {"averyverylongkey: v", 10, ">", ':', false, "averyverylongkey:\n>v"},
      {"a: b\nabcdefg: x y", 6, ">", ':', true, "a: b\nabcdefg:\n>x y"},
      {"abcdef: x y z", 5, "+", ':', false, "abcdef:\n+x y\n+z"},
  });
}

// A separator at width - 1 or at width makes the continuation indent longer
// than the width; the rest of a broken line goes out unbroken behind it.
TEST(ColumnWrap, SeparatorAtOrJustBeforeTheWidth) {
  expect_column_wrap_rows({
      {"abcd: x y z", 5, "+", ':', false, "abcd:\n      x y z"},
      {"abcde: x y z", 5, "+", ':', false, "abcde:\n       x y z"},
      {"abcd: x y z\nk: v", 5, "+", ':', false, "abcd:\n      x y z\nk:   \n      v"},
      {"abcde: x y z", 5, "+", ':', true, "abcde\n        x y z"},
  });
}

TEST(ColumnWrap, WidthBelowZeroAbandonsTheLayoutAtOnce) {
  {
    TerminalOnStandardInput terminal(80);
    expect_column_wrap_rows({
        {"a:b", -1, "  ", ':', false, "a:b"},
        {"a:b\nlong:c", -1, "  ", ':', false, "a:b\nlong:c"},
        {"a:b\nlong:c", INT_MIN, "  ", ':', false, "a:b\nlong:c"},
        {":b\n:c", 0, "  ", ':', false, ":b\n:c"},
        {"a:b\nlong:c", 0, "  ", ':', false, "a:b\nlong:c"},
    });
  }
  {
    TerminalOnStandardInput terminal(12);
    expect_column_wrap_rows({
        {"a: one two three", -1, "+", ':', false, "a: one two\n+three"},
        {": one two three", 0, "+", ':', false, ": one two\n  three"},
    });
  }
  {
    NoTerminalOnStandardInput no_terminal;
    expect_column_wrap_rows({
        {"a:b", -1, "  ", ':', false, ""},
        {":b", 0, "  ", ':', false, ""},
    });
  }
}

TEST(ColumnWrap, HugeWidthLaysOutWithoutWrapping) {
  expect_column_wrap_rows({
      {"k: a b c d e f\nlonger key: g", INT_MAX, "", ':', false,
       "k:          a b c d e f\nlonger key: g"},
  });
}

TEST(ColumnWrap, BytesAboveAsciiAreOrdinaryText) {
  expect_column_wrap_rows({
      {"\xc3\xa9: v\nab: w", 80, "", ':', false, "\xc3\xa9: v\nab: w"},
      {"\xc3\xa9\xc3\xa9: v\nab: w", 80, "", ':', false, "\xc3\xa9\xc3\xa9: v\nab:   w"},
      {"a\xff"
       "b\nc\xffwhatever",
       80, "", '\xff', true, "a b\nc whatever"},
  });
}

// ---------------------------------------------------------------------------
// space_wrap
// ---------------------------------------------------------------------------

TEST(SpaceWrap, AlignsFieldsIntoColumns) {
  struct Row {
    std::string text;
    int width;
    std::string indent;
    std::string expected;
  };
  std::vector<Row> const rows = {
      {"a bb ccc\ndddd e f", 80, "", "a    bb ccc\ndddd e  f"},
      {"x  y\nab c", 80, "", "x   y\nab c"},
      {" a b\nc d", 80, "", "  a b\nc d"},
      {"one two three four", 9, "  ", "one two\n  three\n  four"},
      {"a b c\nddd e\nf gg hhh i", 80, "", "a   b  c\nddd e\nf   gg hhh i"},
      {"a b\n\nccc d", 80, "", "a   b\n\nccc d"},
      {" a\n b", 80, "", " a\n b"},
      {"ab\ncd", 80, "", "ab\ncd"},
      {"\xc3\xa9 x\nab y", 80, "", "\xc3\xa9 x\nab y"},
      {"\xc3\xa9\xc3\xa9 x\nab y", 80, "", "\xc3\xa9\xc3\xa9 x\nab   y"},
  };
  for (Row const& row : rows) {
    EXPECT_EQ(space_wrap(row.text, row.width, row.indent), row.expected) << row.text;
  }
}

TEST(SpaceWrap, LosesTheFinalNewline) {
  EXPECT_EQ(space_wrap("a bb ccc\ndddd e f\n", 80, ""), "a    bb ccc\ndddd e  f");
  EXPECT_EQ(space_wrap("a b\n", 80, ""), "a b");
  EXPECT_EQ(space_wrap("\n", 80, ""), "");
  EXPECT_EQ(space_wrap("\n\n", 80, ""), "\n");
  EXPECT_EQ(space_wrap("\n\n\n", 1, ""), "\n\n");
  EXPECT_EQ(space_wrap("", 80, ""), "");
}

TEST(SpaceWrap, TextOfOnlySpaces) {
  EXPECT_EQ(space_wrap("   ", 80, ""), "   ");
  EXPECT_EQ(space_wrap("   \n ", 80, ""), "   \n ");
  EXPECT_EQ(space_wrap("     ", 2, ""), "  \n  ");
}

TEST(SpaceWrap, WrapsWithTheCallersWidthAndIndent) {
  EXPECT_EQ(space_wrap("a bb\nccc d", 4, ">"), "a  \n>bb\nccc\n>d");
  EXPECT_EQ(space_wrap("a b", INT_MAX, ">"), "a b");
  {
    TerminalOnStandardInput terminal(6);
    EXPECT_EQ(space_wrap("a bb cc\nddd e", 0, ">"), "a   bb\n>cc\nddd e");
  }
  {
    NoTerminalOnStandardInput no_terminal;
    EXPECT_EQ(space_wrap("a b\nc d", 0, ""), "");
    EXPECT_EQ(space_wrap("a b\nc d", -1, ""), "");
  }
}

TEST(SpaceWrap, ManyFieldsStayLinear) {
  // Two lines of 20,000 fields each, of different widths: every pass pads
  // the narrower line by one space, 20,000 passes in all.
  std::string first;
  std::string second;
  for (int i = 0; i < 20000; ++i) {
    first += i == 0 ? "aa" : " aa";
    second += i == 0 ? "b" : " b";
  }
  std::string expected_second;
  for (int i = 0; i < 20000; ++i)
    expected_second += i == 0 ? "b" : "  b";
  std::string const result = space_wrap(first + "\n" + second, INT_MAX, "");
  EXPECT_EQ(result, first + "\n" + expected_second);
}

// ---------------------------------------------------------------------------
// AlignRight
// ---------------------------------------------------------------------------

TEST(AlignRight, PadsToTheLongestBehindThePrefix) {
  struct Row {
    std::vector<std::string> entries;
    std::string prefix;
    std::vector<std::string> expected;
  };
  std::vector<Row> const rows = {
      {{"a", "bbb", "cc"}, "> ", {">   a", "> bbb", ">  cc"}},
      {{}, "> ", {}},
      {{"", ""}, "", {"", ""}},
      {{"", "ab"}, "", {"  ", "ab"}},
      {{"\xc3\xa9", "abc"}, "", {" \xc3\xa9", "abc"}},
      {{"x"}, "prefix ", {"prefix x"}},
  };
  for (Row const& row : rows) {
    EXPECT_EQ(AlignRight(row.entries, row.prefix), row.expected) << row.prefix;
  }
}

// ---------------------------------------------------------------------------
// clean_previous_formatting
// ---------------------------------------------------------------------------

TEST(CleanPreviousFormatting, NewlinesBecomeSpacesAndSpaceRunsOne) {
  struct Row {
    std::string text;
    std::string expected;
  };
  std::vector<Row> const rows = {
      {"a\nb", "a b"},      {"a \n b", "a b"},
      {"a\n\n\nb", "a b"},  {"\n", " "},
      {"  x  ", " x "},     {"a\r\nb", "a\r b"},
      {"a\t\nb", "a\t b"},  {"", ""},
      {"     ", " "},       {"\n\n\n", " "},
      {"a\t\tb", "a\t\tb"}, {"\xc3\xa9\n \xc3\xa9", "\xc3\xa9 \xc3\xa9"},
  };
  for (Row const& row : rows) {
    EXPECT_EQ(clean_previous_formatting(row.text), row.expected) << row.text;
  }
}

TEST(CleanPreviousFormatting, CleanedTextWrapsAfresh) {
  std::string const wrapped = word_wrap("the quick brown fox jumps", 10, "  ");
  EXPECT_EQ(word_wrap(clean_previous_formatting(wrapped), 15, ""), "the quick brown\nfox jumps");
}

// ---------------------------------------------------------------------------
// join_set_strings and vect_to_str
// ---------------------------------------------------------------------------

TEST(JoinSetStrings, SerialCommaFromThreeOnTwoWithoutComma) {
  struct Row {
    std::set<std::string> items;
    std::string expected;
  };
  std::vector<Row> const rows = {
      {{}, ""},
      {{"x"}, "x"},
      {{"b", "a"}, "a and b"},
      {{"c", "a", "b"}, "a, b, and c"},
      {{"a", "b", "c", "d"}, "a, b, c, and d"},
      {{"", "a"}, " and a"},
      {{"", "a", "b"}, ", a, and b"},
      {{"B", "a", "A"}, "A, B, and a"},
  };
  for (Row const& row : rows) {
    EXPECT_EQ(join_set_strings(row.items), row.expected) << row.expected;
  }
}

TEST(VectToStr, JoinsInOrderWithTheSeparator) {
  struct Row {
    std::vector<std::string> list;
    std::string separator;
    std::string expected;
  };
  std::vector<Row> const rows = {
      {{}, ",", ""},
      {{}, "", ""},
      {{"a"}, ",", "a"},
      {{"a", "", "b"}, ",", "a,,b"},
      {{"b", "a"}, ";", "b;a"},
      {{"a", "b", "c"}, "", "abc"},
      {{"a", "b"}, " -- ", "a -- b"},
      {{"", ""}, ",", ","},
  };
  for (Row const& row : rows) {
    EXPECT_EQ(vect_to_str(row.list, row.separator), row.expected) << row.expected;
  }
}

}  // namespace
