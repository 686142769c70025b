#pragma once

#include <optional>
#include <string>

#include "kaleo/KLDecision.h"
#include "kaleo/KLError.h"
#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// What became of a popup after its plan had passed every check: KLDecision::Kind::Finished says that it was handed on to be shown,
/// not that anybody saw it.
struct KALEO_API KLPopupOutcome {
  /// The numbers are the states under which a recorder may keep outcomes, above all of KLDiagnosisState. No server knows them.
  enum class Kind : int {
    Shown = 11,       ///< it is on screen and has come to rest there
    Ended = 12,       ///< it has left the screen; with an error when that was not its own doing
    Failed = 13,      ///< it is not shown; with the error that the application is told
    HandedOver = 14,  ///< a customised popup, which is now the application's to show
  };

  Kind kind = Kind::Shown;
  std::string planID;     ///< decimal
  std::string popupUUID;  ///< names this display, as in the events that tell of it
  std::optional<KLError> error = {};

  KLDiagnosisState state() const { return static_cast<KLDiagnosisState>(kind); }
  /// The record's content: an object with kQuillonDiagnosticInfoKeyMessage, kQuillonDiagnosticInfoKeyCampaignId and "popup_uuid";
  /// where there is an error, "error_domain", "error_code" and "error", its text.
  KLValue content() const;
};

}  // namespace kaleo
