#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Network/KLHttpCryptor.h"
#include "kaleo/KLClock.h"
#include "kaleo/KLHTTPSession.h"

namespace kaleo {

/// Server paths, each appended to the configured base URL.
inline constexpr const char* kUserPopupConfigs = "klo/user_popup_configs";
inline constexpr const char* kPopupWindows = "klo/popup_windows";
inline constexpr const char* kPopupDisplays = "klo/popup_displays";
inline constexpr const char* kDiagnosticLogs = "klo/user_diagnose_logs";

enum class KLHTTPMethod : int { GET = 0, POST, HEAD, CONNECT, DELETE, OPTIONS, PATCH, PUT, TRACE };

/// The client for the popup server: parameters into a request, an answer (decrypted where the server says so) into JSON.
///
/// Callbacks run on the HTTP session's thread and must not block; exactly one of the two runs, unless the task is cancelled.
/// Threads: any. Lifetime: borrows session and log; drop it only after the session has ended or all exchanges are over.
class KLNetwork {
 public:
  /// The parsed body; nothing when it is no JSON.
  using Success = std::function<void(std::optional<KLValue> response)>;
  /// The transport's error; nothing for a status other than 200.
  using Failure = std::function<void(std::optional<KLError> error)>;

  /// `library`: the user's directory for key files.
  KLNetwork(KLHTTPSession& session, const KLLog& log, KLRandom& random, const std::filesystem::path& library = {});

  /// `parameters` is an object, or null for none.
  std::shared_ptr<KLHTTPTask> GET(const std::string& url, const KLValue* parameters, Success success, Failure failure);
  std::shared_ptr<KLHTTPTask> POST(const std::string& url, const KLValue* parameters, Success success, Failure failure);
  std::shared_ptr<KLHTTPTask> request(const std::string& url, KLHTTPMethod method, const KLValue* parameters, Success success,
                                      Failure failure);

  /// The request that `request` sends.
  KLHTTPRequest requestWith(const std::string& url, KLHTTPMethod method, const KLValue* parameters);
  /// The server's logical endpoints that are meant for encryption. Kept for a release that encrypts; nothing is decided by it.
  static const std::vector<std::string>& endPointsToEncrypt();
  /// Where the cryptor's key file would be.
  const std::filesystem::path& keyPath() const { return keyPath_; }
  /// Request bodies are never encrypted in this release; the envelope stays ready.
  bool shouldEncryptRequest(const KLHTTPRequest& request) const;
  /// The body to parse: that of the answer, or its decrypted payload (nothing when that fails).
  std::optional<KLBytes> decryptResponse(const KLHTTPResponse& response);

 private:
  /// Puts the parameters into the query (GET, HEAD, DELETE) or, as JSON, into the body.
  void resolveRequest(KLHTTPRequest& request, const KLValue& parameters);
  /// Made ready on first use, as the key derivation costs.
  KLHttpCryptor& cryptor();

  KLHTTPSession& session_;
  const KLLog& log_;
  const std::filesystem::path keyPath_;
  std::once_flag cryptorReady_;
  KLHttpCryptor lazyCryptor_;
};

}  // namespace kaleo
