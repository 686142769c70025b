#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "Image/KLDiskImageCache.h"
#include "Support/FakeClock.h"
#include "Support/Killing.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

constexpr int kKills = 50;
constexpr const char* kKey = "https://example.com/a.png";

/// Beyond what one write of a pipe or a page takes, and different for each number.
KLBytes blobOf(int number) {
  KLBytes blob(200'000 + static_cast<std::size_t>(number % 7) * 10'000, static_cast<std::uint8_t>(number));
  std::copy_n(reinterpret_cast<const std::uint8_t*>(&number), sizeof number, blob.begin());
  return blob;
}

int numberOf(const KLBytes& blob) {
  int number = 0;
  std::copy_n(blob.begin(), sizeof number, reinterpret_cast<std::uint8_t*>(&number));
  return number;
}

TEST(KLDiskImageCacheKill, AFileHoldsTheOldPictureOrTheNewOneWhole) {
  TemporaryDirectory directory;
  testing::FakeClock clock;
  KLDiskImageCache cache(directory / "pictures", clock);
  const auto writeFrom = [&cache](int first, int confirmations) {
    for (int number = first;; ++number) {
      cache.setData(blobOf(number), kKey);
      if (write(confirmations, &number, sizeof number) != sizeof number) return;
    }
  };
  std::mt19937 chance(20260101);
  int confirmed = 0;
  for (int kill = 0; kill < kKills && !HasFailure(); ++kill) {
    const auto program = [&](int confirmations) { writeFrom(confirmed + 1, confirmations); };
    confirmed = testing::lastConfirmedBeforeKill(program, chance, confirmed);
    const auto data = cache.dataForKey(kKey);
    if (confirmed == 0 && !data) continue;
    ASSERT_TRUE(data);
    EXPECT_GE(numberOf(*data), confirmed);
    EXPECT_EQ(*data, blobOf(numberOf(*data)));
  }
  EXPECT_GT(confirmed, kKills);

  cache.setMaxDiskAge(0);
  clock.advance(1e9);
  cache.removeExpiredData();
  for (const auto& entry : std::filesystem::directory_iterator(directory / "pictures")) {
    EXPECT_EQ(entry.path().filename(), "CACHEDIR.TAG") << "what the kills left half written goes as old files do";
  }
}

}  // namespace
}  // namespace kaleo
