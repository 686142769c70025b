#include "Image/KLMemoryImageCache.h"

#include <gtest/gtest.h>

#include "Image/ImageSupport.h"

namespace kaleo {
namespace {

using testing::pictureOf;

TEST(KLMemoryImageCache, TheFirstPictureOfAKeyStays) {
  KLMemoryImageCache cache;
  const auto first = pictureOf(1, 1);
  cache.setImage(first, "a");
  cache.setImage(pictureOf(2, 2), "a");
  EXPECT_EQ(cache.imageForKey("a"), first);
  EXPECT_EQ(cache.totalCost(), 4u);
  cache.setImage(nullptr, "a");
  EXPECT_EQ(cache.imageForKey("a"), nullptr);
  EXPECT_EQ(cache.totalCost(), 0u);
}

TEST(KLMemoryImageCache, CostsFourBytesAPixel) {
  EXPECT_EQ(KLMemoryImageCache::costOf(*pictureOf(30, 20)), 2400u);
  EXPECT_EQ(KLMemoryImageCache().memoryCapacity(), 104'857'600u);
}

TEST(KLMemoryImageCache, GivesUpThePicturesUsedLongestAgo) {
  KLMemoryImageCache cache;
  cache.setMemoryCapacity(3 * 4);
  for (const auto* key : {"a", "b", "c"}) cache.setImage(pictureOf(1, 1), key);
  EXPECT_TRUE(cache.imageForKey("a"));
  cache.setImage(pictureOf(2, 1), "d");
  EXPECT_TRUE(cache.imageForKey("a"));
  EXPECT_FALSE(cache.imageForKey("b"));
  EXPECT_FALSE(cache.imageForKey("c"));
  EXPECT_EQ(cache.totalCost(), 12u);

  cache.setMemoryCapacity(4);
  EXPECT_TRUE(cache.imageForKey("a"));
  EXPECT_FALSE(cache.imageForKey("d"));
  cache.setImage(pictureOf(2, 1), "larger than all");
  EXPECT_EQ(cache.totalCost(), 0u);

  cache.setMemoryCapacity(0);  // without limit
  for (int i = 0; i < 100; ++i) cache.setImage(pictureOf(1, 1), std::to_string(i));
  EXPECT_EQ(cache.totalCost(), 400u);
}

TEST(KLMemoryImageCache, RemovesOneOrAll) {
  KLMemoryImageCache cache;
  for (const auto* key : {"a", "b", "c"}) cache.setImage(pictureOf(1, 1), key);
  cache.removeImageForKey("b");
  cache.removeImageForKey("unknown");
  EXPECT_FALSE(cache.imageForKey("b"));
  EXPECT_EQ(cache.totalCost(), 8u);
  cache.removeAllImages();
  EXPECT_FALSE(cache.imageForKey("a"));
  EXPECT_EQ(cache.totalCost(), 0u);
}

}  // namespace
}  // namespace kaleo
