#include "Image/KLDiskImageCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "Foundation/KLFile.h"
#include "Support/FakeClock.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

using ::testing::UnorderedElementsAre;

constexpr std::size_t kMegabyte = 1u << 20;

class KLDiskImageCacheTest : public ::testing::Test {
 protected:
  std::string nameOf(const std::string& key) const { return cache_.cachePathForKey(key).filename().string(); }
  /// Stores `data` as if it had been written `seconds` ago.
  void storeAged(const std::string& key, double seconds, KLBytes data = {1}) {
    clock_.advance(-seconds);
    cache_.setData(data, key);
    clock_.advance(seconds);
  }
  std::vector<std::string> held(const std::vector<std::string>& keys) const {
    std::vector<std::string> result;
    for (const auto& key : keys) {
      if (cache_.containsDataForKey(key)) result.push_back(key);
    }
    return result;
  }

  TemporaryDirectory directory_;
  testing::FakeClock clock_;
  KLDiskImageCache cache_{directory_ / "made" / "on demand", clock_};
};

TEST_F(KLDiskImageCacheTest, NamesFilesByDigestAndExtension) {
  const auto name = nameOf("https://cdn.example.com/a/picture.png?v=2");
  EXPECT_EQ(name.size(), 32u + 4);
  EXPECT_EQ(name.substr(32), ".png");
  EXPECT_EQ(name.find_first_not_of("0123456789abcdef"), 32u);
  EXPECT_EQ(nameOf("abc"), "900150983cd24fb0d6963f7d28e17f72");  // RFC 1321, A.5
  EXPECT_EQ(nameOf("abc.gif").substr(32), ".gif");
  EXPECT_EQ(nameOf("https://example.com/" + std::string(10, 'a') + "." + std::string(222, 'e')).size(), 32u + 1 + 222);
  EXPECT_EQ(nameOf("https://example.com/" + std::string(10, 'a') + "." + std::string(223, 'e')).size(), 32u);
}

TEST_F(KLDiskImageCacheTest, KeepsBytesUntilRemoved) {
  const std::string key = "https://example.com/a.png";
  EXPECT_FALSE(cache_.containsDataForKey(key));
  EXPECT_FALSE(cache_.dataForKey(key));
  cache_.setData({1, 2, 3}, key);
  cache_.setData({4, 5}, key);
  EXPECT_TRUE(cache_.containsDataForKey(key));
  EXPECT_EQ(cache_.dataForKey(key), (KLBytes{4, 5}));
  cache_.removeDataForKey(key);
  EXPECT_FALSE(cache_.containsDataForKey(key));

  cache_.setData({1}, key);
  cache_.removeAllData();
  EXPECT_FALSE(cache_.containsDataForKey(key));
  EXPECT_TRUE(std::filesystem::is_directory(cache_.cachePathForKey(key).parent_path()));
}

TEST_F(KLDiskImageCacheTest, FindsFilesStoredWithoutExtension) {
  const std::string key = "https://example.com/a.png";
  KLFile::writeAtomically(cache_.cachePathForKey(key).replace_extension(), {7});
  EXPECT_TRUE(cache_.containsDataForKey(key));
  EXPECT_EQ(cache_.dataForKey(key), KLBytes{7});
}

TEST_F(KLDiskImageCacheTest, ExpiresFilesByAge) {
  cache_.setMaxDiskAge(100);
  storeAged("older", 101);
  storeAged("just", 100);
  storeAged("younger", 99);
  KLFile::writeAtomically(cache_.cachePathForKey("x").parent_path() / ".hidden", {1});
  std::filesystem::create_directory(cache_.cachePathForKey("x").parent_path() / "directory");
  cache_.removeExpiredData();
  EXPECT_THAT(held({"older", "just", "younger"}), UnorderedElementsAre("younger"));
  EXPECT_TRUE(KLFile::exists(cache_.cachePathForKey("x").replace_filename("CACHEDIR.TAG"))) << "backups leave it out";

  clock_.advance(1e6);
  cache_.setMaxDiskAge(-1);
  cache_.removeExpiredData();
  EXPECT_THAT(held({"younger"}), UnorderedElementsAre("younger"));
  cache_.setMaxDiskAge(0);
  cache_.removeExpiredData();
  EXPECT_THAT(held({"younger"}), UnorderedElementsAre());
  EXPECT_TRUE(std::filesystem::exists(cache_.cachePathForKey("x").parent_path() / "directory"));
}

TEST_F(KLDiskImageCacheTest, ShrinksToBelowHalfOfItsSize) {
  const std::vector<std::string> keys{"0", "1", "2", "3", "4", "5"};
  for (std::size_t i = 0; i < keys.size(); ++i) storeAged(keys[i], 1000 - 10.0 * static_cast<double>(i), KLBytes(2 * kMegabyte, 1));

  cache_.setMaxDiskSize(13 * kMegabyte);
  cache_.removeExpiredData();
  EXPECT_EQ(held(keys).size(), 6u);
  cache_.setMaxDiskSize(10 * kMegabyte);
  cache_.removeExpiredData();
  EXPECT_THAT(held(keys), UnorderedElementsAre("4", "5"));
}

TEST_F(KLDiskImageCacheTest, AnUnusableDirectoryIsACacheThatMisses) {
  const auto file = directory_ / "file";
  KLFile::writeAtomically(file, {1});
  KLDiskImageCache cache(file, clock_);
  cache.setData({1}, "a");
  cache.removeExpiredData();
  EXPECT_FALSE(cache.containsDataForKey("a"));
  EXPECT_FALSE(cache.dataForKey("a"));
}

}  // namespace
}  // namespace kaleo
