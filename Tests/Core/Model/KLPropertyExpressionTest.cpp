#include "Core/Model/KLPropertyExpression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::fromJSON;

constexpr const char* kAbsent = "absent";

struct Case {
  const char* function;
  const char* value;   // JSON, or kAbsent
  const char* params;  // JSON
  bool expected;
};

class KLPropertyExpressionTest : public ::testing::Test {
 protected:
  bool matches(std::string_view function, const KLValue* value, const KLValue& params) {
    return KLPropertyExpression(function, params).isMatched(value, calendar_);
  }
  bool matches(std::string_view function, const KLValue& value, const KLValue& params) { return matches(function, &value, params); }

  void check(std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
      const bool isAbsent = std::string_view(c.value) == kAbsent;
      const KLValue value = isAbsent ? KLValue() : fromJSON(c.value);
      EXPECT_EQ(matches(c.function, isAbsent ? nullptr : &value, fromJSON(c.params)), c.expected)
          << c.value << " " << c.function << " " << c.params;
    }
  }

  KLCalendar calendar_{"Europe/Berlin", KLWeekday::Monday};
};

TEST_F(KLPropertyExpressionTest, Presence) {
  check({{"isSet", "'x'", "[]", true},
         {"isSet", "null", "[]", true},
         {"isSet", kAbsent, "[]", false},
         {"notSet", "'x'", "[]", false},
         {"notSet", "null", "[]", false},
         {"notSet", kAbsent, "[]", true}});
}

TEST_F(KLPropertyExpressionTest, EqualityOfTexts) {
  check({{"equal", "'a'", "['b','a']", true},
         {"equal", "'a'", "['A']", false},
         {"equal", "'a'", "[]", false},
         {"equal", "''", "['']", true},
         {"equal", "'5'", "[5]", false},
         {"notEqual", "'a'", "['b']", true},
         {"notEqual", "'a'", "['c','b','a']", false},
         {"notEqual", "'a'", "[]", true},
         {"equal", "['a']", "['a']", false},
         {"notEqual", "['a']", "['b']", false},
         {"equal", "null", "['']", false},
         {"notEqual", "null", "['x']", false},
         {"notEqual", kAbsent, "['x']", false}});
}

TEST_F(KLPropertyExpressionTest, EqualityOfNumbersToThreeDecimals) {
  check({{"equal", "3.0001", "['3']", true},
         {"equal", "3.001", "['3']", false},
         {"equal", "2.9999", "['3']", false},
         {"equal", "-0.0001", "['0']", false},
         {"equal", "true", "['1']", true},
         {"equal", "false", "['0']", true},
         {"equal", "0", "['abc']", true},
         {"equal", "12", "['12 pieces']", true},
         {"equal", "7", "['1','x','7.0004']", true},
         {"equal", "7", "[7]", true},
         {"equal", "7", "[]", false},
         {"equal", "7", "[null,7]", false},
         {"equal", "7", "[['7'],7]", false},
         {"notEqual", "7", "['8','9']", true},
         {"notEqual", "7", "['8','7']", false},
         {"notEqual", "7", "[]", false},
         {"notEqual", "7", "[null]", false}});
}

TEST_F(KLPropertyExpressionTest, Order) {
  check({{"less", "4.999", "['5']", true},
         {"less", "5", "['5']", false},
         {"less", "5", "['5.0009']", false},
         {"less", "5", "['5.001']", true},
         {"less", "'5'", "['9']", false},
         {"less", "5", "[]", false},
         {"less", "5", "['6','1']", true},
         {"less", "-1.5", "['-1.499']", true},
         {"greater", "5", "['4.999']", true},
         {"greater", "5.0001", "['5']", false},
         {"greater", "'5'", "['1']", false},
         {"greater", "true", "['0']", true},
         {"greater", "[5]", "['1']", false},
         {"between", "10", "['10','20']", true},
         {"between", "20", "['10','20']", true},
         {"between", "20.0009", "['10','20']", true},
         {"between", "20.001", "['10','20']", false},
         {"between", "9.9999", "['10','20']", false},
         {"between", "15", "['10','0','20']", true},
         {"between", "10", "['10']", true},
         {"between", "15", "['20','10']", false},
         {"between", "15", "[]", false},
         {"between", "'15'", "['10','20']", false}});
}

