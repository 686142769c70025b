#include "Foundation/KLCurlExchange.h"

#include <algorithm>

namespace kaleo {
namespace {

/// All headers of one answer together; servers of good will stay far below.
constexpr std::size_t kMaxHeaderBytes = 256u << 10;
constexpr double kMinTimeoutSeconds = 0.001;  // 0 would mean none to libcurl
constexpr double kMaxTimeoutSeconds = 86400;
constexpr const char* kSchemes = "http,https";

bool isToken(std::string_view text) {
  constexpr std::string_view kSeparators = "()<>@,;:\\\"/[]?={}";
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [&](char c) { return c > ' ' && c < 0x7F && kSeparators.find(c) == std::string_view::npos; });
}

/// A line break inside a value would begin a header of its own.
bool isHeaderValue(std::string_view text) { return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos; }

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r\n";
  const auto first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::chrono::steady_clock::time_point deadlineAfter(double seconds) {
  const bool usable = seconds > kMinTimeoutSeconds;  // also false for no number
  const std::chrono::duration<double> timeout(usable ? std::min(seconds, kMaxTimeoutSeconds) : kMinTimeoutSeconds);
  return std::chrono::steady_clock::now() + std::chrono::ceil<std::chrono::steady_clock::duration>(timeout);
}

template <class Value>
CURLcode set(CURL* easy, CURLoption option, Value value) {
  return curl_easy_setopt(easy, option, value);
}

}  // namespace

KLCurlExchange::KLCurlExchange(KLHTTPRequest request, KLHTTPSession::Completion completion)
    : request_(std::move(request)), deadline_(deadlineAfter(request_.timeoutSeconds)), completion_(std::move(completion)) {}

double KLCurlExchange::secondsLeft() const {
  return std::chrono::duration<double>(deadline_ - std::chrono::steady_clock::now()).count();
}

CURLcode KLCurlExchange::prepare(const KLHTTPSettings& settings) {
  easy_.reset(curl_easy_init());
  if (!easy_) return CURLE_OUT_OF_MEMORY;
  maxBodyBytes_ = settings.maxBodyBytes;
  setRules(settings);
  for (const auto step : {&KLCurlExchange::setURL, &KLCurlExchange::setMethodAndBody, &KLCurlExchange::setHeaders}) {
    if (const CURLcode code = (this->*step)(); code != CURLE_OK) return code;
  }
  return CURLE_OK;
}

