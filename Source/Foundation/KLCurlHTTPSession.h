#pragma once

#include <memory>
#include <thread>

#include "kaleo/KLHTTPSession.h"

namespace kaleo {

/// HTTP over libcurl's multi interface: one event-loop thread named "KLHTTP", connections reused, HTTP/2 where offered,
/// certificates verified, compressed answers accepted. Nothing is kept on disk and no proxy is taken from the
/// environment.
class KLCurlHTTPSession final : public KLHTTPSession {
 public:
  explicit KLCurlHTTPSession(KLHTTPSettings settings);
  /// Cancels what is under way and ends the thread. Must not run on the session's thread.
  ~KLCurlHTTPSession() override;

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override;

 private:
  class Loop;
  std::shared_ptr<Loop> loop_;
  std::thread thread_;
};

}  // namespace kaleo
