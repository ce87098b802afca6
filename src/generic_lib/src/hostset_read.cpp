// Host sets: reading notation into pieces, brackets and items, and visiting
// the names in the order written.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_read.hpp"
#include "internal/decimal.hpp"
#include "internal/text.hpp"

namespace krel {
namespace hostset_internal {
namespace {

using internal::is_blank;
using internal::is_digit;
using internal::padding_zeros;
using internal::quoted;
using internal::trim_blanks;

// Reads a bound or a step: digits only.
Reason read_number(std::string_view digits, ReadOptions const& options, std::uint64_t& value) {
  if (digits.empty()) return Reason::kBadItem;
  for (char c : digits) {
    if (!is_digit(c)) return Reason::kBadItem;
  }
  std::size_t const zeros = padding_zeros(digits);
  if (digits.size() - zeros > options.max_significant_digits || digits.size() > kMaxWidth)
    return Reason::kTooLarge;
  return digits_value(digits, value) ? Reason::kNone : Reason::kTooLarge;
}

// Items as folds write them, "7" or "0001-0040": digits only, at most 18 on
// each side, which no reading refuses for their size. They are read in one
// pass; false for any other item, which the general way reads.
bool read_simple_item(std::string_view text, Item& item) {
  constexpr std::size_t kMostDigits = 18;
  std::uint64_t values[2] = {0, 0};
  std::size_t sizes[2] = {0, 0};
  char const* at = text.data();
  char const* const end = at + text.size();
  for (std::size_t part = 0;; ++part) {
    char const* const stop = internal::scan_decimal(at, end, values[part]);
    sizes[part] = static_cast<std::size_t>(stop - at);
    if (sizes[part] == 0 || sizes[part] > kMostDigits) return false;
    if (stop == end) break;
    if (*stop != '-' || part == 1) return false;
    at = stop + 1;
  }
  if (sizes[1] == 0) {
    values[1] = values[0];
    sizes[1] = sizes[0];
  }
  item.lo = values[0];
  item.hi = values[1];
  item.step = 1;
  item.plain = sizes[0] < sizes[1];
  item.width = static_cast<std::uint32_t>(sizes[0]);
  item.zeros = item.plain ? static_cast<std::uint32_t>(padding_zeros(text.substr(0, sizes[0]))) : 0;
  return true;
}

Problem read_item(std::string_view raw, ReadOptions const& options, Item& item) {
  if (read_simple_item(raw, item)) {
    if (item.lo > item.hi) return Problem{Reason::kDescending, raw};
    return Problem{};
  }
  std::string_view const text = trim_blanks(raw);
  if (text.empty())
    return Problem{options.legacy_messages ? Reason::kBadItem : Reason::kEmptyItem, text};
  std::size_t const slash = text.find('/');
  std::string_view const range = trim_blanks(text.substr(0, slash));
  std::size_t const dash = range.find('-');
  std::string_view const low_text = trim_blanks(range.substr(0, dash));
  std::string_view const high_text =
      dash == std::string_view::npos ? low_text : trim_blanks(range.substr(dash + 1));
  if (slash != std::string_view::npos && dash == std::string_view::npos)
    return Problem{Reason::kBadItem, text};
  Reason reason = read_number(low_text, options, item.lo);
  if (reason == Reason::kNone) reason = read_number(high_text, options, item.hi);
  item.step = 1;
  if (reason == Reason::kNone && slash != std::string_view::npos)
    reason = read_number(trim_blanks(text.substr(slash + 1)), options, item.step);
  if (reason != Reason::kNone) return Problem{reason, text};
  if (item.step == 0) return Problem{Reason::kStepZero, text};
  if (item.lo > item.hi) return Problem{Reason::kDescending, text};
  // Bounds of one width pad every value to it, and so does a wider low
  // bound; a narrower low bound keeps its padding zeros in front of each
  // value's own digits (none: values are written plainly).
  item.plain = low_text.size() < high_text.size();
  item.width = static_cast<std::uint32_t>(low_text.size());
  item.zeros = item.plain ? static_cast<std::uint32_t>(padding_zeros(low_text)) : 0;
  return Problem{};
}

Problem read_bracket(std::string_view inside, ReadOptions const& options, Layout& layout,
                     Count& count) {
  if (trim_blanks(inside).empty()) return Problem{Reason::kEmptyBrackets, {}};
  count = 0;
  std::size_t begin = 0;
  while (true) {
    std::size_t const comma = inside.find(',', begin);
    std::size_t const end = comma == std::string_view::npos ? inside.size() : comma;
    Item item;
    Problem const problem = read_item(inside.substr(begin, end - begin), options, item);
    if (!problem.ok()) return problem;
    layout.items.push_back(item);
    count = add_counts(count, item.count());
    if (comma == std::string_view::npos) return Problem{};
    begin = comma + 1;
  }
}

// Steps through the values of one bracket, item after item, keeping the
// current value's text.
class BracketCursor {
 public:
  BracketCursor(Layout const& layout, Bracket const& bracket)
      : first_(layout.items.data() + bracket.first_item),
        end_(first_ + bracket.item_count),
        before_(bracket.before) {
    load(first_);
  }

