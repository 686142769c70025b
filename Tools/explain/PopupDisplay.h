#pragma once

#include <optional>
#include <string>

#include "explain/JourneyRecords.h"
#include "kaleo/KLPopupOutcome.h"
#include "text/TerminalText.h"
#include "text/TimeText.h"

namespace kaleo::tools {

/// What became of a popup that was handed on to be shown, as far as its records tell. Instants are seconds since 1970.
struct PopupDisplay {
  std::optional<KLPopupOutcome::Kind> outcome;  ///< the latest; nothing: none was recorded
  std::optional<double> shownAt, endedAt;
  std::optional<std::int64_t> errorCode;
  std::string reason;  ///< in words, why it failed or was cut short; "": it was not

  /// Whether `record` tells of a popup's outcome.
  static bool isOutcome(const JourneyRecord& record);
  void take(const JourneyRecord& record);

  /// What happened from the last check on, in a sentence.
  std::string sentence(const TimeText& times) const;
  Tone tone() const;
  KLValue document() const;
};

}  // namespace kaleo::tools
