#include "Core/Base/Network/KLNetwork.h"

#include <algorithm>
#include <array>

#include "Core/Base/Network/KLJSONResponseSerializer.h"
#include "Core/Base/Network/KLQueryString.h"
#include "Foundation/KLJSON.h"
#include "Foundation/KLURL.h"

namespace kaleo {
namespace {

constexpr double kTimeoutSeconds = 30;
constexpr int kStatusOK = 200;
constexpr std::string_view kContentType = "Content-Type";
constexpr std::string_view kJSONType = "application/json";
constexpr std::string_view kEncryptionMode = "Quillon-Encryption-Mode";
constexpr std::string_view kEncryptionEnabled = "Quillon-Encryption-Enabled";
constexpr const char* kKeyFileName = "org.kaleo.KLNetworkAES";

/// In the order of KLHTTPMethod.
constexpr std::array kMethodNames = {"GET", "POST", "HEAD", "CONNECT", "DELETE", "OPTIONS", "PATCH", "PUT", "TRACE"};

bool encodesParametersInURI(std::string_view method) { return method == "GET" || method == "HEAD" || method == "DELETE"; }

void appendQuery(std::string& url, const std::string& query) {
  if (query.empty()) return;
  const auto parsed = KLURL::parse(url);
  url += parsed && parsed->query() ? '&' : '?';
  url += query;
}

}  // namespace

KLNetwork::KLNetwork(KLHTTPSession& session, const KLLog& log, KLRandom& random, const std::filesystem::path& library)
    : session_(session), log_(log), keyPath_(library / kKeyFileName), lazyCryptor_(random) {}

const std::vector<std::string>& KLNetwork::endPointsToEncrypt() {
  static const std::vector<std::string> endPoints = {"fetch_popup_configs", "test_popup_window", "report_user_diagnose_logs"};
  return endPoints;
}

KLHttpCryptor& KLNetwork::cryptor() {
  std::call_once(cryptorReady_, [this] { lazyCryptor_.setKeyFile(keyPath_); });
  return lazyCryptor_;
}

std::shared_ptr<KLHTTPTask> KLNetwork::GET(const std::string& url, const KLValue* parameters, Success success, Failure failure) {
  return request(url, KLHTTPMethod::GET, parameters, std::move(success), std::move(failure));
}

std::shared_ptr<KLHTTPTask> KLNetwork::POST(const std::string& url, const KLValue* parameters, Success success, Failure failure) {
  return request(url, KLHTTPMethod::POST, parameters, std::move(success), std::move(failure));
}

std::shared_ptr<KLHTTPTask> KLNetwork::request(const std::string& url, KLHTTPMethod method, const KLValue* parameters,
                                               Success success, Failure failure) {
  auto completion = [this, success = std::move(success), failure = std::move(failure)](KLHTTPResult result) {
    if (result.error || !result.response || result.response->status != kStatusOK) {
      if (failure) failure(std::move(result.error));
      return;
    }
    const auto serializer = KLJSONResponseSerializer::serializer(log_);
    auto object = serializer.responseObjectForResponseData(decryptResponse(*result.response));
    if (success) success(std::move(object));
  };
  return session_.dataTask(requestWith(url, method, parameters), std::move(completion));
}

KLHTTPRequest KLNetwork::requestWith(const std::string& url, KLHTTPMethod method, const KLValue* parameters) {
  KLHTTPRequest request{.url = url, .timeoutSeconds = kTimeoutSeconds};
  const auto index = static_cast<std::size_t>(method);
  if (index < kMethodNames.size()) request.method = kMethodNames[index];
  if (!parameters) return request;
  request.headers.emplace_back(kContentType, kJSONType);
  resolveRequest(request, *parameters);
  return request;
}

void KLNetwork::resolveRequest(KLHTTPRequest& request, const KLValue& parameters) {
  if (encodesParametersInURI(request.method)) return appendQuery(request.url, KLQueryStringFromParameters(parameters));
  if (!KLJSON::isValidJSONObject(parameters)) return;
  const std::string json = KLJSON::serialize(parameters);
  request.body.assign(json.begin(), json.end());
  if (!shouldEncryptRequest(request)) return;
  request.body = cryptor().envelope(request.body).value_or(KLBytes());
  request.headers.emplace_back(kEncryptionMode, "0");
}

bool KLNetwork::shouldEncryptRequest(const KLHTTPRequest&) const { return false; }

std::optional<KLBytes> KLNetwork::decryptResponse(const KLHTTPResponse& response) {
  const std::string* enabled = response.header(kEncryptionEnabled);
  if (!enabled || *enabled != "1") return response.body;
  const auto envelope = KLJSONResponseSerializer::serializer(log_).responseObjectForResponseData(response.body);
  const KLValue* payload = envelope ? envelope->find("payload") : nullptr;
  if (!payload || !payload->isString()) return response.body;
  const auto text = cryptor().decryptString(payload->asString());
  return text ? std::optional(KLBytes(text->begin(), text->end())) : std::nullopt;
}

}  // namespace kaleo
