#pragma once

#include <algorithm>
#include <memory>

#include "Foundation/KLCurlHTTPSession.h"
#include "kaleo/KLHTTPSession.h"

namespace kaleo::testing {

/// A real session that gives every exchange up after a time that a test can wait for.
class ImpatientSession : public KLHTTPSession {
 public:
  explicit ImpatientSession(double seconds) : seconds_(seconds) {}

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override {
    request.timeoutSeconds = std::min(request.timeoutSeconds, seconds_);
    return session_.dataTask(std::move(request), std::move(completion));
  }

 private:
  const double seconds_;
  KLCurlHTTPSession session_{KLHTTPSettings{}};
};

}  // namespace kaleo::testing
