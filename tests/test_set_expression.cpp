// Set expressions (set_expression.cpp): operators in order, white space,
// brackets that keep their own bytes, group references through a lookup,
// the exact messages for missing operands, and HostSet's readers on top.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "krel/hostset.hpp"
#include "set_expression.hpp"

namespace {

using krel::HostSet;
using krel::expression_internal::evaluate;
using krel::expression_internal::GroupLookup;
using krel::expression_internal::is_expression;

struct Row {
  std::string expression;
  std::string expected;  // the fold, or the message when it fails
  std::string reason;
};

std::string folded_or_message(std::string_view expression, GroupLookup const* lookup) {
  std::string error;
  std::optional<HostSet> const set = evaluate(expression, lookup, &error);
  return set ? set->fold() : "error: " + error;
}

void expect_rows(std::vector<Row> const& rows, GroupLookup const* lookup = nullptr) {
  for (Row const& row : rows)
    EXPECT_EQ(folded_or_message(row.expression, lookup), row.expected)
        << "expression: \"" << row.expression << "\" " << row.reason;
}

// Groups "@a" = n[1-3], "@b" = n[3-4], "@rack[1-2]" = r[1-2]n1; any other
// reference fails with a message that names it.
GroupLookup const kLookup = [](std::string_view reference,
                               std::string* error) -> std::optional<HostSet> {
  static std::map<std::string, std::string, std::less<>> const groups = {
      {"@a", "n[1-3]"}, {"@b", "n[3-4]"}, {"@rack[1-2]", "r[1-2]n1"}, {"@src:g", "s1"}};
  auto const found = groups.find(reference);
  if (found == groups.end()) {
    *error = "no group " + std::string(reference);
    return std::nullopt;
  }
  return HostSet::parse(found->second);
};

TEST(SetExpression, AppliesOperatorsLeftToRightWithEqualPrecedence) {
  expect_rows({
      {"n[1-5],n7!n[2-7]", "n1", "(n[1-5] + n7) - n[2-7]"},
      {"n[1-5]!n3", "n[1-2,4-5]", ""},
      {"node[1-10]&node[5-20]", "node[5-10]", ""},
      {"n[1-3]^n[2-5]", "n[1,4-5]", ""},
      {"n1&n2,n3", "n3", "(n1 & n2) + n3"},
      {"n3,n1&n2", "", "(n3 + n1) & n2"},
      {"n[1-9]!n1!n2&n[2-4]^n7", "n[3-4,7]", ""},
      {"n1!n1", "", "the empty set"},
      {"n1!n2", "n1", "removing what is not there"},
  });
}

TEST(SetExpression, ReadsBlanksAsUnionsAndAroundOperators) {
  expect_rows({
      {"n1 ! n2", "n1", "blanks around an operator"},
      {"n[1-3] & n2", "n2", ""},
      {"n1 n2!n1", "n2", "a blank between operands is a union, before the '!'"},
      {"n[1-2]\nn[3-4]!n2", "n[1,3-4]", "lines of names, then an operator"},
      {"\tn1\t^\tn2\t", "n[1-2]", ""},
  });
}

TEST(SetExpression, SkipsEmptyOperandsBetweenCommasAsPlainNotationDoes) {
  expect_rows({
      {"n1,,n2!n1", "n2", ""},
      {",n1,!n2", "error: cannot read \",n1,!n2\": missing operand before \"!\" at position 5",
       "a comma leaves no left operand"},
      {",n3!n1,", "n3", "commas at either end"},
  });
}

TEST(SetExpression, LeavesOperatorsInsideBracketsToTheBracket) {
  expect_rows({
      {"n[1!2]", "error: cannot read \"n[1!2]\": bad item 1!2", ""},
      {"n1!n[1&2]", "error: cannot read \"n[1&2]\": bad item 1&2", ""},
      {"n[1-3]!n[2 , 3]", "n1", "a blank and a comma inside the bracket"},
      {"a@b,c!c", "a@b", "'@' inside a name is a name's byte"},
  });
}

TEST(SetExpression, NamesTheOperatorAndItsPositionWhenAnOperandIsMissing) {
  expect_rows({
      {"!n1", "error: cannot read \"!n1\": missing operand before \"!\" at position 1", ""},
      {"n1!", "error: cannot read \"n1!\": missing operand after \"!\" at position 3", ""},
      {"n1&&n2", "error: cannot read \"n1&&n2\": missing operand after \"&\" at position 3", ""},
      {"n1 ^ ", "error: cannot read \"n1 ^ \": missing operand after \"^\" at position 4", ""},
      {"n1!,n2", "error: cannot read \"n1!,n2\": missing operand after \"!\" at position 3", ""},
      {"n1,!n2", "error: cannot read \"n1,!n2\": missing operand before \"!\" at position 4", ""},
      {"n[0001-1000],n[0001-1000],n[0001-1000],n[0001-1000],n[0001-1000],n1&&n2",
       "error: cannot read \"...01-1000],n[0001-1000],n1&&n2\": missing operand after \"&\" at "
       "position 68",
       "a long expression is quoted around the place at fault"},
      {"n[3-1]!n1", "error: cannot read \"n[3-1]\": descending range 3-1", "the reader's message"},
      {"n1!n[3-1]", "error: cannot read \"n[3-1]\": descending range 3-1", ""},
  });
}

TEST(SetExpression, RefusesGroupReferencesWithoutALookup) {
  expect_rows({
      {"@rack1", "error: cannot read \"@rack1\": a group reference, but no group source is given",
       ""},
      {"n1,@src:g!n2",
       "error: cannot read \"@src:g\": a group reference, but no group source is given", ""},
      {"n1!@*", "error: cannot read \"@*\": a group reference, but no group source is given", ""},
  });
  GroupLookup const empty;
  EXPECT_EQ(folded_or_message("@a", &empty),
            "error: cannot read \"@a\": a group reference, but no group source is given");
}

TEST(SetExpression, HandsWholeReferencesToTheLookup) {
  expect_rows(
      {
          {"@a", "n[1-3]", ""},
          {"@a!@b", "n[1-2]", ""},
          {"@a^@b", "n[1-2,4]", ""},
          {"@a&@b,n9", "n[3,9]", ""},
          {"n9 @a", "n[1-3,9]", "a reference after a blank is a union"},
          {"@rack[1-2]!r2n1", "r1n1", "brackets belong to the reference"},
          {"@src:g", "s1", ""},
          {"n1,@c", "error: no group @c", "the lookup's own message"},
      },
      &kLookup);
}

TEST(SetExpression, TellsExpressionsFromPlainNotation) {
  struct TellRow {
    std::string text;
    bool expression;
  };
  std::vector<TellRow> const rows = {
      {"", false},
      {"node[1-100],login1", false},
      {"n[1-5]!n3", true},
      {"n1&n2", true},
      {"n1^n2", true},
      {"@g", true},
      {"n1 @g", true},
      {"a@b", false},
      {"n[1!2]", false},
      {"n[1-2]\n@g", true},
      {std::string(100, 'n') + "!", true},
      {std::string(100, 'n') + "@", false},
  };
  for (TellRow const& row : rows)
    EXPECT_EQ(is_expression(row.text), row.expression) << "text: \"" << row.text << "\"";
}

TEST(SetExpression, HostSetReadersEvaluateExpressions) {
  std::optional<HostSet> const set = HostSet::parse("n[1-5]!n3");
  ASSERT_TRUE(set.has_value());
  EXPECT_EQ(set->size(), 4u);
  std::vector<std::string> visited;
  EXPECT_TRUE(HostSet::for_each_written(
      "n[5,1-3]!n2", [&](std::string_view name) { visited.emplace_back(name); }));
  EXPECT_EQ(visited, (std::vector<std::string>{"n1", "n3", "n5"}))
      << "an expression's names come in the set's order, each once";
  EXPECT_EQ(HostSet::count_written("n[1-3],n2!n9"), std::optional<std::uint64_t>(3));
  std::string error;
  EXPECT_FALSE(HostSet::count_written("n1!", &error).has_value());
  EXPECT_EQ(error, "cannot read \"n1!\": missing operand after \"!\" at position 3");
  EXPECT_FALSE(HostSet::for_each_written(
      "@g", [](std::string_view) {}, &error));
  EXPECT_EQ(error, "cannot read \"@g\": a group reference, but no group source is given");
}

}  // namespace
