#pragma once

namespace kaleo {

/// This library's version, dotted.
inline constexpr const char* kKLSDKVersion = "0.7.3";
/// The lowest version of the host library that is supported.
inline constexpr const char* kMinNBLibVersion = "4.2.0";

}  // namespace kaleo
