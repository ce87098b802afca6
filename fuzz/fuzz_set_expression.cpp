// Set expressions against a std::set<std::string> model.
// Input fields: the first operand, then one field per further operand whose
// first byte picks the operator (',', '!', '&', '^' or a blank, by its value
// modulo 5) and whose second byte, when odd, puts blanks around it.
//
// Checked: when every operand is plain notation of up to 2,000 names, the
// expression built from them gives the model's names, the operators applied
// left to right; a group reference without a lookup is refused naming it,
// and with one it is handed over whole. The whole input read as an
// expression never crashes, fails with one message, reads the same through
// HostSet::parse, and a result folds and rereads to itself.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz_support.hpp"
#include "krel/hostset.hpp"
#include "set_expression.hpp"

namespace {

using krel::HostSet;
using krel::expression_internal::evaluate;
using krel::expression_internal::GroupLookup;
using krel_fuzz::expect;
using krel_fuzz::expect_verified;
using krel_fuzz::quoted;
using Model = std::set<std::string>;

constexpr std::uint64_t kMaxNames = 2000;
constexpr std::size_t kMaxOperands = 8;
constexpr std::uint64_t kMaxCompared = 100000;
constexpr char kOperators[] = {',', '!', '&', '^', ' '};

// Whether `c` could end an operand (commas and blanks inside brackets
// aside, which the model leaves out).
bool cuts(char c) {
  return c == ',' || c == '!' || c == '&' || c == '^' || c == ' ' || (c >= '\t' && c <= '\r');
}

// The names of a plain operand, or nullopt when it is not one the model
// can take: empty, bad, too large, or holding a byte that would cut it.
std::optional<Model> operand_model(std::string const& operand) {
  if (operand.empty() || operand.front() == '@') return std::nullopt;
  if (std::any_of(operand.begin(), operand.end(), cuts)) return std::nullopt;
  std::optional<HostSet> const set = HostSet::parse(operand);
  if (!set || set->empty() || set->size() > kMaxNames) return std::nullopt;
  std::vector<std::string> const names = set->expand();
  return Model(names.begin(), names.end());
}

Model applied(Model const& left, char operation, Model const& right) {
  Model result;
  auto const out = std::inserter(result, result.end());
  switch (operation) {
    case '!':
      std::set_difference(left.begin(), left.end(), right.begin(), right.end(), out);
      break;
    case '&':
      std::set_intersection(left.begin(), left.end(), right.begin(), right.end(), out);
      break;
    case '^':
      std::set_symmetric_difference(left.begin(), left.end(), right.begin(), right.end(), out);
      break;
    default:
      std::set_union(left.begin(), left.end(), right.begin(), right.end(), out);
      break;
  }
  return result;
}

Model model_of(HostSet const& set) {
  std::vector<std::string> const names = set.expand();
  return Model(names.begin(), names.end());
}

// Builds the expression from the fields and checks it against the model.
void check_built(std::vector<std::string> const& field) {
  std::optional<Model> model = operand_model(field[0]);
  if (!model) return;
  std::string expression = field[0];
  for (std::size_t i = 1; i < field.size() && !field[i].empty(); ++i) {
    char const operation = kOperators[static_cast<unsigned char>(field[i][0]) % 5];
    bool const blanks = field[i].size() > 1 && (static_cast<unsigned char>(field[i][1]) & 1) != 0;
    std::optional<Model> const right =
        operand_model(field[i].substr(std::min<std::size_t>(2, field[i].size())));
    if (!right) return;
    std::string const joint = operation == ' ' ? " " : std::string(1, operation);
    expression += blanks && operation != ' ' ? " " + joint + " " : joint;
    expression += field[i].substr(std::min<std::size_t>(2, field[i].size()));
    model = applied(*model, operation, *right);
  }
  std::string error;
  std::optional<HostSet> const got = evaluate(expression, nullptr, &error);
  expect(got.has_value(), "built expression reads", quoted(expression) + "\n" + error);
  expect_verified(*got, "built expression", quoted(expression));
  expect(model_of(*got) == *model, "built expression gives the model's names",
         quoted(expression) + "\ngot " + quoted(got->fold()));
}

void check_references(std::string const& text) {
  std::string const reference = "@" + text;
  std::string error;
  expect(!evaluate(reference, nullptr, &error).has_value(), "reference refused", quoted(reference));
  expect(!error.empty(), "reference refused with a message", quoted(reference));
  std::vector<std::string> seen;
  GroupLookup const lookup = [&seen](std::string_view name, std::string*) {
    seen.emplace_back(name);
    return std::optional<HostSet>(HostSet());
  };
  std::optional<HostSet> const got = evaluate("n1!" + reference, &lookup, &error);
  if (got && std::none_of(text.begin(), text.end(), cuts) &&
      std::count(text.begin(), text.end(), '[') == 0)
    expect(seen.size() == 1 && seen[0] == reference, "reference handed over whole",
           quoted(reference));
}

void check_raw(std::string const& text) {
  std::string error;
  std::optional<HostSet> const got = evaluate(text, nullptr, &error);
  std::string parse_error;
  std::optional<HostSet> const parsed = HostSet::parse(text, &parse_error);
  if (!got) {
    expect(!error.empty(), "a message", quoted(text));
    if (error.find("missing operand") != std::string::npos)
      expect(error.find('\n') == std::string::npos, "one-line message",
             quoted(text) + "\n" + error);
    expect(!parsed.has_value() && parse_error == error, "parse fails alike", quoted(text));
    return;
  }
  expect_verified(*got, "expression", quoted(text));
  expect(parsed.has_value() && parsed->size() == got->size(), "parse reads alike", quoted(text));
  // Comparing and refolding cost up to a set's count of separate values.
  if (got->size() > kMaxCompared) return;
  expect(*parsed == *got, "parse reads the same names", quoted(text));
  std::optional<HostSet> const again = HostSet::parse(got->fold());
  expect(again.has_value() && *again == *got, "fold rereads", quoted(text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::vector<std::string> const field = krel_fuzz::fields(data, size, kMaxOperands);
  check_built(field);
  std::string const raw(reinterpret_cast<char const*>(data), size);
  check_references(field[0]);
  check_raw(raw);
  return 0;
}