TEST_F(KLPropertyExpressionTest, NumbersOfAnySizeAreOrdered) {
  const KLValue params = fromJSON("['1']");
  EXPECT_TRUE(matches("greater", KLValue(std::numeric_limits<std::int64_t>::max()), params));
  EXPECT_FALSE(matches("greater", KLValue(std::numeric_limits<std::int64_t>::min()), params));
  EXPECT_TRUE(matches("greater", KLValue(1e308), params));
  EXPECT_TRUE(matches("less", KLValue(1e300), fromJSON("['1e400']")));
  EXPECT_TRUE(matches("between", KLValue(1e17), fromJSON("['99999999999999999','100000000000000001']")));
  const KLValue zero = fromJSON("['0']");
  EXPECT_TRUE(matches("equal", KLValue(std::nan("")), zero));
  EXPECT_TRUE(matches("equal", KLValue(std::numeric_limits<double>::infinity()), zero));
}

TEST_F(KLPropertyExpressionTest, Truth) {
  check({{"isTrue", "true", "[]", true},        {"isTrue", "false", "[]", false}, {"isTrue", "2", "[]", true},
         {"isTrue", "0", "[]", false},          {"isTrue", "0.5", "[]", true},    {"isTrue", "'true'", "[]", true},
         {"isTrue", "'1'", "[]", true},         {"isTrue", "'YES'", "[]", true},  {"isTrue", "'false'", "[]", false},
         {"isTrue", "'0'", "[]", false},        {"isTrue", "''", "[]", false},    {"isTrue", "[1]", "[]", false},
         {"isTrue", "{'a':1}", "[]", false},    {"isTrue", "null", "[]", false},  {"isFalse", "true", "[]", false},
         {"isFalse", "false", "[]", true},      {"isFalse", "'no'", "[]", true},  {"isFalse", "[1]", "[]", true},
         {"isFalse", "{'a':true}", "[]", true}, {"isFalse", "null", "[]", true}});
  EXPECT_FALSE(matches("isTrue", KLValue(KLDate{1}), KLValue()));
  EXPECT_TRUE(matches("isFalse", KLValue(KLDate{1}), KLValue()));
}

TEST_F(KLPropertyExpressionTest, Emptiness) {
  check({{"isEmpty", "''", "[]", true},
         {"isEmpty", "' '", "[]", false},
         {"isEmpty", "[]", "[]", true},
         {"isEmpty", "['','']", "[]", true},
         {"isEmpty", "['','a']", "[]", false},
         {"isEmpty", "[null]", "[]", false},
         {"isEmpty", "[[]]", "[]", false},
         {"isEmpty", "0", "[]", false},
         {"isEmpty", "null", "[]", false},
         {"isEmpty", "{}", "[]", false},
         {"isNotEmpty", "'a'", "[]", true},
         {"isNotEmpty", "''", "[]", false},
         {"isNotEmpty", "['','a']", "[]", true},
         {"isNotEmpty", "['']", "[]", false},
         {"isNotEmpty", "5", "[]", false},
         {"isNotEmpty", "{'a':1}", "[]", false},
         {"isNotEmpty", "null", "[]", false}});
}

TEST_F(KLPropertyExpressionTest, Substrings) {
  check({{"contain", "'shoes'", "['hoe']", true},
         {"contain", "'shoes'", "['Hoe']", false},
         {"contain", "'shoes'", "['x','hoe']", false},
         {"contain", "'shoes'", "['']", true},
         {"contain", "'a5b'", "[5]", true},
         {"contain", "'shoes'", "[]", false},
         {"contain", "5", "['5']", false},
         {"contain", "['shoes']", "['shoes']", false},
         {"notContain", "'shoes'", "['x']", true},
         {"notContain", "'shoes'", "['shoes']", false},
         {"notContain", "'shoes'", "[]", false},
         {"notContain", "5", "['x']", false}});
}

