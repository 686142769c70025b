#include "Image/KLImageCacheManager.h"

#include <gtest/gtest.h>

#include "Image/ImageSupport.h"
#include "Support/ManualThreading.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

using testing::encodedPicture;
using testing::pictureOf;

class KLImageCacheManagerTest : public ::testing::Test {
 protected:
  std::unique_ptr<KLImageCacheManager> makeManager() {
    return std::make_unique<KLImageCacheManager>(clock_, threading_, *threading_.mainQueue(), directory_.path(), center_);
  }

  TemporaryDirectory directory_;
  testing::ManualThreading threading_;
  testing::ManualThreading::Clock clock_{threading_};
  KLNotificationCenter center_;
  std::unique_ptr<KLImageCacheManager> manager_ = makeManager();
  int completions_ = 0;
  KLImageCacheManager::Completion count_ = [this] {
    ASSERT_TRUE(threading_.mainQueue()->isCurrent());
    ++completions_;
  };
};

TEST_F(KLImageCacheManagerTest, HoldsAPictureInMemoryAtOnceAndOnDiskSoon) {
  const auto image = pictureOf(5, 1);
  manager_->storeImage(image, encodedPicture(5), "a.gif", count_);
  EXPECT_EQ(manager_->imageFromCacheForKey("a.gif"), image);
  EXPECT_FALSE(manager_->diskCache().containsDataForKey("a.gif"));
  EXPECT_EQ(completions_, 0);

  threading_.run();
  EXPECT_TRUE(manager_->diskCache().containsDataForKey("a.gif"));
  EXPECT_EQ(completions_, 1);
}

TEST_F(KLImageCacheManagerTest, ReadsWhatAnEarlierRunLeftOnDisk) {
  manager_->storeImage(pictureOf(5, 1), encodedPicture(5), "a.gif");
  manager_ = makeManager();  // the old one writes as it goes
  const auto image = manager_->imageFromCacheForKey("a.gif");
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixelWidth(), 5);
  EXPECT_EQ(manager_->imageFromCacheForKey("a.gif"), image) << "decoded once";

  manager_->diskCache().setData({'?'}, "b.gif");
  EXPECT_FALSE(manager_->imageFromCacheForKey("b.gif"));
  EXPECT_FALSE(manager_->imageFromCacheForKey("c.gif"));
}

TEST_F(KLImageCacheManagerTest, WithoutPictureOrKeyThereIsNothingToStore) {
  int calls = 0;
  const auto call = [&calls] { ++calls; };
  manager_->storeImage(nullptr, encodedPicture(5), "a.gif", call);
  manager_->storeImage(pictureOf(5, 1), encodedPicture(5), "", call);
  manager_->storeImage(nullptr, {}, "");
  EXPECT_EQ(calls, 2);
  threading_.run();
  EXPECT_FALSE(manager_->imageFromCacheForKey("a.gif"));
  EXPECT_FALSE(manager_->imageFromCacheForKey(""));
}

TEST_F(KLImageCacheManagerTest, TheSecondPictureOfAKeyReplacesTheFileOnly) {
  const auto first = pictureOf(5, 1);
  manager_->storeImage(first, encodedPicture(5), "a.gif");
  manager_->storeImage(pictureOf(6, 1), encodedPicture(6), "a.gif");
  threading_.run();
  EXPECT_EQ(manager_->imageFromCacheForKey("a.gif"), first);
  manager_->clearMemory();
  EXPECT_EQ(manager_->imageFromCacheForKey("a.gif")->pixelWidth(), 6);
}

TEST_F(KLImageCacheManagerTest, RemovesFromBothAndTellsOnTheMainQueue) {
  for (const auto* key : {"a.gif", "b.gif"}) manager_->storeImage(pictureOf(5, 1), encodedPicture(5), key);
  threading_.run();
  manager_->removeImageForKey("a.gif", count_);
  manager_->removeImageForKey("", count_);
  threading_.run();
  EXPECT_EQ(completions_, 2);
  EXPECT_FALSE(manager_->imageFromCacheForKey("a.gif"));

  manager_->clearDiskOnCompletion(count_);
  threading_.run();
  EXPECT_EQ(completions_, 3);
  EXPECT_TRUE(manager_->imageFromCacheForKey("b.gif"));
  manager_->clearMemory();
  EXPECT_FALSE(manager_->imageFromCacheForKey("b.gif"));
}

TEST_F(KLImageCacheManagerTest, FollowsTheApplicationsLife) {
  for (const auto* notification : {kKLApplicationDidEnterBackgroundNotification, kKLApplicationWillTerminateNotification}) {
    manager_->storeImage(pictureOf(5, 1), encodedPicture(5), "a.gif");
    threading_.run();
    center_.post(notification);
    threading_.run();
    EXPECT_TRUE(manager_->diskCache().containsDataForKey("a.gif"));

    threading_.advance(8 * 86'400);
    center_.post(notification);
    threading_.run();
    EXPECT_FALSE(manager_->diskCache().containsDataForKey("a.gif"));
  }
  EXPECT_TRUE(manager_->imageFromCacheForKey("a.gif"));
  center_.post(kKLApplicationDidReceiveMemoryWarningNotification);
  EXPECT_FALSE(manager_->imageFromCacheForKey("a.gif"));

  manager_.reset();
  center_.post(kKLApplicationDidReceiveMemoryWarningNotification);  // nobody listens any more
}

}  // namespace
}  // namespace kaleo
