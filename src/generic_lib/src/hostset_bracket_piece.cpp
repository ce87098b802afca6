// Host sets: pieces with brackets built into trees. Each digit run of the
// piece, with the brackets in or next to it, is one number position; the
// tree is the product of the positions' runs.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostset_bracket_piece.hpp"
#include "internal/decimal.hpp"

namespace krel {
namespace hostset_internal {
namespace {

using internal::is_digit;

// Sorts runs and merges those that overlap or touch within one width.
std::vector<Run> normalized(std::vector<Run> runs) {
  std::sort(runs.begin(), runs.end(),
            [](Run const& a, Run const& b) { return number_less(a.width, a.lo, b.width, b.lo); });
  std::vector<Run> result;
  result.reserve(runs.size());
  for (Run const& run : runs) {
    if (!result.empty()) {
      Run& last = result.back();
      if (last.width == run.width && (last.hi == kMaxValue || last.hi + 1 >= run.lo)) {
        last.hi = std::max(last.hi, run.hi);
        continue;
      }
    }
    result.push_back(run);
  }
  return result;
}

// What a bracket, or digits written next to it, make of one number position.
class PositionReader {
 public:
  PositionReader(Layout const& layout, std::uint64_t& separate_values)
      : layout_(layout), separate_values_(separate_values) {}

  // The values of one bracket as runs: steps give one run per value.
  Problem bracket_runs(Bracket const& bracket, std::vector<Run>& runs) {
    for (std::size_t i = 0; i < bracket.item_count; ++i) {
      Item const& item = layout_.items[bracket.first_item + i];
      if (item.step != 1) {
        Count const values = item.count();
        if (values > kMaxSeparateValues - separate_values_)
          return Problem{Reason::kTooManyValues, {}};
        separate_values_ += static_cast<std::uint64_t>(values);
        for (std::uint64_t v = item.lo;; v += item.step) {
          runs.push_back(Run{v, v, item.width_of(v)});
          if (item.hi - v < item.step) break;
        }
      } else if (!item.plain) {
        runs.push_back(Run{item.lo, item.hi, item.width});
      } else {
        // A plain value's width grows with its digits: one run per digit count.
        for (int digits = digit_count(item.lo); digits <= digit_count(item.hi); ++digits) {
          std::uint64_t const low = std::max(item.lo, digits == 1 ? 0 : power_of_ten(digits - 1));
          std::uint64_t const high =
              digits >= 20 ? item.hi : std::min(item.hi, power_of_ten(digits) - 1);
          runs.push_back(Run{low, high, item.zeros + static_cast<std::uint32_t>(digits)});
        }
      }
    }
    return Problem{};
  }

  // A digit run written in front of a bracket: "n0[1-9]" is n01 .. n09.
  static Problem prefixed(std::string_view digits, std::vector<Run>& runs) {
    std::uint64_t prefix = 0;
    if (!digits_value(digits, prefix)) return Problem{Reason::kTooLarge, {}};
    auto const extra = static_cast<std::uint32_t>(digits.size());
    for (Run& run : runs) {
      if (prefix != 0) {
        if (run.width >= 20) return Problem{Reason::kTooLarge, {}};
        std::uint64_t const scale = power_of_ten(static_cast<int>(run.width));
        if (prefix > (kMaxValue - run.hi) / scale) return Problem{Reason::kTooLarge, {}};
        run.lo += prefix * scale;
        run.hi += prefix * scale;
      }
      run.width += extra;
    }
    return Problem{};
  }

  // Any other mix of digits and brackets in one digit run ("n[1-2]0",
  // "n[1-2][0-9]"): every combination is worked out.
  Problem combined(std::vector<std::pair<std::string_view, Bracket const*>> const& parts,
                   std::vector<Run>& runs) {
    struct Value {
      std::uint64_t value;
      std::uint32_t width;
    };
    std::vector<Value> values{Value{0, 0}};
    for (auto const& part : parts) {
      std::vector<Run> choices;
      if (part.second == nullptr) {
        std::uint64_t value = 0;
        if (!digits_value(part.first, value)) return Problem{Reason::kTooLarge, {}};
        choices.push_back(Run{value, value, static_cast<std::uint32_t>(part.first.size())});
      } else {
        Problem const problem = bracket_runs(*part.second, choices);
        if (!problem.ok()) return problem;
      }
      Count total = 0;
      for (Run const& choice : choices)
        total = add_counts(total, multiply_counts(choice.count(), values.size()));
      if (total > kMaxSeparateValues - separate_values_) return Problem{Reason::kTooManyValues, {}};
      separate_values_ += static_cast<std::uint64_t>(total);
      std::vector<Value> next;
      next.reserve(static_cast<std::size_t>(total));
      for (Value const& head : values) {
        for (Run const& choice : choices) {
          if (head.value != 0 && choice.width >= 20) return Problem{Reason::kTooLarge, {}};
          std::uint64_t const scale = power_of_ten(static_cast<int>(std::min(choice.width, 19u)));
          for (std::uint64_t v = choice.lo;; ++v) {
            if (head.value != 0 && head.value > (kMaxValue - v) / scale)
              return Problem{Reason::kTooLarge, {}};
            next.push_back(
                Value{head.value * (head.value != 0 ? scale : 1) + v, head.width + choice.width});
            if (v == choice.hi) break;
          }
        }
      }
      values.swap(next);
    }
    for (Value const& value : values)
      runs.push_back(Run{value.value, value.value, value.width});
    return Problem{};
  }

