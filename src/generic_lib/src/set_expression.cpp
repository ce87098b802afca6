// Set expressions: cutting the text into operands and operators, and
// evaluating them left to right.
#include "set_expression.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "internal/text.hpp"

namespace krel::expression_internal {
namespace {

using internal::is_blank;
using internal::quoted;

// Longest text quoted whole in a message; longer ones are cut around the
// place at fault.
constexpr std::size_t kQuotedWhole = 64;
constexpr std::size_t kQuotedAround = 24;

bool is_operator(char c) {
  return c == '!' || c == '&' || c == '^';
}

bool is_operator_byte(char c) {
  return is_operator(c) || c == '@';
}

// Whether any byte of `text` is '!', '&', '^' or '@'. Plain notation has
// none, and a million names on standard input are scanned 32 bytes a step.
bool has_operator_byte(std::string_view text) {
  char const* const data = text.data();
  std::size_t const size = text.size();
  std::size_t i = 0;
#if defined(__SSE2__)
  __m128i const bang = _mm_set1_epi8('!');
  __m128i const amp = _mm_set1_epi8('&');
  __m128i const caret = _mm_set1_epi8('^');
  __m128i const at = _mm_set1_epi8('@');
  auto const found = [&](char const* p) {
    __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
    return _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, bang), _mm_cmpeq_epi8(v, amp)),
                        _mm_or_si128(_mm_cmpeq_epi8(v, caret), _mm_cmpeq_epi8(v, at)));
  };
  for (; i + 32 <= size; i += 32) {
    if (_mm_movemask_epi8(_mm_or_si128(found(data + i), found(data + i + 16))) != 0) return true;
  }
#endif
  for (; i < size; ++i) {
    if (is_operator_byte(data[i])) return true;
  }
  return false;
}

enum class TokenKind { kOperand, kComma, kOperator, kEnd };

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string_view text;  // the operand, or the one byte of a comma or an operator
  std::size_t position = 0;
};

// Cuts an expression into operands, commas and operators, skipping the
// blanks between them. A bracket keeps everything up to its ']', commas,
// blanks and operators alike, with the plain reader's rule: depth goes up at
// every '[' and down at a ']' that closes one.
//   "n[1-2] !n1"  ->  operand "n[1-2]", operator "!", operand "n1"
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  Token next() {
    std::size_t const size = text_.size();
    while (position_ < size && is_blank(text_[position_]))
      ++position_;
    if (position_ == size) return Token{TokenKind::kEnd, {}, position_};
    std::size_t const begin = position_;
    char const c = text_[begin];
    if (c == ',' || is_operator(c)) {
      ++position_;
      return Token{c == ',' ? TokenKind::kComma : TokenKind::kOperator, text_.substr(begin, 1),
                   begin};
    }
    int depth = 0;
    for (; position_ < size; ++position_) {
      char const d = text_[position_];
      if (d == '[') {
        ++depth;
      } else if (d == ']') {
        if (depth > 0) --depth;
      } else if (depth == 0 && (d == ',' || is_blank(d) || is_operator(d))) {
        break;
      }
    }
    return Token{TokenKind::kOperand, text_.substr(begin, position_ - begin), begin};
  }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
};

// The expression for a message: whole when short, else the part around
// `position` with "..." for what is left out.
std::string excerpt(std::string_view text, std::size_t position) {
  if (text.size() <= kQuotedWhole) return quoted(text);
  std::size_t const begin = position > kQuotedAround ? position - kQuotedAround : 0;
  std::size_t const end = std::min(text.size(), position + kQuotedAround);
  std::string part = begin > 0 ? "..." : "";
  part += text.substr(begin, end - begin);
  if (end < text.size()) part += "...";
  return quoted(part);
}

// One evaluation. Operands joined by unions are read together, as one plain
// text, so that a long list of names with one operator in it costs one
// reading, not a union per name.
class Evaluation {
 public:
  Evaluation(std::string_view text, GroupLookup const* lookup) : text_(text), lookup_(lookup) {}

