#include "Image/KLImageDownloader.h"

#include <fmt/format.h>

#include <unordered_map>
#include <utility>

#include "Foundation/KLImageDecoder.h"
#include "Foundation/KLScope.h"
#include "Image/KLImageDownloaderTask.h"

namespace kaleo {
namespace {

constexpr double kTimeoutSeconds = 30;
constexpr const char* kAccept = "image/*,*/*;q=0.8";

KLHTTPRequest requestFor(const std::string& url, const std::string& userAgent) {
  return {
      .url = url, .method = "GET", .headers = {{"User-Agent", userAgent}, {"Accept", kAccept}}, .timeoutSeconds = kTimeoutSeconds};
}

/// What every caller who waits for a download is told.
struct Outcome {
  std::shared_ptr<const KLImage> image;
  std::optional<KLError> error;
};

/// What libcurl's sessions say of a body beyond their own limit (CURLE_FILESIZE_EXCEEDED).
constexpr int kBodyTooLong = 63;

bool isBodyTooLong(const KLError& error) { return error.domain == kKLTransportErrorDomain && error.code == kBodyTooLong; }

Outcome outcomeOf(const std::string& url, const KLHTTPResult& result, const KLLog& log) {
  if (!result.response && !(result.error && isBodyTooLong(*result.error))) return {nullptr, result.error};
  auto decoded = result.response ? KLImageDecoder::decodeOrRefuse(result.response->body)
                                 : KLImageDecoder::Outcome{nullptr, result.error->localizedDescription};
  if (decoded.image) return {std::move(decoded.image), std::nullopt};
  log.error("Image refused: {}, url: {}", decoded.refusal, url);
  return {nullptr, KLError::kaleo(KLError::UnsupportedImageFormat, "Unsupported image format")};
}

}  // namespace

/// Lives as long as the downloader; work on the queues refers to it from inside the scope, and so never outlives it.
struct KLImageDownloader::State {
  explicit State(KLImageDownloaderSurroundings given)
      : around(std::move(given)),
        downloadQueue(std::make_shared<KLScopedQueue>(
            around.threading.makeSerialQueue(fmt::format("org.kaleo.KLImageDownloader.download-{}", fmt::ptr(this))), scope)),
        responseQueue(std::make_shared<KLScopedQueue>(around.threading.backgroundQueue(), scope)) {}
  ~State();

  void download(const std::string& url, Start start, Completion completion);
  void begin(const std::string& url, Completion completion);
  void finish(const std::string& url, KLHTTPResult result);
  void tell(const std::string& url, const Outcome& outcome);
  void complete(const Completion& completion, Outcome outcome);

  const KLImageDownloaderSurroundings around;
  const std::shared_ptr<KLScope> scope = std::make_shared<KLScope>();
  std::unordered_map<std::string, KLImageDownloaderTask> tasks;  ///< download queue
  const std::shared_ptr<KLQueue> downloadQueue;
  const std::shared_ptr<KLQueue> responseQueue;
};

KLImageDownloader::State::~State() {
  scope->close();
  for (auto& [url, task] : tasks) {
    if (task.task) task.task->cancel();
  }
}

void KLImageDownloader::State::download(const std::string& url, Start start, Completion completion) {
  // First, so that who comes while a picture that has just been stored is on its way to earlier callers is not told before them.
  if (const auto joined = tasks.find(url); joined != tasks.end()) return joined->second.addResponseHandler(std::move(completion));
  if (auto image = around.cache.imageFromCacheForKey(url)) return complete(completion, {std::move(image), std::nullopt});
  if (start) around.mainQueue.async(std::move(start));
  begin(url, std::move(completion));
}

void KLImageDownloader::State::begin(const std::string& url, Completion completion) {
  auto& task = tasks.try_emplace(url, url).first->second;
  task.addResponseHandler(std::move(completion));
  // The session's thread hands on and returns at once: decoding may take a while.
  task.task = around.session.dataTask(requestFor(url, around.userAgent), [this, url, queue = responseQueue](KLHTTPResult result) {
    queue->async([this, url, result = std::move(result)]() mutable { finish(url, std::move(result)); });
  });
}

void KLImageDownloader::State::finish(const std::string& url, KLHTTPResult result) {
  auto outcome = outcomeOf(url, result, around.log);
  if (outcome.image) around.cache.storeImage(outcome.image, std::move(result.response->body), url);
  downloadQueue->async([this, url, outcome = std::move(outcome)] { tell(url, outcome); });
}

void KLImageDownloader::State::tell(const std::string& url, const Outcome& outcome) {
  // In one step, so that a caller either joins in time or starts anew: none is left waiting.
  const auto task = tasks.extract(url);
  if (task.empty()) return;
  for (const auto& handler : task.mapped().responseHandlers()) complete(handler, outcome);
}

void KLImageDownloader::State::complete(const Completion& completion, Outcome outcome) {
  if (!completion) return;
  around.mainQueue.async([completion, outcome = std::move(outcome)] { completion(outcome.image, outcome.error); });
}

KLImageDownloader::KLImageDownloader(KLImageDownloaderSurroundings surroundings)
    : state_(std::make_unique<State>(std::move(surroundings))) {}

KLImageDownloader::~KLImageDownloader() = default;

void KLImageDownloader::downloadImageWithURL(const std::optional<std::string>& url, Start start, Completion completion) {
  state_->downloadQueue->async([state = state_.get(), url, start = std::move(start), completion = std::move(completion)]() mutable {
    if (url && !url->empty()) return state->download(*url, std::move(start), std::move(completion));
    state->complete(completion, {nullptr, KLError::kaleo(KLError::ImageURLMissing, "Image url is nil")});
  });
}

}  // namespace kaleo
