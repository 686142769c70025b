#include "Foundation/KLJSON.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace kaleo {
namespace {

constexpr auto kMax = std::numeric_limits<std::int64_t>::max();

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

// The offset at which parsing `text` stops, or -1 when it parses.
std::int64_t errorOffset(std::string_view text) {
  KLError error;
  if (KLJSON::parse(text, &error)) return -1;
  EXPECT_TRUE(error.domain == kKLJSONErrorDomain || error.domain == KLJSON::kBoundErrorDomain) << error.domain;
  EXPECT_FALSE(error.localizedDescription.empty());
  return error.code;
}

TEST(KLJSONParse, EveryKindOfValue) {
  const auto value =
      KLJSON::parse(R"( {"n":null,"t":true,"f":false,"i":-7,"d":2.50,"s":"é\u00e9\ud83d\ude00\n\/","a":[1,[],{}],"":0} )");
  ASSERT_TRUE(value);
  EXPECT_TRUE(value->find("n")->isNull());
  EXPECT_TRUE(value->find("t")->asBool());
  EXPECT_TRUE(value->find("f")->isBool());
  EXPECT_TRUE(value->find("i")->isInteger());
  EXPECT_EQ(value->find("i")->asInteger(), -7);
  EXPECT_TRUE(value->find("d")->isDouble());
  EXPECT_EQ(value->find("d")->asDouble(), 2.5);
  EXPECT_EQ(value->find("s")->asString(), "éé😀\n/");
  EXPECT_EQ(*value->find("a"), KLValue(KLValue::Array{1, KLValue::Array{}, KLObject{}}));
  EXPECT_TRUE(value->find(""));
  EXPECT_EQ(value->asObject().begin()->first, "n");
}

TEST(KLJSONParse, RootsOfEveryKind) {
  EXPECT_EQ(KLJSON::parse(" 5 "), KLValue(5));
  EXPECT_EQ(KLJSON::parse("\"x\""), KLValue("x"));
  EXPECT_EQ(KLJSON::parse("true"), KLValue(true));
  EXPECT_EQ(KLJSON::parse("null"), KLValue());
  EXPECT_EQ(KLJSON::parse("[]"), KLValue(KLValue::Array{}));
  EXPECT_EQ(KLJSON::parse(KLBytes{'{', '}'}), KLValue(KLObject{}));
  EXPECT_EQ(KLJSON::parse("\xEF\xBB\xBF[1]"), KLValue(KLValue::Array{1}));
}

TEST(KLJSONParse, IntegersOf64BitsStayIntegers) {
  EXPECT_TRUE(KLJSON::parse("9223372036854775807")->isInteger());
  EXPECT_EQ(KLJSON::parse("9223372036854775807")->asInteger(), kMax);
  EXPECT_TRUE(KLJSON::parse("[-9223372036854775808]")->asArray()[0].isInteger());
  EXPECT_EQ(KLJSON::parse("9223372036854775808"), KLValue(9223372036854775808.0));
  EXPECT_EQ(KLJSON::parse("[18446744073709551616]")->asArray()[0], KLValue(18446744073709551616.0));
  EXPECT_EQ(KLJSON::parse("-123456789012345678901234567890"), KLValue(-123456789012345678901234567890.0));
  EXPECT_TRUE(KLJSON::parse("1.0")->isDouble());
  EXPECT_TRUE(KLJSON::parse("1e3")->isDouble());
}

TEST(KLJSONParse, DoublesOfManyDigits) {
  EXPECT_EQ(KLJSON::parse("1.2345678901234567890"), KLValue(1.2345678901234567890));
  EXPECT_EQ(KLJSON::parse("[0.1234567890123456789012]")->asArray()[0], KLValue(0.1234567890123456789012));
  EXPECT_EQ(KLJSON::parse("0." + std::string(400, '0') + "1e401"), KLValue(1));
  EXPECT_EQ(KLJSON::parse("[1e-400]")->asArray()[0], KLValue(0));
}

TEST(KLJSONParse, TheLastOfEqualKeysCountsAtTheFirstOnesPlace) {
  EXPECT_EQ(KLJSON::serialize(*KLJSON::parse(R"({"a":1,"b":2,"\u0061":3})")), R"({"a":3,"b":2})");
}

TEST(KLJSONParse, RefusesWhatIsNoJSON) {
  for (const char* text : {"",           " ",
                           "[",          "]",
                           "{",          "}",
                           "[1",         "[1,]",
                           "[,1]",       "[1 2]",
                           "[1]]",       "1 2",
                           "[]x",        "{]",
                           "[}",         "{\"a\"}",
                           "{\"a\":}",   "{a:1}",
                           "{\"a\":1,}", "{1:1}",
                           "{\"a\" 1}",  "\"",
                           "\"\\x\"",    "\"\\u12\"",
                           "'a'",        "01",
                           "[01]",       "1.",
                           "[-]",        ".5",
                           "+1",         "1e",
                           "[1x]",       "tru",
                           "[truex]",    "nul",
                           "[nulll]",    "[nil]",
                           "falsey",     "truex",
                           "nulll",      "null null",
                           "NaN",        "[Infinity]",
                           "1e400",      "// x\n1",
                           "[1]/**/",    "{\"a\":1",
                           "{\"a\":[1}", "[[1]",
                           "[\"a]",      "{\"a\":1 \"b\":2}",
                           "[1:2]",      "{\"a\",1}",
                           ",",          ":",
                           "\\",         "[\"\\ud800\"]"}) {
    KLError error;
    EXPECT_FALSE(KLJSON::parse(text, &error)) << text;
    EXPECT_LE(error.code, static_cast<std::int64_t>(std::strlen(text))) << text;
  }
  EXPECT_FALSE(KLJSON::parse(std::string_view("[1]\0", 4)));
  EXPECT_FALSE(KLJSON::parse(std::string_view("\0[1]", 4)));
}

TEST(KLJSONParse, ErrorsSayWhere) {
  EXPECT_EQ(errorOffset("[1, 2, x]"), 7);
  EXPECT_EQ(errorOffset("[1, 2] []"), 7);
  EXPECT_EQ(errorOffset("[1, [2]"), 7);
  EXPECT_EQ(errorOffset("{\"a\": 1, \"b\""), 12);
  EXPECT_EQ(errorOffset("[\"a\xFF\"]"), 3);
  EXPECT_EQ(errorOffset("[\"a\nb\"]"), 3);
  EXPECT_EQ(errorOffset("[\"a\", \"b]"), 6);
  EXPECT_EQ(errorOffset("\xEF\xBB\xBF[1, 2] []"), 10);
  EXPECT_EQ(errorOffset(""), 0);
  KLError error;
  EXPECT_FALSE(KLJSON::parse("{\n  \"a\": 1,\n  \"b\": tru\n}", &error));
  EXPECT_THAT(error.localizedDescription, ::testing::HasSubstr("line 3, column 8"));
}

TEST(KLJSONParse, DepthAndLengthAreBounded) {
  EXPECT_TRUE(KLJSON::parse(nested(KLJSON::kMaxDepth)));
  EXPECT_EQ(errorOffset(nested(KLJSON::kMaxDepth + 1)), static_cast<std::int64_t>(KLJSON::kMaxDepth));
  EXPECT_FALSE(KLJSON::parse(nested(1'000'000)));
  EXPECT_FALSE(KLJSON::parse(std::string(1'000'000, '[')));
  EXPECT_FALSE(KLJSON::parse(std::string(KLJSON::kMaxBytes, ' ') + "1"));
}

TEST(KLJSONSerialize, NumbersTextsDatesAndBytes) {
  EXPECT_EQ(KLJSON::serialize(KLValue::Array{nullptr, true, false, kMax, 1.0, 0.1, -0.0, 1e21, 1e300, 5e-324}),
            "[null,true,false,9223372036854775807,1.0,0.1,-0.0,1e+21,1e+300,5e-324]");
  EXPECT_EQ(KLJSON::serialize(KLValue::Array{std::nan(""), HUGE_VAL, -HUGE_VAL}), "[null,null,null]");
  EXPECT_EQ(KLJSON::serialize("\"\\/\b\f\n\r\t\x01\x7F"
                              "é"),
            "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\x7Fé\"");
  EXPECT_EQ(KLJSON::serialize(std::string("\0", 1)), "\"\\u0000\"");
  EXPECT_EQ(KLJSON::serialize(KLDate{1.5}), "1.5");
  EXPECT_EQ(KLJSON::serialize(KLBytes{'a', 'b', 'c'}), "\"YWJj\"");
}

TEST(KLJSONSerialize, BrokenTextIsMended) {
  EXPECT_EQ(KLJSON::serialize("a\xFFz"), "\"a\uFFFDz\"");
  EXPECT_EQ(KLJSON::serialize("\xE2\x82"), "\"\uFFFD\"");                  // an end too early
  EXPECT_EQ(KLJSON::serialize("\xC0\x80"), "\"\uFFFD\uFFFD\"");            // an overlong zero
  EXPECT_EQ(KLJSON::serialize("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");  // a surrogate
}

TEST(KLJSONSerialize, Pretty) {
  const KLValue value = KLObject{{"a", KLValue::Array{1, KLObject{}}}, {"b", KLValue::Array{}}};
  EXPECT_EQ(KLJSON::serialize(value, KLJSON::Style::Pretty), "{\n  \"a\": [\n    1,\n    {}\n  ],\n  \"b\": []\n}");
}

TEST(KLJSONSerialize, WhatIsWrittenReadsBackTheSame) {
  const KLValue value =
      KLObject{{"d", 0.1 + 0.2}, {"i", kMax}, {"s", "\u2028\"\x1F"}, {"", KLValue::Array{1e17, 123456.789, 1e-5}}};
  for (const auto style : {KLJSON::Style::Compact, KLJSON::Style::Pretty}) {
    EXPECT_EQ(KLJSON::parse(KLJSON::serialize(value, style)), value);
  }
  EXPECT_TRUE(KLJSON::parse(KLJSON::serialize(5.0))->isDouble());
}

TEST(KLJSONSerialize, BeyondTheDepthLimitThereIsNull) {
  KLValue value;
  for (std::size_t i = 0; i < KLJSON::kMaxDepth + 3; ++i) value = KLValue::Array{value};
  EXPECT_FALSE(KLJSON::isValidJSONObject(value));
  const auto text = KLJSON::serialize(value);
  EXPECT_TRUE(KLJSON::parse(text)) << text.size();
}

TEST(KLJSONIsValid, ArraysAndObjectsOfWhatJSONKnows) {
  EXPECT_TRUE(KLJSON::isValidJSONObject(KLValue::Array{1, "a", nullptr, KLObject{{"x", 0.5}}}));
  EXPECT_FALSE(KLJSON::isValidJSONObject("text"));
  EXPECT_FALSE(KLJSON::isValidJSONObject(KLValue()));
  EXPECT_FALSE(KLJSON::isValidJSONObject(KLValue::Array{KLDate{1}}));
  EXPECT_FALSE(KLJSON::isValidJSONObject(KLObject{{"a", KLValue::Array{KLBytes{1}}}}));
  EXPECT_FALSE(KLJSON::isValidJSONObject(KLObject{{"a", std::nan("")}}));
}

}  // namespace
}  // namespace kaleo
