#pragma once

#include <memory>

#include "kaleo/KLHTTPSession.h"
#include "kaleo/KLQueue.h"

namespace kaleo::tools {

/// A session that also reads file: URLs (RFC 8089). What is not there, and a server's refusal, are errors with the reason, so that
/// a designer is told more than that there is no picture.
class PreviewSession final : public KLHTTPSession {
 public:
  PreviewSession(std::unique_ptr<KLHTTPSession> network, KLThreading& threading);
  ~PreviewSession() override;

  std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) override;

 private:
  const std::shared_ptr<KLQueue> files_;
  const std::unique_ptr<KLHTTPSession> network_;
};

}  // namespace kaleo::tools
