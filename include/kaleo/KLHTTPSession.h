#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kaleo/KLError.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

using KLHTTPHeaders = std::vector<std::pair<std::string, std::string>>;

struct KLHTTPRequest {
  std::string url;             ///< absolute, http or https
  std::string method = "GET";  ///< upper case
  KLHTTPHeaders headers;
  KLBytes body;                ///< empty: no body
  double timeoutSeconds = 30;  ///< for the whole exchange, with the time that it waits for its turn
};

struct KLHTTPResponse {
  int status = 0;
  KLHTTPHeaders headers;
  KLBytes body;

  /// The last header of that name, compared without regard to case; null when there is none.
  KALEO_API const std::string* header(std::string_view name) const;
};

/// Either a response (of any status) or the error that kept it from coming.
struct KLHTTPResult {
  std::optional<KLHTTPResponse> response;
  std::optional<KLError> error;
};

/// One exchange under way.
class KALEO_API KLHTTPTask {
 public:
  virtual ~KLHTTPTask() = default;
  KLHTTPTask(const KLHTTPTask&) = delete;
  KLHTTPTask& operator=(const KLHTTPTask&) = delete;
  /// Gives the exchange up: when this returns, the completion has run, is running on another thread, or never will. Any thread.
  virtual void cancel() = 0;

 protected:
  KLHTTPTask() = default;
};

/// Settings of the library's own HTTP session.
struct KLHTTPSettings {
  std::string proxy;                     ///< as in libcurl's CURLOPT_PROXY; empty: none, whatever the environment says
  std::string caFile;                    ///< PEM file of the certificates to trust in place of the system's; empty: the system's
  int maxRedirects = 5;                  ///< only to http and https
  std::size_t maxExchanges = 64;         ///< at a time, at least 1; what is above waits for its turn, within its own time-out
  std::size_t maxBodyBytes = 32u << 20;  ///< after decompression; a longer body is an error
};

/// An HTTP client. Port. Nothing is kept on disk between exchanges.
///
/// Threads: `dataTask` may be called from any thread and never blocks. Completions come on the session's own thread, exactly once
/// each unless cancelled; they must not block.
/// Lifetime: dropping a task handle does not cancel the exchange. The session's end cancels all.
class KALEO_API KLHTTPSession {
 public:
  using Completion = std::function<void(KLHTTPResult)>;

  virtual ~KLHTTPSession() = default;
  KLHTTPSession(const KLHTTPSession&) = delete;
  KLHTTPSession& operator=(const KLHTTPSession&) = delete;

  virtual std::shared_ptr<KLHTTPTask> dataTask(KLHTTPRequest request, Completion completion) = 0;

 protected:
  KLHTTPSession() = default;
};

}  // namespace kaleo
