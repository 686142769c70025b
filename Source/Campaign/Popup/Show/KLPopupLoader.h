#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Campaign/Popup/Model/KLPopupPictures.h"
#include "Core/Base/Campaign/KLCampaignPlanEvent.h"
#include "kaleo/KLError.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

/// A popup that is ready to be built: parsed, laid out, its local pictures read.
struct KLLoadedPopup {
  KLPopupModel model;  ///< its element is not null
  KLPopupPictures pictures;
};

/// What `load` gives: exactly one of the two.
struct KLPopupLoadResult {
  std::shared_ptr<const KLLoadedPopup> popup;
  std::optional<KLError> error;
};

/// Makes popups of popup window contents, for the screen's shorter side. Reads files and measures texts: not for the main thread.
/// Lifetime: borrows the log.
class KLPopupLoader {
 public:
  KLPopupLoader(const KLLog& log, const KLPresentation& presentation, std::filesystem::path resources)
      : log_(log), screen_(presentation.screen), measurer_(presentation.textMeasurer), resources_(std::move(resources)) {}

  /// `content` is a popup window content, whose "content" is the layout as JSON text; without such a text, or without an element in
  /// it, the error is ContentMissing, and a JSON error is answered as it is. Fills the message texts of `event`. `options` may be
  /// null.
  KLPopupLoadResult loadPopupModelWithPopupWindowContent(const KLValue& content, const KLConfigOptions* options,
                                                         KLCampaignPlanEvent& event) const;

 private:
  const KLLog& log_;
  const std::shared_ptr<KLScreen> screen_;
  const std::shared_ptr<KLTextMeasurer> measurer_;
  const std::filesystem::path resources_;  ///< holds the application's pictures and "Kaleo.bundle"
};

/// Fills the message texts of `event` from an element and, in order, those inside it; later ones replace earlier ones.
void enumerateElementModel(const KLPopupElementModel& element, KLCampaignPlanEvent& event);

}  // namespace kaleo
