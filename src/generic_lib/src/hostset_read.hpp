// The reader of host-list notation, shared by HostSet (sets and names in the
// order written) and TokenizedHost::expand_hosts.
//
// Notation is pieces; a piece is text with brackets, a bracket holds items
// "n", "a-b" or "a-b/step". Reading happens in two steps: pieces are cut out
// and checked (next_piece, read_piece), then their names are generated or
// turned into sets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "hostset_numbers.hpp"

namespace krel {
namespace hostset_internal {

// Options for the two users of the reader: HostSet (blank
// separates pieces, numbers up to 2^64 - 1) and the older expand_hosts
// (blanks inside a piece belong to the name, an empty piece is an empty
// name, at most 18 significant digits, its own messages).
struct ReadOptions {
  // Blanks separate pieces; when false only commas do, blanks around a piece
  // are trimmed and an empty piece is an empty name.
  bool blank_separates = true;
  bool legacy_messages = false;
  std::size_t max_significant_digits = 20;
  // More names than this is an error naming the piece where the count passes it.
  std::uint64_t max_names = UINT64_MAX;
};

// Checks notation as it is written: false and `error` on bad notation or
// more than options.max_names names; `count` receives how many names it
// stands for (capped at kTooMany).
bool check_written(std::string_view notation, ReadOptions const& options, Count& count,
                   std::string& error);
// Visits the names of checked notation in the order written.
void visit_checked(std::string_view notation, ReadOptions const& options,
                   std::function<void(std::string_view)> const& visit);

// How many values steps and digits written next to a bracket may give one
// reading: each of them is kept apart in the set.
constexpr std::uint64_t kMaxSeparateValues = std::uint64_t{1} << 20;

enum class Reason {
  kNone,
  kUnbalanced,
  kNested,
  kEmptyBrackets,
  kEmptyItem,
  kBadItem,
  kDescending,
  kStepZero,
  kTooLarge,
  kTooManyNames,
  kTooManyValues,
  kTooManyNumbers,
};

struct Problem {
  Reason reason = Reason::kNone;
  std::string_view item;  // the item at fault, blanks around it removed
  bool ok() const { return reason == Reason::kNone; }
};

// One item of a bracket: the values lo, lo + step, .. up to hi. A value is
// written with `width` digits, or when `plain`, as `zeros` zeros followed by
// its own digits.
struct Item {
  std::uint64_t lo = 0;
  std::uint64_t hi = 0;
  std::uint64_t step = 1;
  std::uint32_t width = 1;
  std::uint32_t zeros = 0;
  bool plain = false;

  Count count() const { return static_cast<Count>((hi - lo) / step) + 1; }
  std::uint32_t width_of(std::uint64_t value) const {
    return plain ? zeros + static_cast<std::uint32_t>(digit_count(value)) : width;
  }
};

// A bracket and the text in front of it.
struct Bracket {
  std::string_view before;
  std::size_t first_item = 0;
  std::size_t item_count = 0;
};

// A piece read into brackets: its brackets in order and the text after the
// last one (all of it when there is no bracket).
struct Piece {
  std::string_view text;
  std::size_t first_bracket = 0;
  std::size_t bracket_count = 0;
  std::string_view tail;
  Count count = 1;
};

struct Layout {
  std::vector<Item> items;
  std::vector<Bracket> brackets;
  std::vector<Piece> pieces;

  void clear() {
    items.clear();
    brackets.clear();
    pieces.clear();
  }
};

// Cuts out the next piece from `position` on, skipping separators (and, for
// expand_hosts, trimming blanks around it). False when the notation is used
// up. Bracket trouble is put in `problem`; `has_bracket` tells whether the
// piece holds a bracket.
bool next_piece(std::string_view notation, std::size_t& position, ReadOptions const& options,
                std::string_view& piece, bool& has_bracket, Problem& problem);

// Steps through the pieces of a notation: each next() cuts out one piece
// (see next_piece) into `text`, `has_bracket` and `problem`.
//   PieceWalk walk("a1,b[1-2]", options);  // next(): "a1", then "b[1-2]"
struct PieceWalk {
  PieceWalk(std::string_view notation, ReadOptions const& options)
      : notation(notation), options(options) {}
  bool next() { return next_piece(notation, position, options, text, has_bracket, problem); }

  std::string_view notation;
  ReadOptions const& options;
  std::size_t position = 0;
  std::string_view text;
  bool has_bracket = false;
  Problem problem;
  Layout layout;  // for the caller's read_piece
};

// Reads a piece into the layout (one Piece, its brackets and items).
Problem read_piece(std::string_view piece, ReadOptions const& options, Layout& layout);

// Like check_written; when the notation is one piece with brackets, `layout`
// keeps it read and `single` is set, so that it need not be read again.
bool check_written(std::string_view notation, ReadOptions const& options, Count& count,
                   std::string& error, Layout& layout, bool& single);

// Like visit_checked, reading the pieces into `layout`, whose room is
// reused: the layout that checked the notation serves again.
void visit_checked(std::string_view notation, ReadOptions const& options,
                   std::function<void(std::string_view)> const& visit, Layout& layout);

// Visits the names of the last piece read into `layout`, in the order written.
void visit_piece(Layout const& layout, std::function<void(std::string_view)> const& visit);

// The message for a piece that cannot be read.
std::string describe(std::string_view piece, Problem const& problem, ReadOptions const& options);

}  // namespace hostset_internal
}  // namespace krel
