#include "kaleo/KLValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kaleo {
namespace {

constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
constexpr auto kMin = std::numeric_limits<std::int64_t>::min();

TEST(KLValue, AccessorsAreTotal) {
  const KLValue everything[] = {{}, true, 7, 2.5, "text", KLDate{3}, KLBytes{1}, KLValue::Array{1}, KLObject{{"key", 1}}};
  for (const KLValue& value : everything) {
    EXPECT_EQ(value.asBool(), value.isBool());
    EXPECT_EQ(value.asString(), value.isString() ? "text" : "");
    EXPECT_EQ(value.asDate().secondsSince1970, value.isDate() ? 3 : 0);
    EXPECT_EQ(value.asBytes().size(), value.isBytes() ? 1u : 0u);
    EXPECT_EQ(value.asArray().size(), value.isArray() ? 1u : 0u);
    EXPECT_EQ(value.asObject().size(), value.isObject() ? 1u : 0u);
    EXPECT_EQ(value.find("key") != nullptr, value.isObject());
    EXPECT_EQ(value.asDouble() != 0, value.isNumber());
  }
}

TEST(KLValue, DoublesBecomeClampedIntegers) {
  EXPECT_EQ(KLValue(2.9).asInteger(), 2);
  EXPECT_EQ(KLValue(-2.9).asInteger(), -2);
  EXPECT_EQ(KLValue(true).asInteger(), 1);
  EXPECT_EQ(KLValue(1e300).asInteger(), kMax);
  EXPECT_EQ(KLValue(9223372036854775808.0).asInteger(), kMax);
  EXPECT_EQ(KLValue(-9223372036854775808.0).asInteger(), kMin);
  EXPECT_EQ(KLValue(-HUGE_VAL).asInteger(), kMin);
  EXPECT_EQ(KLValue(std::nan("")).asInteger(), 0);
}

TEST(KLValue, NumbersCompareByValueAndExactly) {
  EXPECT_EQ(KLValue(1), KLValue(1.0));
  EXPECT_EQ(KLValue(1), KLValue(true));
  EXPECT_NE(KLValue(1), KLValue(1.5));
  EXPECT_NE(KLValue(std::int64_t{9007199254740993}), KLValue(9007199254740992.0));
  EXPECT_NE(KLValue(kMax), KLValue(9223372036854775808.0));
  EXPECT_EQ(KLValue(kMin), KLValue(-9223372036854775808.0));
  EXPECT_NE(KLValue(1), KLValue("1"));
  EXPECT_NE(KLValue(0), KLValue());
}

TEST(KLValue, EqualityIsDeepAndIgnoresTheOrderOfMembers) {
  const KLValue left = KLObject{{"a", KLValue::Array{1, "x"}}, {"b", nullptr}};
  const KLValue right = KLObject{{"b", nullptr}, {"a", KLValue::Array{1.0, "x"}}};
  EXPECT_EQ(left, right);
  EXPECT_NE(left, KLValue(KLObject{{"a", KLValue::Array{1, "y"}}, {"b", nullptr}}));
  EXPECT_NE(KLValue(KLObject{{"a", nullptr}}), KLValue(KLObject{{"b", nullptr}}));
}

TEST(KLObject, KeepsFirstPlaceAndLastValue) {
  KLObject object{{"b", 1}, {"a", 2}, {"b", 3}};
  object.set("c", 4);
  object.set("a", 5);
  object.setIfPresent("d", nullptr);
  std::string order;
  for (const auto& [key, value] : object) order += key + std::to_string(value.asInteger());
  EXPECT_EQ(order, "b3a5c4");
  EXPECT_TRUE(object.erase("b"));
  EXPECT_FALSE(object.erase("b"));
  EXPECT_FALSE(object.contains("b"));
  EXPECT_EQ(object.size(), 2u);
}

// Every size around the one at which look-ups change their way, filled in both ways.
TEST(KLObject, SmallAndLargeObjectsBehaveAlike) {
  for (int size = 0; size < 40; ++size) {
    KLObject grown;
    std::vector<KLObject::Entry> entries;
    for (int i = 0; i < size; ++i) {
      const std::string key = std::to_string((i * 17) % 41);
      grown.set(key, i);
      entries.emplace_back(key, -1);
    }
    for (int i = 0; i < size; ++i) entries.emplace_back(std::to_string((i * 17) % 41), i);
    const KLObject made = KLObject::fromEntries(std::move(entries));
    ASSERT_EQ(made.size(), static_cast<std::size_t>(size));
    ASSERT_EQ(made, grown);
    ASSERT_TRUE(std::equal(made.begin(), made.end(), grown.begin()));
    ASSERT_FALSE(grown.contains("absent"));
    for (int i = 0; i < size; i += 2) {
      const std::string key = std::to_string((i * 17) % 41);
      ASSERT_EQ(*grown.find(key), KLValue(i));
      ASSERT_TRUE(grown.erase(key));
      ASSERT_FALSE(grown.contains(key));
    }
    for (int i = 1; i < size; i += 2) ASSERT_EQ(*grown.find(std::to_string((i * 17) % 41)), KLValue(i));
  }
}

}  // namespace
}  // namespace kaleo
