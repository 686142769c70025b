#pragma once

#include <memory>
#include <optional>
#include <string>

#include "kaleo/KLExport.h"
#include "kaleo/KLValue.h"
#include "kaleo/KaleoActionModel.h"

namespace kaleo {

/// One popup about to be shown, shown, or handed to the application.
class KALEO_API KLCampaign {
 public:
  static constexpr int kTypePopup = 0;       ///< shown by the library
  static constexpr int kTypeCustomized = 1;  ///< handed to the application

  /// `content` is a plan's popup window content; anything but an object counts as an empty one. None: no plan id (a test popup).
  KLCampaign(std::optional<std::string> planID, std::optional<std::string> name, std::optional<std::string> uuid,
             const KLValue& content);

  std::optional<std::string> planID;  ///< decimal; none for a test popup
  std::optional<std::string> name;
  std::optional<std::string> uuid;  ///< names this display in events; none for a test popup
  KLValue campaignContent;          ///< an object
  std::string content;              ///< its "content" when that is a text: the layout JSON, or the application's own content
  int type = kTypePopup;
  /// The action of the latest click.
  std::shared_ptr<const KaleoActionModel> action;
  /// When the event that triggered it was tracked.
  std::optional<KLDate> triggerTime;
};

}  // namespace kaleo
