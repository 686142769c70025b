#include "Image/KLImageDownloader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Foundation/KLThreads.h"
#include "Image/ImageSupport.h"
#include "Support/FakeClock.h"
#include "Support/FakeHTTPSession.h"
#include "Support/ManualThreading.h"
#include "Support/PictureDownloads.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

using ::testing::ElementsAre;
using testing::encodedPicture;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

constexpr const char* kURL = "https://example.com/a.gif";

class KLImageDownloaderTest : public ::testing::Test {
 protected:
  KLImageDownloader::Start start() {
    return [this] { note("start"); };
  }
  /// Notes the picture's width or the error's code and text.
  KLImageDownloader::Completion completion(const std::string& name) {
    return [this, name](const auto& image, const auto& error) {
      EXPECT_NE(image != nullptr, error.has_value()) << "exactly one of the two";
      note(name + (image ? " " + std::to_string(image->pixelWidth())
                         : " " + error->domain + " " + std::to_string(error->code) + " " + error->localizedDescription));
    };
  }
  void note(std::string text) {
    EXPECT_TRUE(threading_.mainQueue()->isCurrent());
    notes_.push_back(std::move(text));
  }
  void download(const std::string& name, const std::optional<std::string>& url = kURL) {
    downloader_->downloadImageWithURL(url, start(), completion(name));
    threading_.run();
  }

  TemporaryDirectory directory_;
  testing::ManualThreading threading_;
  testing::ManualThreading::Clock clock_{threading_};
  KLNotificationCenter center_;
  KLHostRegistry host_;
  KLLog log_{host_};
  testing::FakeHTTPSession session_;
  KLImageCacheManager cache_{clock_, threading_, *threading_.mainQueue(), directory_.path(), center_};
  std::unique_ptr<KLImageDownloader> downloader_ = std::make_unique<KLImageDownloader>(
      KLImageDownloaderSurroundings{session_, cache_, threading_, *threading_.mainQueue(), log_, "Shop/1.0"});
  std::vector<std::string> notes_;
};

TEST_F(KLImageDownloaderTest, FetchesDecodesKeepsAndAnswers) {
  download("first");
  ASSERT_EQ(session_.size(), 1u);
  const auto& request = session_[0].request;
  EXPECT_EQ(request.url, kURL);
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.timeoutSeconds, 30);
  EXPECT_THAT(request.headers, UnorderedElementsAre(Pair("User-Agent", "Shop/1.0"), Pair("Accept", "image/*,*/*;q=0.8")));
  EXPECT_THAT(notes_, ElementsAre("start"));

  session_.answer(0, encodedPicture(5));
  threading_.run();
  EXPECT_THAT(notes_, ElementsAre("start", "first 5"));
  EXPECT_TRUE(cache_.memoryCache().imageForKey(kURL));
  EXPECT_EQ(cache_.diskCache().dataForKey(kURL), encodedPicture(5));
}

TEST_F(KLImageDownloaderTest, AnswersFromTheCacheWithoutStarting) {
  cache_.diskCache().setData(encodedPicture(7), kURL);
  download("cached");
  EXPECT_THAT(notes_, ElementsAre("cached 7"));
  EXPECT_EQ(session_.size(), 0u);
}

TEST_F(KLImageDownloaderTest, OneExchangeServesAllWhoWait) {
  download("first");
  download("second");
  downloader_->downloadImageWithURL(kURL, nullptr, nullptr);
  download("third");
  download("other", "https://example.com/b.gif");
  ASSERT_EQ(session_.size(), 2u);
  session_.answer(0, encodedPicture(5));
  threading_.run();
  EXPECT_THAT(notes_, ElementsAre("start", "start", "first 5", "second 5", "third 5"));
}

TEST_F(KLImageDownloaderTest, CallersBetweenAnswerAndCompletionAreServedToo) {
  download("first");
  session_.answer(0, encodedPicture(5));
  downloader_->downloadImageWithURL(kURL, start(), completion("late"));
  threading_.run();
  EXPECT_THAT(notes_, ElementsAre("start", "first 5", "late 5")) << "in the order of the calls";
  EXPECT_EQ(session_.size(), 1u);
}

TEST_F(KLImageDownloaderTest, WithoutAURLThereIsAnError) {
  download("none", std::nullopt);
  download("empty", "");
  downloader_->downloadImageWithURL(std::nullopt, nullptr, nullptr);
  threading_.run();
  EXPECT_THAT(notes_, ElementsAre("none KaleoErrorDomain 1000 Image url is nil", "empty KaleoErrorDomain 1000 Image url is nil"));
  EXPECT_EQ(session_.size(), 0u);
}

TEST_F(KLImageDownloaderTest, WhatIsNoPictureIsAnErrorAndNotKept) {
  for (const KLBytes& body : {KLBytes{'R', 'I', 'F', 'F', 9, 0, 0, 0, 'W', 'E', 'B', 'P'}, KLBytes{0x47, 'I', 'F'}, KLBytes{}}) {
    notes_.clear();
    download("x");
    session_.answer(session_.size() - 1, body);
    threading_.run();
    EXPECT_THAT(notes_, ElementsAre("start", "x KaleoErrorDomain 1002 Unsupported image format"));
    EXPECT_FALSE(cache_.imageFromCacheForKey(kURL));
    EXPECT_FALSE(cache_.diskCache().containsDataForKey(kURL));
  }
  EXPECT_EQ(session_.size(), 3u) << "each asks anew";
}