TEST_F(KLPropertyExpressionTest, Membership) {
  check({{"in", "['a','b']", "['b','c']", true},
         {"in", "['a']", "['b']", false},
         {"in", "[]", "['b']", false},
         {"in", "['a']", "[]", false},
         {"in", "'a'", "['a']", false},
         {"in", "[1]", "['1']", false},
         {"in", "[1]", "['x',1]", true},
         {"in", "[true]", "[1]", true},
         {"in", "[['a']]", "[['a']]", true},
         {"notInclude", "['a','b']", "['b']", false},
         {"notInclude", "['a']", "['b']", true},
         {"notInclude", "'b'", "['b']", true},
         {"notInclude", "5", "['b']", true},
         {"notInclude", "[1]", "['1']", true}});
}

TEST_F(KLPropertyExpressionTest, AbsoluteBetweenOfTexts) {
  for (const char* name : {"absolute_between", "absoluteBetween"}) {
    check({{name, "'b'", "['a','c']", true},
           {name, "'a'", "['a','c']", true},
           {name, "'c'", "['a','c']", true},
           {name, "'ca'", "['a','c']", false},
           {name, "'B'", "['a','c']", false},
           {name, "'b'", "['a',1,'c']", true},
           {name, "'b'", "['b']", true},
           {name, "'b'", "['a',3]", false},
           {name, "'b'", "[]", false},
           {name, "5", "['1','9']", false},
           {name, kAbsent, "['1','9']", false}});
  }
}

TEST_F(KLPropertyExpressionTest, AbsoluteBetweenOfDatesReadsBoundsInTheZone) {
  const KLValue bounds = fromJSON("['2024-06-01 10:00','2024-06-01 10:30:15']");
  const double first = 1717228800;  // 10:00 at UTC+2
  const double last = first + 1815;
  const auto holds = [&](double instant) { return matches("absolute_between", KLValue(KLDate{instant}), bounds); };
  EXPECT_FALSE(holds(first - 0.001));
  EXPECT_TRUE(holds(first));
  EXPECT_TRUE(holds(last));
  EXPECT_FALSE(holds(last + 0.001));

  const KLValue date(KLDate{first});
  EXPECT_TRUE(matches("absolute_between", date, fromJSON("['2024-06-01 09:59:59.999','2024-06-01 10:00:00.000']")));
  for (const char* broken : {"['2024-06-01','2024-06-02 10:00']", "['2024-05-01 10:00','soon']", "['2024-05-01 10:00','']",
                             "['2024-05-01 10:00','2024-07-01 10:00 or so']"}) {
    EXPECT_FALSE(matches("absolute_between", date, fromJSON(broken))) << broken;
  }
}

TEST_F(KLPropertyExpressionTest, UnknownOperatorsNeverHold) {
  for (const char* name : {"startsWith", "", "Equal", "equal ", "ISSET"}) {
    check({{name, "'a'", "['a']", false}, {name, kAbsent, "['a']", false}});
  }
}

TEST_F(KLPropertyExpressionTest, ParametersOfAnotherKindCountAsNone) {
  for (const char* params : {"null", "'a'", "5", "{'0':'a'}"})
    check({{"equal", "'a'", params, false}, {"notEqual", "'a'", params, true}});
}

TEST_F(KLPropertyExpressionTest, ACopyKeepsItsOwnParameters) {
  KLPropertyExpression copy;
  {
    const KLPropertyExpression original("equal", fromJSON("['a text too long for the small string store','b']"));
    copy = original;
  }
  const KLValue value("a text too long for the small string store");
  EXPECT_TRUE(copy.isMatched(&value, calendar_));
}

}  // namespace
}  // namespace kaleo
