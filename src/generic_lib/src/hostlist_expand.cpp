// Expansion of host-list notation: TokenizedHost::expand_hosts.
//
// The notation is read in two passes: the first checks every piece and works
// out how many names it stands for, the second writes the names into a
// vector reserved to the exact size. Nothing is generated before the whole
// notation is known to be good and small enough.

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "internal/decimal.hpp"
#include "internal/text.hpp"
#include "krel/hostlist.hpp"
#include "record.hpp"

namespace krel {
namespace {

using internal::is_digit;
using internal::padding_zeros;
using internal::quoted;
using internal::trim_blanks;

constexpr char kRecordSource[] = "src/generic_lib/src/hostlist_expand";
// Values up to 10^18 - 1 fit an unsigned 64-bit count with room to spare.
constexpr std::size_t kMaxSignificantDigits = 18;
constexpr std::uint64_t kSaturated = std::numeric_limits<std::uint64_t>::max();

std::uint64_t saturating_add(std::uint64_t a, std::uint64_t b) {
  return a > kSaturated - b ? kSaturated : a + b;
}

std::uint64_t saturating_multiply(std::uint64_t a, std::uint64_t b) {
  if (a == 0 || b == 0) return 0;
  return a > kSaturated / b ? kSaturated : a * b;
}

// One item of a bracket: `count` consecutive values, the first written as
// `first_text`. Each next value is the previous text plus one, where a carry
// never eats into the first `carry_floor` characters: those are padding that
// every value keeps ("09" with floor 1 is followed by "010", "09" with floor
// 0 by "10").
struct RunItem {
  std::string_view first_text;
  std::uint64_t count = 0;
  std::size_t carry_floor = 0;
};

// A bracket and the text in front of it.
struct Bracket {
  std::string_view text_before;
  std::size_t first_item = 0;
  std::size_t item_count = 0;
};

// A piece: its brackets in order and the text after the last one (the whole
// name when it has no bracket).
struct Piece {
  std::size_t first_bracket = 0;
  std::size_t bracket_count = 0;
  std::string_view tail;
};

struct Layout {
  std::vector<RunItem> items;
  std::vector<Bracket> brackets;
  std::vector<Piece> pieces;
};

// Why a piece cannot be expanded; empty when it can.
using Problem = std::string;

// Reads a bound: digits only. Returns false when it is not one.
bool read_bound(std::string_view digits, std::uint64_t& value, Problem& problem,
                std::string_view item) {
  if (digits.empty()) {
    problem = "bad item " + quoted(item);
    return false;
  }
  for (char c : digits) {
    if (!is_digit(c)) {
      problem = "bad item " + quoted(item);
      return false;
    }
  }
  std::size_t const significant = digits.size() - padding_zeros(digits);
  if (significant > kMaxSignificantDigits) {
    problem = "number too large " + quoted(item);
    return false;
  }
  value = 0;
  for (char c : digits)
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  return true;
}

// Reads one item, "n" or "a-b", into `run`.
Problem read_item(std::string_view raw_item, RunItem& run) {
  Problem problem;
  std::string_view const item = trim_blanks(raw_item);
  std::size_t const dash = item.find('-');
  std::string_view const low_text =
      trim_blanks(dash == std::string_view::npos ? item : item.substr(0, dash));
  std::string_view const high_text =
      dash == std::string_view::npos ? low_text : trim_blanks(item.substr(dash + 1));
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  if (!read_bound(low_text, low, problem, item) || !read_bound(high_text, high, problem, item))
    return problem;
  if (low > high) return "descending range " + quoted(item);
  run.first_text = low_text;
  run.count = high - low + 1;
  // Bounds of one width: every value is padded to that width, so a carry may
  // run into the padding. Bounds of different widths: every value keeps the
  // low bound's padding zeros in front of its own digits.
  run.carry_floor = low_text.size() == high_text.size() ? 0 : padding_zeros(low_text);
  return problem;
}

// Reads the inside of one bracket, adding its items to the layout; `count`
// receives the number of values it names.
Problem read_bracket(std::string_view inside, Layout& layout, std::uint64_t& count) {
  if (trim_blanks(inside).empty()) return "empty brackets";
  count = 0;
  std::size_t begin = 0;
  while (true) {
    std::size_t const comma = inside.find(',', begin);
    std::size_t const end = comma == std::string_view::npos ? inside.size() : comma;
    RunItem run;
    Problem problem = read_item(inside.substr(begin, end - begin), run);
    if (!problem.empty()) return problem;
    layout.items.push_back(run);
    count = saturating_add(count, run.count);
    if (comma == std::string_view::npos) return problem;
    begin = comma + 1;
  }
}

// Reads one trimmed piece whose brackets are balanced and not nested.
Problem read_piece(std::string_view text, Layout& layout, std::uint64_t& count) {
  Piece piece;
  piece.first_bracket = layout.brackets.size();
  count = 1;
  std::size_t position = 0;
  while (true) {
    std::size_t const open = text.find('[', position);
    if (open == std::string_view::npos) break;
    std::size_t const close = text.find(']', open);
    Bracket bracket;
    bracket.text_before = text.substr(position, open - position);
    bracket.first_item = layout.items.size();
    std::uint64_t values = 0;
    Problem problem = read_bracket(text.substr(open + 1, close - open - 1), layout, values);
    if (!problem.empty()) return problem;
    bracket.item_count = layout.items.size() - bracket.first_item;
    layout.brackets.push_back(bracket);
    count = saturating_multiply(count, values);
    position = close + 1;
  }
  piece.bracket_count = layout.brackets.size() - piece.first_bracket;
  piece.tail = text.substr(position);
  layout.pieces.push_back(piece);
  return Problem();
}

// The end of the piece that starts at `begin`: the next comma outside
// brackets, or the end of the notation. Bracket trouble met on the way is
// put into `problem`; the scan goes on to the end of the piece anyway so
// that the record can name all of it.
std::size_t find_piece_end(std::string_view notation, std::size_t begin, Problem& problem) {
  int depth = 0;
  for (std::size_t i = begin; i < notation.size(); ++i) {
    char const c = notation[i];
    if (c == '[') {
      if (depth > 0 && problem.empty()) problem = "nested brackets";
      ++depth;
    } else if (c == ']') {
      if (depth == 0) {
        if (problem.empty()) problem = "unbalanced brackets";
      } else {
        --depth;
      }
    } else if (c == ',' && depth == 0) {
      return i;
    }
  }
  if (depth > 0 && problem.empty()) problem = "unbalanced brackets";
  return notation.size();
}

// Steps through the values of one bracket, item after item, keeping the
// current value's text.
class BracketCursor {
 public:
  BracketCursor(Layout const& layout, Bracket const& bracket)
      : first_(layout.items.data() + bracket.first_item),
        end_(first_ + bracket.item_count),
        text_before_(bracket.text_before) {
    load(first_);
  }