  std::string_view before() const { return before_; }
  std::string const& text() const { return text_; }

  // Moves to the next value; after the last one starts over and gives true.
  bool advance() {
    if (item_->hi - value_ >= item_->step) {
      value_ += item_->step;
      if (item_->step == 1) {
        increment();
      } else {
        render();
      }
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
  void load(Item const* item) {
    item_ = item;
    value_ = item->lo;
    render();
  }
  void render() {
    text_.clear();
    if (item_->plain) {
      text_.append(item_->zeros, '0');
      append_to_width(text_, 0, value_);
    } else {
      append_to_width(text_, item_->width, value_);
    }
  }
  // Adds one to the text: a carry never eats into a plain value's zeros.
  void increment() {
    std::size_t const floor = item_->plain ? item_->zeros : 0;
    if (!internal::increment_decimal(&text_[floor], text_.size() - floor))
      text_.insert(floor, 1, '1');
  }

  Item const* first_;
  Item const* end_;
  Item const* item_ = nullptr;
  std::string_view before_;
  std::string text_;
  std::uint64_t value_ = 0;
};

void append(std::string& target, std::string_view text) {
  target.append(text.data(), text.size());
}

// Visits the names of one piece with brackets, leftmost bracket slowest.
// `cursors` and `name` are the caller's, kept from piece to piece.
void visit_product(Layout const& layout, Piece const& piece,
                   std::function<void(std::string_view)> const& visit,
                   std::vector<BracketCursor>& cursors, std::string& name) {
  cursors.clear();
  for (std::size_t b = 0; b < piece.bracket_count; ++b)
    cursors.emplace_back(layout, layout.brackets[piece.first_bracket + b]);
  BracketCursor& last = cursors.back();
  while (true) {
    name.clear();
    for (std::size_t b = 0; b + 1 < cursors.size(); ++b) {
      append(name, cursors[b].before());
      name += cursors[b].text();
    }
    append(name, last.before());
    std::size_t const front = name.size();
    name += last.text();
    append(name, piece.tail);
    while (true) {
      visit(name);
      std::size_t const width = last.text().size();
      if (last.advance()) break;
      if (last.text().size() == width) {
        // Most values are as wide as the one before: only the digits change.
        name.replace(front, width, last.text());
      } else {
        name.resize(front);
        name += last.text();
        append(name, piece.tail);
      }
    }
    std::size_t position = cursors.size() - 1;
    while (true) {
      if (position == 0) return;
      if (!cursors[--position].advance()) break;
    }
  }
}

}  // namespace

bool next_piece(std::string_view notation, std::size_t& position, ReadOptions const& options,
                std::string_view& piece, bool& has_bracket, Problem& problem) {
  std::size_t const size = notation.size();
  if (options.blank_separates) {
    while (position < size && (notation[position] == ',' || is_blank(notation[position])))
      ++position;
    if (position >= size) return false;
  } else if (position > size) {
    return false;
  }
  std::size_t const begin = position;
  problem = Problem{};
  has_bracket = false;
  int depth = 0;
  std::size_t i = begin;
  // Most characters are neither brackets nor separators: a table tells.
  static auto const special = [] {
    std::array<bool, 256> table{};
    for (char c : std::string_view("[], \t\n\r\v\f"))
      table[static_cast<unsigned char>(c)] = true;
    return table;
  }();
  for (; i < size; ++i) {
    char const c = notation[i];
    if (!special[static_cast<unsigned char>(c)]) continue;
    if (c == '[') {
      has_bracket = true;
      if (depth > 0 && problem.ok()) problem.reason = Reason::kNested;
      ++depth;
    } else if (c == ']') {
      if (depth == 0) {
        if (problem.ok()) problem.reason = Reason::kUnbalanced;
      } else {
        --depth;
      }
    } else if (depth == 0 && (c == ',' || (options.blank_separates && is_blank(c)))) {
      break;
    }
  }
  if (depth > 0 && problem.ok()) problem.reason = Reason::kUnbalanced;
  piece = notation.substr(begin, i - begin);
  if (options.blank_separates) {
    position = i;
  } else {
    piece = trim_blanks(piece);
    position = i + 1;
  }
  return true;
}

Problem read_piece(std::string_view text, ReadOptions const& options, Layout& layout) {
  Piece piece;
  piece.text = text;
  piece.first_bracket = layout.brackets.size();
  piece.count = 1;
  // A long fold has many items: room for all of them is made at once.
  std::size_t const most_items =
      static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
  std::vector<Item>& items = layout.items;
  if (items.capacity() - items.size() < most_items)
    items.reserve(items.empty() ? most_items
                                : std::max(items.size() + most_items, 2 * items.capacity()));
  std::size_t position = 0;
  while (true) {
    std::size_t const open = text.find('[', position);
    if (open == std::string_view::npos) break;
    std::size_t const close = text.find(']', open);
    Bracket bracket;
    bracket.before = text.substr(position, open - position);
    bracket.first_item = layout.items.size();
    Count values = 0;
    Problem const problem =
        read_bracket(text.substr(open + 1, close - open - 1), options, layout, values);
    if (!problem.ok()) return problem;
    bracket.item_count = layout.items.size() - bracket.first_item;
    layout.brackets.push_back(bracket);
    piece.count = multiply_counts(piece.count, values);
    position = close + 1;
  }
  piece.bracket_count = layout.brackets.size() - piece.first_bracket;
  piece.tail = text.substr(position);
  layout.pieces.push_back(piece);
  return Problem{};
}

std::string describe(std::string_view piece, Problem const& problem, ReadOptions const& options) {
  bool const legacy = options.legacy_messages;
  std::string message = legacy ? "cannot expand " : "cannot read ";
  message += quoted(piece);
  message += ": ";
  std::string const item = legacy ? quoted(problem.item) : internal::one_line(problem.item);
  switch (problem.reason) {
    case Reason::kNone:
      break;
    case Reason::kUnbalanced:
      message += "unbalanced brackets";
      break;
    case Reason::kNested:
      message += "nested brackets";
      break;
    case Reason::kEmptyBrackets:
      message += "empty brackets";
      break;
    case Reason::kEmptyItem:
      message += "empty item";
      break;
    case Reason::kBadItem:
      message += "bad item " + item;
      break;
    case Reason::kDescending:
      message += "descending range " + item;
      break;
    case Reason::kStepZero:
      message += "step 0 in " + item;
      break;
    case Reason::kTooLarge:
      message += legacy ? "number too large " + item : "number too large in " + item;
      break;
    case Reason::kTooManyNames:
      message += "more than " + std::to_string(options.max_names) + " names";
      break;
    case Reason::kTooManyNumbers:
      message += "more than " + std::to_string(kMaxNumbers) + " numbers in a name";
      break;
    case Reason::kTooManyValues:
      message += "more than " + std::to_string(kMaxSeparateValues) + " separate values";
      break;
  }
  return message;
}

bool check_written(std::string_view notation, ReadOptions const& options, Count& count,
                   std::string& error) {
  Layout layout;
  bool single = false;
  return check_written(notation, options, count, error, layout, single);
}

bool check_written(std::string_view notation, ReadOptions const& options, Count& count,
                   std::string& error, Layout& layout, bool& single) {
  count = 0;
  single = false;
  if (trim_blanks(notation).empty()) return true;
  PieceWalk walk(notation, options);
  std::string_view const& text = walk.text;
  Problem& problem = walk.problem;
  std::size_t pieces = 0;
  while (walk.next()) {
    ++pieces;
    Count pieces_count = 1;
    if (problem.ok() && walk.has_bracket) {
      layout.clear();
      problem = read_piece(text, options, layout);
      if (problem.ok()) pieces_count = layout.pieces.back().count;
    }
    if (!problem.ok()) {
      error = describe(text, problem, options);
      return false;
    }
    count = add_counts(count, pieces_count);
    if (count > options.max_names) {
      error = describe(text, Problem{Reason::kTooManyNames, {}}, options);
      return false;
    }
  }
  single = pieces == 1 && layout.pieces.size() == 1;
  return true;
}

void visit_piece(Layout const& layout, std::function<void(std::string_view)> const& visit) {
  std::vector<BracketCursor> cursors;
  std::string name;
  visit_product(layout, layout.pieces.back(), visit, cursors, name);
}

void visit_checked(std::string_view notation, ReadOptions const& options,
                   std::function<void(std::string_view)> const& visit) {
  Layout layout;
  visit_checked(notation, options, visit, layout);
}

void visit_checked(std::string_view notation, ReadOptions const& options,
                   std::function<void(std::string_view)> const& visit, Layout& layout) {
  if (trim_blanks(notation).empty()) return;
  // Nothing is kept per piece: the pieces are read again as they are visited,
  // so a long list of names costs no memory.
  PieceWalk walk(notation, options);
  std::vector<BracketCursor> cursors;
  std::string name;
  while (walk.next()) {
    if (!walk.has_bracket) {
      visit(walk.text);
      continue;
    }
    layout.clear();
    read_piece(walk.text, options, layout);
    visit_product(layout, layout.pieces.back(), visit, cursors, name);
  }
}

}  // namespace hostset_internal
}  // namespace krel
