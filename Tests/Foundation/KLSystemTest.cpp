#include "Foundation/KLSystem.h"

#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <regex>
#include <set>

namespace kaleo {
namespace {

TEST(KLSystem, ClockIsTheMachinesTimeOfDay) {
  const auto before = static_cast<double>(std::time(nullptr));
  const double now = KLSystemClock().now();
  EXPECT_GE(now, before - 1);
  EXPECT_LE(now, static_cast<double>(std::time(nullptr)) + 1);
}

TEST(KLSystem, RandomBytesHaveTheLengthAskedForAndDiffer) {
  KLSystemRandom random;
  EXPECT_TRUE(random.bytes(0).empty());
  EXPECT_EQ(random.bytes(1000).size(), 1000u);
  EXPECT_NE(random.bytes(16), random.bytes(16));
}

TEST(KLSystem, BelowIsUniformAndStaysBelow) {
  KLSystemRandom random;
  EXPECT_EQ(random.below(0), 0u);
  EXPECT_EQ(random.below(1), 0u);
  constexpr int kDraws = 9000;
  std::array<int, 9> counts{};
  for (int i = 0; i < kDraws; ++i) ++counts.at(random.below(counts.size()));
  for (const int count : counts) EXPECT_NEAR(count, kDraws / 9, 250);  // more than eight standard deviations
}

TEST(KLSystem, UUIDsAreOfVersion4AndUpperCase) {
  KLSystemRandom random;
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string uuid = random.uuid();
    EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
    EXPECT_TRUE(seen.insert(uuid).second);
  }
}

}  // namespace
}  // namespace kaleo
