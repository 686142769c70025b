#pragma once

#include <cstdint>
#include <string>

#include "kaleo/KLExport.h"

namespace kaleo {

/// Domain of the errors that the library makes itself.
inline constexpr const char* kKaleoErrorDomain = "KaleoErrorDomain";
/// Domain of transport errors; the code is that of libcurl's easy interface (CURLcode).
inline constexpr const char* kKLTransportErrorDomain = "KaleoTransportErrorDomain";
/// Domain of JSON errors.
inline constexpr const char* kKLJSONErrorDomain = "KaleoJSONErrorDomain";

/// An error as it is handed to the application: a plain record.
struct KLError {
  enum Code : std::int64_t {
    ImageURLMissing = 1000,
    ContentMissing = 1001,
    UnsupportedImageFormat = 1002,
    ControlGroup = 1003,
    RefusedByApplication = 1004,
    NotTriggerPlan = 1005,
    CallbackMissing = 1006,
    NotInitialized = 1007,
  };

  std::string domain;
  std::int64_t code = 0;
  std::string localizedDescription;

  /// An error of kKaleoErrorDomain.
  static KLError kaleo(Code code, std::string description) { return {kKaleoErrorDomain, code, std::move(description)}; }
  friend bool operator==(const KLError&, const KLError&) = default;
};

}  // namespace kaleo
