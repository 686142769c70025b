#pragma once

#include <cstdint>
#include <future>
#include <string>
#include <utility>

#include "kaleo/KLHTTPSession.h"

namespace kaleo::testing {

/// Waits for the result of one exchange.
inline KLHTTPResult fetch(KLHTTPSession& session, KLHTTPRequest request) {
  std::promise<KLHTTPResult> done;
  session.dataTask(std::move(request), [&](KLHTTPResult result) { done.set_value(std::move(result)); });
  return done.get_future().get();
}

inline std::string textOf(const KLHTTPResult& result) {
  return result.response ? std::string(result.response->body.begin(), result.response->body.end()) : "no response";
}

/// The transport's error code; 0 when there is none.
inline std::int64_t codeOf(const KLHTTPResult& result) { return result.error ? result.error->code : 0; }

}  // namespace kaleo::testing
