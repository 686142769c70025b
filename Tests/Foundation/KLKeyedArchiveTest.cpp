#include "Foundation/KLKeyedArchive.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "Foundation/KLCBORReader.h"

namespace kaleo {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

KLBytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// {"kl": 1, "class": "C", "root": <item>}
KLBytes containerOf(std::string_view item) {
  return bytesOf("\xA3\x62kl\x01\x65"s + "class\x61" + "C\x64root" + std::string(item));
}

std::optional<KLValue> read(std::string_view item) { return KLKeyedArchive::unarchive(containerOf(item), "C"); }

KLValue everything() {
  return KLObject{{"null", nullptr},
                  {"yes", true},
                  {"small", 7},
                  {"least", std::numeric_limits<std::int64_t>::min()},
                  {"most", std::numeric_limits<std::int64_t>::max()},
                  {"real", 0.1},
                  {"endless", -HUGE_VAL},
                  {"text", "é\n"},
                  {"date", KLDate{1700000000.25}},
                  {"bytes", KLBytes{0, 255}},
                  {"list", KLValue::Array{1, KLValue::Array{}, KLObject{}, KLObject{{"", "x"}}}}};
}

TEST(KLKeyedArchive, WhatIsArchivedComesBackTheSame) {
  const KLBytes bytes = KLKeyedArchive::archive("Thing", everything());
  const auto value = KLKeyedArchive::unarchive(bytes, "Thing");
  ASSERT_TRUE(value);
  EXPECT_EQ(*value, everything());
  EXPECT_TRUE(value->find("date")->isDate());
  EXPECT_TRUE(value->find("real")->isDouble());
  EXPECT_TRUE(value->find("yes")->isBool());
  EXPECT_EQ(value->asObject().begin()->first, "null");
  EXPECT_EQ(KLKeyedArchive::unarchive(bytes, "Other"), std::nullopt);
}

// Stored archives outlive the version that wrote them: these bytes may never change their meaning.
TEST(KLKeyedArchive, FormatIsFixed) {
  const auto item =
      "\xA2\x61"
      "a\x82\x01\x20\x61"
      "d\xC1\xFB\x40\x04\0\0\0\0\0\0"s;
  EXPECT_EQ(KLKeyedArchive::archive("C", KLObject{{"a", KLValue::Array{1, -1}}, {"d", KLDate{2.5}}}), containerOf(item));
}

TEST(KLKeyedArchive, ReadsOtherWritersNumbers) {
  EXPECT_EQ(read("\xF9\x3E\x00"sv), KLValue(1.5));
  EXPECT_EQ(read("\xFA\x3F\xC0\x00\x00"sv), KLValue(1.5));
  EXPECT_EQ(read("\x19\x01\x00"sv), KLValue(256));
  EXPECT_EQ(read("\x39\x00\xFF"sv), KLValue(-256));
  EXPECT_EQ(read("\xC1\x05"), KLValue(KLDate{5}));
  EXPECT_EQ(read("\xA2\x61"
                 "a\x01\x61"
                 "a\x02"),
            KLValue(KLObject{{"a", 2}}));
}

TEST(KLKeyedArchive, RefusesWhatItDoesNotKnow) {
  for (const auto item : {""sv,
                          "\x9F\x01\xFF"sv,
                          "\xBF\xFF"sv,
                          "\x7F\x61x\xFF"sv,
                          "\x5F\xFF"sv,
                          "\xFF"sv,
                          "\xF7"sv,
                          "\xC1\x61x"sv,
                          "\xC1\x80"sv,
                          "\xC1\xC1\x01"sv,
                          "\xC1\xF6"sv,
                          "\xC2\x41\x01"sv,
                          "\xA1\x01\x02"sv,
                          "\xA1\x80\x02"sv,
                          "\xA1\xC1\x61x\x02"sv,
                          "\x61\xFF"sv,
                          "\x1B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"sv,
                          "\x3B\x80\x00\x00\x00\x00\x00\x00\x00"sv,
                          "\x01\x01"sv,
                          "\x1C"sv}) {
    EXPECT_EQ(read(item), std::nullopt) << ::testing::PrintToString(item);
  }
  EXPECT_EQ(KLKeyedArchive::unarchive(bytesOf("\x01"), "C"), std::nullopt);
  EXPECT_EQ(KLKeyedArchive::unarchive(KLKeyedArchive::archive("", 1), "C"), std::nullopt);
  auto newer = containerOf("\x01");
  newer[4] = 2;
  EXPECT_EQ(KLKeyedArchive::unarchive(newer, "C"), std::nullopt);
}

TEST(KLKeyedArchive, CountsAndDepthsThatLieAreRefused) {
  EXPECT_EQ(read("\x9B\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01"sv), std::nullopt);
  EXPECT_EQ(read("\xBB\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"sv), std::nullopt);
  EXPECT_EQ(read("\x5B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"sv), std::nullopt);
  EXPECT_TRUE(read(std::string(KLKeyedArchive::kMaxDepth - 2, '\x81') + '\x80'));
  EXPECT_EQ(read(std::string(KLKeyedArchive::kMaxDepth - 1, '\x81') + '\x80'), std::nullopt);
  EXPECT_EQ(read(std::string(1'000'000, '\x81')), std::nullopt);
  const KLBytes threeItems{0x82, 0x01, 0x02};
  EXPECT_TRUE(KLCBORReader(1, 3).read(threeItems));
  EXPECT_FALSE(KLCBORReader(1, 2).read(threeItems));
  EXPECT_FALSE(KLCBORReader(0, 3).read(threeItems));
}

TEST(KLKeyedArchive, WritesNothingThatItWouldNotRead) {
  KLValue deep;
  for (std::size_t i = 0; i < 2 * KLKeyedArchive::kMaxDepth; ++i) deep = KLValue::Array{deep};
  EXPECT_TRUE(KLKeyedArchive::unarchive(KLKeyedArchive::archive("C", deep), "C"));
  EXPECT_EQ(KLKeyedArchive::unarchive(KLKeyedArchive::archive("C", "a\xFF"), "C"), KLValue("a\uFFFD"));
  constexpr std::size_t kAround = 7;  // the container's map with its keys, version and class, and the array itself
  EXPECT_FALSE(KLKeyedArchive::archive("C", KLValue::Array(KLKeyedArchive::kMaxItems - kAround, 1)).empty());
  EXPECT_TRUE(KLKeyedArchive::archive("C", KLValue::Array(KLKeyedArchive::kMaxItems - kAround + 1, 1)).empty());
  EXPECT_TRUE(KLKeyedArchive::archive("C", KLBytes(KLKeyedArchive::kMaxBytes)).empty());
}

TEST(KLKeyedArchive, DamageIsNoticedOrHarmless) {
  const KLBytes good = KLKeyedArchive::archive("Thing", everything());
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_EQ(KLKeyedArchive::unarchive(KLBytes(good.begin(), good.begin() + length), "Thing"), std::nullopt) << length;
  }
  std::minstd_rand random(1);
  for (int round = 0; round < 2'000; ++round) {
    KLBytes damaged = good;
    for (int i = 0; i < 3; ++i) damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
    if (const auto value = KLKeyedArchive::unarchive(damaged, "Thing")) KLKeyedArchive::archive("Thing", *value);
  }
}

}  // namespace
}  // namespace kaleo