 private:
  Layout const& layout_;
  std::uint64_t& separate_values_;
};

// A piece cut into text, digit runs and brackets.
struct Element {
  std::string_view text;
  Bracket const* bracket;

  bool digits() const { return bracket != nullptr || is_digit(text[0]); }
};

void add_text(std::string_view text, std::vector<Element>& elements) {
  std::size_t i = 0;
  while (i < text.size()) {
    std::size_t j = i;
    bool const digits = is_digit(text[i]);
    while (j < text.size() && is_digit(text[j]) == digits)
      ++j;
    elements.push_back(Element{text.substr(i, j - i), nullptr});
    i = j;
  }
}

std::vector<Element> cut_piece(Layout const& layout, Piece const& piece) {
  std::vector<Element> elements;
  for (std::size_t b = 0; b < piece.bracket_count; ++b) {
    Bracket const& bracket = layout.brackets[piece.first_bracket + b];
    add_text(bracket.before, elements);
    elements.push_back(Element{{}, &bracket});
  }
  add_text(piece.tail, elements);
  return elements;
}

// The runs of the position made of elements [begin, end), all digits or
// brackets. A lone digit run too long for a number is text: `runs` is left
// empty then.
Problem position_runs(std::vector<Element> const& elements, std::size_t begin, std::size_t end,
                      PositionReader& reader, std::vector<Run>& runs) {
  Element const& first = elements[begin];
  if (end == begin + 1 && first.bracket == nullptr) {
    std::uint64_t value = 0;
    if (digits_value(first.text, value))
      runs.push_back(Run{value, value, static_cast<std::uint32_t>(first.text.size())});
    return Problem{};
  }
  if (end == begin + 1) return reader.bracket_runs(*first.bracket, runs);
  if (end == begin + 2 && first.bracket == nullptr) {
    Problem const problem = reader.bracket_runs(*elements[begin + 1].bracket, runs);
    return problem.ok() ? PositionReader::prefixed(first.text, runs) : problem;
  }
  std::vector<std::pair<std::string_view, Bracket const*>> parts;
  for (std::size_t e = begin; e < end; ++e)
    parts.emplace_back(elements[e].text, elements[e].bracket);
  return reader.combined(parts, runs);
}

// The product of `positions`, built from the last position up.
NodePtr product(std::vector<std::vector<Run>> const& positions) {
  NodePtr node = unit_node();
  for (std::size_t p = positions.size(); p-- > 0;) {
    bool const last = p + 1 == positions.size();
    NodeBuilder builder(last);
    builder.reserve(positions[p].size());
    for (Run const& run : positions[p])
      builder.add(run.width, run.lo, run.hi, last ? nullptr : node);
    node = builder.finish();
  }
  return node;
}

}  // namespace

Problem build_bracket_piece(Layout const& layout, Piece const& piece,
                            std::uint64_t& separate_values, BracketPiece& out) {
  std::vector<Element> const elements = cut_piece(layout, piece);
  std::vector<std::string> texts(1);
  std::vector<std::vector<Run>> positions;
  PositionReader reader(layout, separate_values);
  for (std::size_t i = 0; i < elements.size();) {
    if (!elements[i].digits()) {
      texts.back().append(elements[i].text.data(), elements[i].text.size());
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < elements.size() && elements[j].digits())
      ++j;
    std::vector<Run> runs;
    Problem problem = position_runs(elements, i, j, reader, runs);
    if (!problem.ok()) {
      if (problem.item.empty()) problem.item = piece.text;
      return problem;
    }
    if (runs.empty()) {
      texts.back().append(elements[i].text.data(), elements[i].text.size());
      i = j;
      continue;
    }
    if (positions.size() == kMaxNumbers) return Problem{Reason::kTooManyNumbers, {}};
    positions.push_back(normalized(std::move(runs)));
    texts.emplace_back();
    i = j;
  }
  out.tree = product(positions);
  if (out.tree->count >= kTooMany) return Problem{Reason::kTooManyNames, {}};
  out.key = pattern_key(texts);
  out.number_count = positions.size();
  return Problem{};
}

}  // namespace hostset_internal
}  // namespace krel
