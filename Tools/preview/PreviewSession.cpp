#include "preview/PreviewSession.h"

#include <fmt/format.h>

#include <atomic>
#include <utility>

#include "Foundation/KLFile.h"
#include "Foundation/KLURL.h"

namespace kaleo::tools {
namespace {

constexpr int kFirstRefusal = 400;  ///< of the HTTP statuses (RFC 9110)

class FileTask final : public KLHTTPTask {
 public:
  void cancel() override { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }

 private:
  std::atomic<bool> cancelled_ = false;
};

KLHTTPResult failure(const std::string& reason) { return {std::nullopt, KLError{kKLTransportErrorDomain, 0, reason}}; }

KLHTTPResult readFile(const KLURL& url) {
  auto bytes = KLFile::read(KLPercentDecode(url.path()));
  if (!bytes) return failure("there is no such file, or it cannot be read");
  return {KLHTTPResponse{200, {}, std::move(*bytes)}, std::nullopt};
}

KLHTTPResult withRefusalAsError(KLHTTPResult result) {
  if (!result.response || result.response->status < kFirstRefusal) return result;
  return failure(fmt::format("the server answers with status {}", result.response->status));
}

}  // namespace

PreviewSession::PreviewSession(std::unique_ptr<KLHTTPSession> network, KLThreading& threading)
    : files_(threading.makeSerialQueue("org.kaleo.PreviewFiles")), network_(std::move(network)) {}

PreviewSession::~PreviewSession() = default;

std::shared_ptr<KLHTTPTask> PreviewSession::dataTask(KLHTTPRequest request, Completion completion) {
  const auto url = KLURL::parse(request.url);
  if (!url || url->scheme() != "file") {
    return network_->dataTask(std::move(request), [completion = std::move(completion)](KLHTTPResult result) {
      completion(withRefusalAsError(std::move(result)));
    });
  }
  auto task = std::make_shared<FileTask>();
  files_->async([task, url = *url, completion = std::move(completion)] {
    if (!task->isCancelled()) completion(readFile(url));
  });
  return task;
}

}  // namespace kaleo::tools