KLBytes gifOfFrames(int width, int height, std::size_t count) {
  return testing::makeGIF(width, height, std::vector<testing::GIFFrameSketch>(count, {.indices = {1}}));
}

TEST(KLImageDownloader, RefusesPicturesBeyondALimitAndLogsWhich) {
  KLBytes long_(20'971'521);
  long_.front() = 0x89;
  const std::vector<std::pair<KLBytes, std::string>> pictures{
      {std::move(long_), "20971521 bytes, more than maxBytes 20971520"},
      {testing::makePNG({8000, 5001, 1, SPNG_COLOR_TYPE_GRAYSCALE, 0, 0, 0}, KLBytes(1000 * 5001)),
       "8000 x 5001 pixels, more than maxPixels 40000000"},
      {gifOfFrames(1, 1, 2001), "more frames than maxFrames 2000"},
      {gifOfFrames(1000, 1000, 135), "540000000 bytes decoded, more than maxTotalBytes 536870912"},
      {KLBytes{'?'}, "no JPEG, PNG or GIF"}};
  testing::PictureDownloads downloads;
  std::vector<KLError> errors;
  const auto fetch = [&](KLHTTPResult result) {
    downloads.downloader.downloadImageWithURL(kURL, nullptr, [&](const auto&, const auto& error) {
      if (error) errors.push_back(*error);
    });
    downloads.threading.run();
    downloads.session.answer(downloads.session.size() - 1, std::move(result));
    downloads.threading.run();
  };
  std::vector<std::string> lines;
  const auto expectRefused = [&](KLHTTPResult result, const std::string& reason) {
    fetch(std::move(result));
    lines.push_back("Image refused: " + reason + ", url: " + kURL);
  };
  for (const auto& [data, reason] : pictures) expectRefused({KLHTTPResponse{200, {}, data}, std::nullopt}, reason);
  // The session has a limit of its own, which it keeps before it has the whole.
  expectRefused({std::nullopt, KLError{kKLTransportErrorDomain, 63, "Maximum file size exceeded"}}, "Maximum file size exceeded");
  EXPECT_EQ(errors, std::vector(lines.size(), KLError::kaleo(KLError::UnsupportedImageFormat, "Unsupported image format")));
  EXPECT_EQ(downloads.host.log->messages(1), lines);

  errors.clear();
  fetch({KLHTTPResponse{200, {}, gifOfFrames(1, 1, 2000)}, std::nullopt});
  EXPECT_TRUE(errors.empty());
}

TEST_F(KLImageDownloaderTest, PassesTransportErrorsOn) {
  download("first");
  download("second");
  session_.fail(0, {kKLTransportErrorDomain, 28, "Timeout was reached"});
  threading_.run();
  EXPECT_THAT(notes_, ElementsAre("start", "first KaleoTransportErrorDomain 28 Timeout was reached",
                                  "second KaleoTransportErrorDomain 28 Timeout was reached"));
  download("again");
  EXPECT_EQ(session_.size(), 2u);
}

TEST_F(KLImageDownloaderTest, TheSessionsThreadNeitherDecodesNorCompletes) {
  download("first");
  session_.answer(0, encodedPicture(5));
  EXPECT_FALSE(cache_.memoryCache().imageForKey(kURL));
  EXPECT_FALSE(threading_.isIdle());
}

TEST_F(KLImageDownloaderTest, ItsEndGivesUpWhatIsUnderWay) {
  download("under way", "https://example.com/1.gif");
  download("answered", "https://example.com/2.gif");
  session_.answer(1, encodedPicture(5));
  downloader_->downloadImageWithURL("https://example.com/3.gif", start(), completion("queued"));
  downloader_.reset();
  threading_.run();
  EXPECT_TRUE(session_[0].cancelled);
  EXPECT_EQ(session_.size(), 2u);
  EXPECT_THAT(notes_, ElementsAre("start", "start"));
}

/// Answers each request at once, from inside the call, as a fast session on another thread might seem to.
class InstantSession final : public KLHTTPSession {
 public:
  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest, Completion completion) override {
    completion({KLHTTPResponse{200, {}, encodedPicture(3)}, std::nullopt});
    return nullptr;
  }
};

TEST(KLImageDownloaderThreads, ServesManyCallersOnRealThreadsAndEndsAmidThem) {
  TemporaryDirectory directory;
  testing::FakeClock clock;
  KLThreadThreading threading;
  KLNotificationCenter center;
  KLHostRegistry host;
  const KLLog log{host};
  InstantSession session;
  const auto main = threading.makeSerialQueue("main");
  KLImageCacheManager cache(clock, threading, *main, directory.path(), center);
  {
    KLImageDownloader downloader({session, cache, threading, *main, log, ""});
    int pictures = 0;  // main queue only
    KLThreadWakeUp done;
    for (int i = 0; i < 60; ++i) {
      downloader.downloadImageWithURL("https://example.com/" + std::to_string(i % 7) + ".gif", nullptr,
                                      [&](const auto& image, const auto&) {
                                        if (image && ++pictures == 60) done.raise();
                                      });
    }
    EXPECT_TRUE(done.wait(60));
    for (int i = 0; i < 60; ++i) downloader.downloadImageWithURL("https://example.org/" + std::to_string(i), nullptr, nullptr);
  }
  main->sync([] {});
}

}  // namespace
}  // namespace kaleo