void KLCurlExchange::setRules(const KLHTTPSettings& settings) {
  CURL* const easy = easy_.get();
  set(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(std::max(secondsLeft(), kMinTimeoutSeconds) * 1000));
  set(easy, CURLOPT_NOSIGNAL, 1L);
  // Without it a name look-up that hangs would hold the session's thread when its exchange times out.
  set(easy, CURLOPT_QUICK_EXIT, 1L);
  set(easy, CURLOPT_PROTOCOLS_STR, kSchemes);
  set(easy, CURLOPT_REDIR_PROTOCOLS_STR, kSchemes);
  set(easy, CURLOPT_FOLLOWLOCATION, 1L);
  set(easy, CURLOPT_MAXREDIRS, static_cast<long>(std::max(0, settings.maxRedirects)));
  // Unless told so, libcurl makes a GET without the body of a POST that has moved (RFC 9110, 15.4.2 and 15.4.3).
  set(easy, CURLOPT_POSTREDIR, static_cast<long>(CURL_REDIR_POST_301 | CURL_REDIR_POST_302));
  set(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  set(easy, CURLOPT_ACCEPT_ENCODING, "");
  set(easy, CURLOPT_SSL_VERIFYPEER, 1L);
  set(easy, CURLOPT_SSL_VERIFYHOST, 2L);
  if (!settings.caFile.empty()) {
    set(easy, CURLOPT_CAINFO, settings.caFile.c_str());
    set(easy, CURLOPT_PROXY_CAINFO, settings.caFile.c_str());
    // The system's directory of certificates would be asked beside the file.
    set(easy, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    set(easy, CURLOPT_PROXY_CAPATH, static_cast<const char*>(nullptr));
  }
  // Both are set even when they are empty: unset, libcurl asks the environment.
  set(easy, CURLOPT_PROXY, settings.proxy.c_str());
  set(easy, CURLOPT_NOPROXY, "");
  set(easy, CURLOPT_ERRORBUFFER, errorText_);
  set(easy, CURLOPT_HEADERFUNCTION, &KLCurlExchange::headerCallback);
  set(easy, CURLOPT_HEADERDATA, static_cast<void*>(this));
  set(easy, CURLOPT_WRITEFUNCTION, &KLCurlExchange::bodyCallback);
  set(easy, CURLOPT_WRITEDATA, static_cast<void*>(this));
}

CURLcode KLCurlExchange::setURL() {
  url_.reset(curl_url());
  // Given as text, libcurl would take a URL without a scheme for http.
  if (!url_ || curl_url_set(url_.get(), CURLUPART_URL, request_.url.c_str(), 0) != CURLUE_OK) return CURLE_URL_MALFORMAT;
  return set(easy_.get(), CURLOPT_CURLU, url_.get());
}

CURLcode KLCurlExchange::setMethodAndBody() {
  CURL* const easy = easy_.get();
  const std::string& method = request_.method;
  if (!isToken(method)) return CURLE_BAD_FUNCTION_ARGUMENT;
  if (method == "HEAD") return set(easy, CURLOPT_NOBODY, 1L);
  // Refuses a body whose length is announced before a byte of it comes.
  set(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maxBodyBytes_));
  if (method == "POST" || !request_.body.empty()) {
    set(easy, CURLOPT_POST, 1L);
    set(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
    set(easy, CURLOPT_POSTFIELDS, request_.body.empty() ? "" : reinterpret_cast<const char*>(request_.body.data()));
    if (method == "POST") return CURLE_OK;
  } else if (method == "GET") {
    return CURLE_OK;
  }
  return set(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
}

CURLcode KLCurlExchange::setHeaders() {
  // What libcurl would add to a body of its own accord; a header of the request replaces it.
  std::vector<std::string> lines = {"Expect:", "Content-Type:"};
  for (const auto& [name, value] : request_.headers) {
    if (!isToken(name) || !isHeaderValue(value)) return CURLE_BAD_FUNCTION_ARGUMENT;
    lines.push_back(value.empty() ? name + ";" : name + ": " + value);
  }
  for (const auto& line : lines) {
    curl_slist* const longer = curl_slist_append(headerList_.get(), line.c_str());
    if (!longer) return CURLE_OUT_OF_MEMORY;
    static_cast<void>(headerList_.release());
    headerList_.reset(longer);
  }
  return set(easy_.get(), CURLOPT_HTTPHEADER, headerList_.get());
}

std::size_t KLCurlExchange::headerCallback(char* data, std::size_t size, std::size_t count, void* exchange) {
  const bool taken = static_cast<KLCurlExchange*>(exchange)->takeHeader({data, size * count});
  return taken ? size * count : 0;
}

std::size_t KLCurlExchange::bodyCallback(char* data, std::size_t size, std::size_t count, void* exchange) {
  const bool taken = static_cast<KLCurlExchange*>(exchange)->takeBody({data, size * count});
  return taken ? size * count : CURL_WRITEFUNC_ERROR;
}

bool KLCurlExchange::takeHeader(std::string_view line) {
  if (line.starts_with("HTTP/")) {  // also after an interim answer or a redirection
    response_ = {};
    headerBytes_ = 0;
    headersEnded_ = false;
  }
  headersEnded_ = headersEnded_ || trimmed(line).empty();
  headerBytes_ += line.size();
  if (headerBytes_ > kMaxHeaderBytes) return false;
  const auto colon = line.find(':');
  if (colon != std::string_view::npos && !line.starts_with("HTTP/")) {
    response_.headers.emplace_back(trimmed(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
  }
  return true;
}

bool KLCurlExchange::takeBody(std::string_view piece) {
  bodyTooLong_ = piece.size() > maxBodyBytes_ - response_.body.size();
  if (!bodyTooLong_) response_.body.insert(response_.body.end(), piece.begin(), piece.end());
  return !bodyTooLong_;
}

KLHTTPResult KLCurlExchange::result(CURLcode code) {
  if (bodyTooLong_) code = CURLE_FILESIZE_EXCEEDED;
  // libcurl takes headers that break off for an answer without a body.
  if (code == CURLE_OK && !headersEnded_) code = CURLE_PARTIAL_FILE;
  if (code != CURLE_OK) {
    const std::string text = errorText_[0] && !bodyTooLong_ ? errorText_ : curl_easy_strerror(code);
    return {std::nullopt, KLError{kKLTransportErrorDomain, code, text}};
  }
  long status = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  response_.status = static_cast<int>(status);
  return {std::move(response_), std::nullopt};
}

void KLCurlExchange::finish(CURLcode code) {
  KLHTTPResult outcome = result(code);
  easy_.reset();
  response_ = {};
  const auto completion = std::exchange(completion_, nullptr);
  auto expected = State::Pending;
  if (!state_.compare_exchange_strong(expected, State::Delivered) || !completion) return;
  try {
    completion(std::move(outcome));
  } catch (...) {  // a completion's fault must not end the session's thread
  }
}

void KLCurlExchange::cancel() {
  auto expected = State::Pending;
  state_.compare_exchange_strong(expected, State::Cancelled);
}

}  // namespace kaleo