  std::string_view text_before() const { return text_before_; }
  std::string const& value() const { return value_; }

  // Moves to the next value; at the last one starts over and returns true.
  bool advance() {
    if (left_ > 0) {
      --left_;
      increment();
      return false;
    }
    if (item_ + 1 != end_) {
      load(item_ + 1);
      return false;
    }
    load(first_);
    return true;
  }

 private:
  void load(RunItem const* item) {
    item_ = item;
    value_.assign(item->first_text.data(), item->first_text.size());
    left_ = item->count - 1;
  }

  void increment() {
    std::size_t const floor = item_->carry_floor;
    if (!internal::increment_decimal(value_.data() + floor, value_.size() - floor))
      value_.insert(floor, 1, '1');
  }

  RunItem const* first_;
  RunItem const* end_;
  RunItem const* item_ = nullptr;
  std::string_view text_before_;
  std::string value_;
  std::uint64_t left_ = 0;
};

void append(std::string& target, std::string_view text) {
  target.append(text.data(), text.size());
}

// Writes the names of one piece with brackets, leftmost bracket slowest.
// Everything in front of the last bracket's value changes only when an
// earlier bracket moves on, so it is kept ready as `front`, and the inner
// loop writes each name straight into its place.
void write_product(Layout const& layout, Piece const& piece, std::vector<std::string>& names) {
  std::vector<BracketCursor> cursors;
  cursors.reserve(piece.bracket_count);
  for (std::size_t b = 0; b < piece.bracket_count; ++b)
    cursors.emplace_back(layout, layout.brackets[piece.first_bracket + b]);
  BracketCursor& last = cursors.back();
  std::string front;
  while (true) {
    front.clear();
    for (std::size_t b = 0; b + 1 < cursors.size(); ++b) {
      append(front, cursors[b].text_before());
      front += cursors[b].value();
    }
    append(front, last.text_before());
    do {
      std::string const& value = last.value();
      names.emplace_back();
      std::string& name = names.back();
      name.reserve(front.size() + value.size() + piece.tail.size());
      name += front;
      name += value;
      append(name, piece.tail);
    } while (!last.advance());
    std::size_t position = cursors.size() - 1;
    while (true) {
      if (position == 0) return;
      if (!cursors[--position].advance()) break;
    }
  }
}

std::vector<std::string> expand_notation(std::string const& notation, std::size_t max_names) {
  std::vector<std::string> names;
  std::string_view const text(notation);
  if (trim_blanks(text).empty()) return names;

  Layout layout;
  std::uint64_t total = 0;
  std::size_t begin = 0;
  while (true) {
    Problem problem;
    std::size_t const end = find_piece_end(text, begin, problem);
    std::string_view const piece = trim_blanks(text.substr(begin, end - begin));
    std::uint64_t count = 0;
    if (problem.empty()) problem = read_piece(piece, layout, count);
    if (!problem.empty()) {
      KREL_RECORD(4) << "cannot expand " << quoted(piece) << ": " << problem;
      return names;
    }
    total = saturating_add(total, count);
    if (total > max_names) {
      KREL_RECORD(4) << "cannot expand " << quoted(piece) << ": more than " << max_names
                     << " names";
      return names;
    }
    if (end == text.size()) break;
    begin = end + 1;
  }

  names.reserve(static_cast<std::size_t>(total));
  for (Piece const& piece : layout.pieces) {
    if (piece.bracket_count == 0)
      names.emplace_back(piece.tail);
    else
      write_product(layout, piece, names);
  }
  return names;
}

}  // namespace

std::vector<std::string> TokenizedHost::expand_hosts(std::string const& notation,
                                                     std::size_t max_names) {
  return expand_notation(notation, max_names);
}

}  // namespace krel
