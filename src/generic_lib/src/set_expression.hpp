// Set expressions over host-list notation: operands joined by operators
// outside brackets, evaluated left to right with equal precedence.
//
//   ","  or white space   union
//   "!"                   difference
//   "&"                   intersection
//   "^"                   symmetric difference
//
//   evaluate("n[1-5],n7!n[2-7]", nullptr, &error)  // n1
//   evaluate("n[1-3] & n[2-9]", nullptr, &error)   // n[2-3]
//
// An operand beginning with '@' is a group reference, handed whole to the
// caller's lookup. HostSet::parse reads every text through here when it
// holds an operator or a reference; plain notation never comes this way.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "krel/hostset.hpp"

namespace krel::expression_internal {

// Resolves one group reference, given the operand's whole text with its '@' ("@rack[1-3]",
// "@src:g",
// "@@src", "@*"). nullopt and *error set on failure.
using GroupLookup =
    std::function<std::optional<HostSet>(std::string_view reference, std::string* error)>;

// Operands joined by ',' or white space (union), '!' (difference), '&' (intersection), '^'
// (symmetric difference) outside brackets; equal precedence, left to right. `lookup` null: an '@'
// operand is an error naming the piece (never a host name).
//
// Commas are read as the plain notation reads them: empty operands between
// commas, and commas at either end, are skipped. '!', '&' and '^' need an
// operand on each side, white space around them allowed:
//   evaluate("n1,,n2")    // n[1-2]
//   evaluate("n1 ! n1")   // the empty set
//   evaluate("n1&&n2")    // nullopt, `cannot read "n1&&n2": missing operand after "&" at position
//   3` evaluate("@rack1")    // nullopt without a lookup,
//                         // `cannot read "@rack1": a group reference, and no group source is
//                         given`
std::optional<HostSet> evaluate(std::string_view expression, GroupLookup const* lookup,
                                std::string* error);

// Whether `text` holds an operator outside brackets or an operand beginning
// with '@', so that it must be evaluated rather than read as plain notation.
// Texts without any of the bytes "!&^@" are told apart in one fast pass.
//
//   is_expression("n[1-5]!n3")  // true
//   is_expression("a@b,c")      // false: '@' begins no operand
//   is_expression("n[1!2]")     // false: the bracket's own (bad) item
bool is_expression(std::string_view text);

}  // namespace krel::expression_internal
