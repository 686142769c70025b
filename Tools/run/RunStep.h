#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// The host tracks an event.
struct TrackStep {
  KLValue record;  ///< an object; its properties' dates are dates
};
/// The host's user changes.
struct UserStep {
  KLValue user;
  const char* notification;  ///< the one that "how" names
};
/// The user taps.
struct TapStep {
  std::size_t element;  ///< 0: the mask
};
/// The application's life goes on.
struct AppStep {
  const char* notification;
};
struct OpenStep {
  std::string url;
};
struct FetchStep {};
struct WaitStep {
  enum class For { Ready, Idle, Time };
  For what = For::Time;
  double seconds = 0;  ///< at most
};

/// One command of `kaleo run`.
using RunStep = std::variant<TrackStep, UserStep, TapStep, AppStep, OpenStep, FetchStep, WaitStep>;

/// Reads one line. On failure answers nothing and `fault` says why, for people.
std::optional<RunStep> parseRunStep(std::string_view line, std::string& fault);

}  // namespace kaleo::tools
