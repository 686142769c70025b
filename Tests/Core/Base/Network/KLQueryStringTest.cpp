#include "Core/Base/Network/KLQueryString.h"

#include <gtest/gtest.h>

namespace kaleo {
namespace {

TEST(KLQueryString, SortsMembersAndNamesNestedOnesInBrackets) {
  const std::pair<KLValue, const char*> cases[] = {
      {KLObject{}, ""},
      {KLObject{{"b", 1}, {"a", "x y"}}, "a=x%20y&b=1"},
      {KLObject{{"a", KLObject{{"c", 1}, {"b", 2}}}}, "a%5Bb%5D=2&a%5Bc%5D=1"},
      {KLObject{{"a", KLObject{{"b", KLObject{{"c", 1}}}}}}, "a%5Bb%5D%5Bc%5D=1"},
      {KLObject{{"a", KLValue::Array{2, 1}}}, "a%5B%5D=2&a%5B%5D=1"},
      {KLObject{{"a", KLValue::Array{KLObject{{"b", 1}}, KLValue::Array{2}}}}, "a%5B%5D%5Bb%5D=1&a%5B%5D%5B%5D=2"},
      {KLObject{{"a", KLValue::Array{}}, {"b", KLObject{}}}, ""},
      {KLObject{{"a", nullptr}, {"b", ""}}, "a&b="},
      {KLObject{{"B", 1}, {"a", 2}, {"A", 3}}, "A=3&B=1&a=2"},
  };
  for (const auto& [parameters, query] : cases) EXPECT_EQ(KLQueryStringFromParameters(parameters), query);
}

TEST(KLQueryString, WritesValuesAsTheirDescription) {
  const KLObject parameters{{"a", true}, {"b", 1.5}, {"c", 2.0}, {"d", -7}, {"e", "100%"}};
  EXPECT_EQ(KLQueryStringFromParameters(parameters), "a=1&b=1.5&c=2&d=-7&e=100%25");
}

TEST(KLQueryString, EscapesAllButUnreservedCharactersAndTheHarmlessTwo) {
  EXPECT_EQ(KLPercentEscapedStringFromString("AZaz09-._~/?"), "AZaz09-._~/?");
  EXPECT_EQ(KLPercentEscapedStringFromString(":#[]@!$&'()*+,;="), "%3A%23%5B%5D%40%21%24%26%27%28%29%2A%2B%2C%3B%3D");
  EXPECT_EQ(KLPercentEscapedStringFromString(" \"<>\\^`{|}%"), "%20%22%3C%3E%5C%5E%60%7B%7C%7D%25");
  std::string faces, escaped;
  for (int i = 0; i < 60; ++i) {
    faces += "\xF0\x9F\x98\x80";
    escaped += "%F0%9F%98%80";
  }
  EXPECT_EQ(KLPercentEscapedStringFromString(faces), escaped);
}

TEST(KLQueryString, PairsKeepFieldAndValue) {
  const auto pairs = KLQueryStringPairsFromKeyAndValue("k", KLObject{{"m", 1}});
  ASSERT_EQ(pairs.size(), 1u);
  EXPECT_EQ(pairs[0].field, "k[m]");
  EXPECT_EQ(pairs[0].value, KLValue(1));
  EXPECT_EQ((KLQueryStringPair{"a b", std::nullopt}.URLEncodedStringValue()), "a%20b");
}

}  // namespace
}  // namespace kaleo
