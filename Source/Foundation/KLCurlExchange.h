#pragma once

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "kaleo/KLHTTPSession.h"

namespace kaleo {

/// One exchange of KLCurlHTTPSession: a libcurl easy handle, what has come in so far, and the completion.
/// Threads: `cancel` and `isCancelled` on any, everything else on the session's.
class KLCurlExchange {
 public:
  KLCurlExchange(KLHTTPRequest request, KLHTTPSession::Completion completion);
  KLCurlExchange(const KLCurlExchange&) = delete;
  KLCurlExchange& operator=(const KLCurlExchange&) = delete;

  /// When the request's time-out, which began with the exchange, is over.
  std::chrono::steady_clock::time_point deadline() const { return deadline_; }
  double secondsLeft() const;

  /// Makes the easy handle ready to be added to a multi handle. CURLE_OK, or why the request cannot be sent.
  CURLcode prepare(const KLHTTPSettings& settings);
  /// Null before `prepare` and after `finish`.
  CURL* easy() const { return easy_.get(); }

  /// Calls the completion unless the exchange has been cancelled, and frees everything. The easy handle must be out of its multi.
  void finish(CURLcode code);

  /// From now on the completion will not be called, unless its call has begun.
  void cancel();
  bool isCancelled() const { return state_ == State::Cancelled; }

 private:
  enum class State { Pending, Cancelled, Delivered };
  struct Free {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
  };

  CURLcode setURL();
  CURLcode setMethodAndBody();
  CURLcode setHeaders();
  void setRules(const KLHTTPSettings& settings);
  bool takeHeader(std::string_view line);
  bool takeBody(std::string_view piece);
  KLHTTPResult result(CURLcode code);
  static std::size_t headerCallback(char* data, std::size_t size, std::size_t count, void* exchange);
  static std::size_t bodyCallback(char* data, std::size_t size, std::size_t count, void* exchange);

  std::atomic<State> state_ = State::Pending;
  KLHTTPRequest request_;
  const std::chrono::steady_clock::time_point deadline_;
  KLHTTPSession::Completion completion_;
  KLHTTPResponse response_;
  std::size_t maxBodyBytes_ = 0;
  std::size_t headerBytes_ = 0;
  bool bodyTooLong_ = false;
  bool headersEnded_ = false;  ///< the empty line behind them has come
  char errorText_[CURL_ERROR_SIZE] = "";
  std::unique_ptr<CURLU, Free> url_;
  std::unique_ptr<curl_slist, Free> headerList_;
  std::unique_ptr<CURL, Free> easy_;  ///< last: it uses the others until it goes
};

}  // namespace kaleo
