#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/Model/KLEventPermissionFilter.h"
#include "Core/Model/KLPlanPattern.h"
#include "Core/Model/KLPlanTimeModel.h"
#include "Core/Model/KLRepeatDisplay.h"
#include "Core/Nimbra/KaleoUser.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// One popup plan as the server describes it. Immutable after parsing but for `user`, which the configuration sets before it is
/// shared.
class KLPopupPlanModel {
 public:
  std::int64_t planID = 0;
  std::int64_t audienceID = 0;
  std::int64_t absolutePriority = 0;
  bool isAudience = false;
  bool isControlGroup = false;
  bool globalMsgLimitEnabled = false;
  std::optional<std::string> cname;
  std::optional<std::string> platform;  ///< never read from JSON
  std::optional<std::string> status;
  std::optional<std::string> lastUpdateConfigTime;
  std::optional<std::string> expireAt;  ///< milliseconds since 1970, as text
  KLValue popupWindowContent{KLObject{}};
  KLPlanLimitModel reEnter;
  KLPlanPageFilter pageFilter;
  KLPlanTimeModel popupInterval;
  std::optional<KLPlanTimeModel> convertWindow;
  KLPlanPopupPattern patternPopup;
  std::optional<KLValue> windowUpdate;  ///< an object when present
  std::optional<KLValue> strategyID;    ///< as received
  bool isTrigger = false;
  std::optional<KLValue> sectionID;  ///< as received
  KLEventPermissionFilter permissionFilter;
  std::optional<KLRepeatDisplay> repeatDisplay;
  /// Whom the configuration was fetched for. Not archived.
  std::optional<KaleoUser> user;

  /// The plan key: the id in decimal.
  const std::string& planKey() const { return planKey_; }
  /// Whether `now` (seconds since 1970) lies after `expireAt`; always, without one.
  bool isExpired(double now) const;
  /// Whether `status` is exactly "ACTIVE".
  bool isActive() const;

  static std::shared_ptr<KLPopupPlanModel> fromResponseData(const KLValue* data);
  static std::vector<std::shared_ptr<KLPopupPlanModel>> plansFromResponseData(const KLValue* data);
  KLValue encode() const;
  static std::shared_ptr<KLPopupPlanModel> decode(const KLValue& archive);

 private:
  void compile();  ///< derives planKey_ and the like after parsing

  std::string planKey_ = "0";
  double expireAtMilliseconds_ = 0;
};

}  // namespace kaleo
