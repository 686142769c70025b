#pragma once

#include <memory>
#include <string>

#include "Image/KLImageDownloader.h"
#include "Support/FakeHTTPSession.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo::testing {

/// A GIF of one white pixel.
inline KLBytes smallGIF() {
  return {0x47, 0x49, 0x46, 0x38, 0x39, 0x61, 1, 0, 1, 0, 0x80, 0, 0, 0,    0,    0, 0xff, 0xff,
          0xff, 0x2c, 0,    0,    0,    0,    1, 0, 1, 0, 0,    2, 2, 0x4c, 0x01, 0, 0x3b};
}

/// A picture in memory whose frames have no pixels.
class SketchImage final : public KLImage {
 public:
  explicit SketchImage(std::vector<double> delays = {0}, int width = 1, int height = 1)
      : delays_(std::move(delays)), width_(width), height_(height) {}

  int pixelWidth() const override { return width_; }
  int pixelHeight() const override { return height_; }
  std::size_t frameCount() const override { return delays_.size(); }
  std::shared_ptr<const KLPixels> frame(std::size_t) const override { return nullptr; }
  double delay(std::size_t index) const override { return delays_[index]; }
  double duration() const override {
    double sum = 0;
    for (const double delay : delays_) sum += delay;
    return sum;
  }

 private:
  std::vector<double> delays_;
  int width_, height_;
};

/// A downloader whose exchanges the test answers, with all that it stands on.
struct PictureDownloads {
  ManualThreading threading;
  ManualThreading::Clock clock{threading};
  FakeHost host;
  KLLog log{host.registry};
  KLNotificationCenter center;
  FakeHTTPSession session;
  TemporaryDirectory directory;
  KLImageCacheManager cache{clock, threading, *threading.mainQueue(), directory.path(), center};
  KLImageDownloader downloader{{session, cache, threading, *threading.mainQueue(), log, "Test/1.0"}};

  /// Answers every exchange that is still open.
  void answerAll(const KLBytes& body) {
    threading.run();
    for (std::size_t index = 0; index < session.size(); ++index) session.answer(index, body);
    threading.run();
  }
};

}  // namespace kaleo::testing