  // The set, or nullopt with `message` set.
  std::optional<HostSet> run() {
    Scanner scanner(text_);
    bool left = false;  // an operand stands before, with no comma since
    Token pending;      // the operator waiting for its right operand
    while (true) {
      Token const token = scanner.next();
      bool const waiting = pending.kind == TokenKind::kOperator;
      if (token.kind == TokenKind::kEnd || token.kind == TokenKind::kComma) {
        if (waiting) return missing("after", pending);
        if (token.kind == TokenKind::kEnd) break;
        left = false;
      } else if (token.kind == TokenKind::kOperator) {
        if (waiting) return missing("after", pending);
        if (!left) return missing("before", token);
        pending = token;
        left = false;
      } else {
        if (!apply(token.text, waiting ? pending.text.front() : ',')) return std::nullopt;
        pending = Token{};
        left = true;
      }
    }
    if (!flush()) return std::nullopt;
    return std::move(result_);
  }

  std::string message;

 private:
  std::optional<HostSet> missing(char const* side, Token const& at) {
    message = "cannot read " + excerpt(text_, at.position) + ": missing operand " + side + " " +
              quoted(at.text) + " at position " + std::to_string(at.position + 1);
    return std::nullopt;
  }

  // Applies `operation` (',' for a union) with the operand's set.
  bool apply(std::string_view operand, char operation) {
    bool const reference = operand.front() == '@';
    if (!reference && operation == ',') {
      // Joined to the run of plain operands, read when the run ends.
      if (run_.empty())
        run_ = operand;
      else
        run_ =
            text_.substr(static_cast<std::size_t>(run_.data() - text_.data()),
                         static_cast<std::size_t>(operand.data() + operand.size() - run_.data()));
      return true;
    }
    if (!flush()) return false;
    std::optional<HostSet> set = reference ? resolve(operand) : read(operand);
    if (!set) return false;
    combine(operation, std::move(*set));
    return true;
  }

  std::optional<HostSet> resolve(std::string_view reference) {
    if (lookup_ == nullptr || !*lookup_) {
      message =
          "cannot read " + quoted(reference) + ": a group reference, but no group source is given";
      return std::nullopt;
    }
    return (*lookup_)(reference, &message);
  }

  std::optional<HostSet> read(std::string_view notation) {
    return HostSet::parse(notation, &message);
  }

  bool flush() {
    if (run_.empty()) return true;
    std::optional<HostSet> set = read(run_);
    run_ = {};
    if (!set) return false;
    combine(',', std::move(*set));
    return true;
  }

  void combine(char operation, HostSet&& set) {
    switch (operation) {
      case '!':
        result_ -= set;
        break;
      case '&':
        result_ &= set;
        break;
      case '^':
        result_ ^= set;
        break;
      default:
        if (result_.empty())
          result_ = std::move(set);
        else
          result_ |= set;
        break;
    }
  }

  std::string_view text_;
  GroupLookup const* lookup_;
  HostSet result_;
  std::string_view run_;  // plain operands joined by unions, not read yet
};

}  // namespace

std::optional<HostSet> evaluate(std::string_view expression, GroupLookup const* lookup,
                                std::string* error) {
  Evaluation evaluation(expression, lookup);
  std::optional<HostSet> result = evaluation.run();
  if (!result && error != nullptr) *error = std::move(evaluation.message);
  return result;
}

bool is_expression(std::string_view text) {
  if (!has_operator_byte(text)) return false;
  Scanner scanner(text);
  while (true) {
    Token const token = scanner.next();
    if (token.kind == TokenKind::kEnd) return false;
    if (token.kind == TokenKind::kOperator) return true;
    if (token.kind == TokenKind::kOperand && token.text.front() == '@') return true;
  }
}

}  // namespace krel::expression_internal
