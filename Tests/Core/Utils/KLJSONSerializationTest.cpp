#include "Core/Utils/KLJSONSerialization.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kaleo {
namespace {

constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
constexpr auto kMin = std::numeric_limits<std::int64_t>::min();

std::int64_t integerOf(const KLValue& value) { return quillon_integerValue(&value); }
double doubleOf(const KLValue& value) { return quillon_doubleValue(&value); }
bool boolOf(const KLValue& value) { return quillon_boolValue(&value); }
std::string stringOf(const KLValue& value) { return quillon_stringValue(&value).value_or("(absent)"); }
std::vector<std::string> stringsOf(const KLValue& value) { return quillon_stringValues(&value); }

TEST(Coercion, AbsentValuesGiveNothing) {
  EXPECT_EQ(quillon_integerValue(nullptr), 0);
  EXPECT_EQ(quillon_doubleValue(nullptr), 0);
  EXPECT_EQ(quillon_floatValue(nullptr), 0);
  EXPECT_FALSE(quillon_boolValue(nullptr));
  EXPECT_EQ(quillon_stringValue(nullptr), std::nullopt);
  EXPECT_TRUE(quillon_stringValues(nullptr).empty());
}

TEST(Coercion, WrongKindsGiveTheNeutralValue) {
  for (const KLValue& value : {KLValue(), KLValue(KLValue::Array{1}), KLValue(KLObject{{"a", 1}}), KLValue(KLDate{5})}) {
    EXPECT_EQ(integerOf(value), 0);
    EXPECT_EQ(doubleOf(value), 0);
    EXPECT_FALSE(boolOf(value));
    EXPECT_EQ(stringOf(value), "");
    EXPECT_TRUE(stringsOf(value).empty());
  }
}

TEST(Coercion, IntegersOfTexts) {
  EXPECT_EQ(integerOf("12"), 12);
  EXPECT_EQ(integerOf(" \n-12abc"), -12);
  EXPECT_EQ(integerOf("+7.9"), 7);
  EXPECT_EQ(integerOf("- 7"), 0);
  EXPECT_EQ(integerOf("--7"), 0);
  EXPECT_EQ(integerOf("abc"), 0);
  EXPECT_EQ(integerOf(""), 0);
  EXPECT_EQ(integerOf("9223372036854775807"), kMax);
  EXPECT_EQ(integerOf("9223372036854775808"), kMax);
  EXPECT_EQ(integerOf("-9223372036854775808"), kMin);
  EXPECT_EQ(integerOf("-" + std::string(500, '9')), kMin);
}

TEST(Coercion, DoublesOfTexts) {
  EXPECT_EQ(doubleOf("1.5"), 1.5);
  EXPECT_EQ(doubleOf("  -1.5e2kg"), -150);
  EXPECT_EQ(doubleOf("+.5"), .5);
  EXPECT_EQ(doubleOf("5."), 5);
  EXPECT_EQ(doubleOf("3e"), 3);
  EXPECT_EQ(doubleOf("1,5"), 1);
  EXPECT_EQ(doubleOf("0x10"), 0);
  for (const char* none : {"", " ", "-", "+-1", ".", "inf", "nan", "-infinity", "e5"}) EXPECT_EQ(doubleOf(none), 0) << none;
  EXPECT_EQ(quillon_floatValue(std::make_unique<KLValue>("0.25").get()), 0.25f);
}

TEST(Coercion, DoublesBeyondTheRange) {
  EXPECT_EQ(doubleOf("1e400"), HUGE_VAL);
  EXPECT_EQ(doubleOf("-" + std::string(400, '9')), -HUGE_VAL);
  EXPECT_EQ(doubleOf("1e99999999999999999999"), HUGE_VAL);
  EXPECT_EQ(doubleOf("1e-400"), 0);
  EXPECT_EQ(doubleOf("0." + std::string(400, '0') + "1"), 0);
  EXPECT_EQ(doubleOf("0." + std::string(400, '0') + "1e401"), 1);
  EXPECT_EQ(doubleOf("0e999999"), 0);
}

TEST(Coercion, Booleans) {
  for (const KLValue& yes : {KLValue(true), KLValue(2), KLValue(0.5), KLValue("YES"), KLValue("true"), KLValue("1"), KLValue("y"),
                             KLValue(" +0009"), KLValue("-3")}) {
    EXPECT_TRUE(boolOf(yes)) << stringOf(yes);
  }
  for (const KLValue& no : {KLValue(false), KLValue(0), KLValue(0.0), KLValue("no"), KLValue("false"), KLValue("000"), KLValue(""),
                            KLValue("x1"), KLValue(" - 1")}) {
    EXPECT_FALSE(boolOf(no)) << stringOf(no);
  }
}

TEST(Coercion, Texts) {
  EXPECT_EQ(stringOf("as it is"), "as it is");
  EXPECT_EQ(stringOf(5), "5");
  EXPECT_EQ(stringOf(5.0), "5");
  EXPECT_EQ(stringOf(-0.1), "-0.1");
  EXPECT_EQ(stringOf(0.0001), "0.0001");
  EXPECT_EQ(stringOf(1234567.25), "1234567.25");
  EXPECT_EQ(stringOf(1700000000000.0), "1700000000000");
  EXPECT_EQ(stringOf(1e21), "1e+21");
  EXPECT_EQ(stringOf(1e-7), "1e-07");
  EXPECT_EQ(stringOf(true), "1");
  EXPECT_EQ(stringOf(kMin), "-9223372036854775808");
  EXPECT_EQ(stringOf(-std::numeric_limits<double>::denorm_min()), "-5e-324");
}

TEST(Coercion, ListsOfTexts) {
  EXPECT_EQ(stringsOf(KLValue::Array{"a", "b"}), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(stringsOf(KLValue::Array{"a", 1}).empty());
  EXPECT_TRUE(stringsOf("a").empty());
}

TEST(Description, OfEveryKind) {
  EXPECT_EQ(quillon_description("as it is"), "as it is");
  EXPECT_EQ(quillon_description(nullptr), "<null>");
  EXPECT_EQ(quillon_description(true), "1");
  EXPECT_EQ(quillon_description(5.0), "5");
  EXPECT_EQ(quillon_description(KLObject{{"a", KLValue::Array{1, "b"}}}), R"({"a":[1,"b"]})");
}

TEST(QueryValue, FirstItemOfTheName) {
  EXPECT_EQ(quillon_queryValueForParameter("app://host?a=1&b=%20x&a=2", "a"), "1");
  EXPECT_EQ(quillon_queryValueForParameter("app://host?a=1&b=%20x", "b"), " x");
  EXPECT_EQ(quillon_queryValueForParameter("app://host?a=1", "A"), std::nullopt);
  EXPECT_EQ(quillon_queryValueForParameter("app://host?a&a=1", "a"), std::nullopt);
  EXPECT_EQ(quillon_queryValueForParameter("app://host", "a"), std::nullopt);
  EXPECT_EQ(quillon_queryValueForParameter("no url?a=1", "a"), std::nullopt);
}

TEST(CompareVersion, PartByPart) {
  EXPECT_EQ(quillon_compareVersion("0.7.3", "0.10"), -1);
  EXPECT_EQ(quillon_compareVersion("0.10", "0.7.3"), 1);
  EXPECT_EQ(quillon_compareVersion("1.0", "1"), 0);
  EXPECT_EQ(quillon_compareVersion("1.2", "1.2.0"), 0);
  EXPECT_EQ(quillon_compareVersion("1.2", "1.2.0.1"), -1);
  EXPECT_EQ(quillon_compareVersion("", "0.0"), 0);
  EXPECT_EQ(quillon_compareVersion("a.b", "0"), 0);
  EXPECT_EQ(quillon_compareVersion("1..2", "1.0.2"), 0);
  EXPECT_EQ(quillon_compareVersion("2-beta", "2"), 0);
}

}  // namespace
}  // namespace kaleo
