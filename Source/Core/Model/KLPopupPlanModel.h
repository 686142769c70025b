#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLEventPermissionFilter.h"
#include "Core/Model/KLFieldTable.h"
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
  /// Whether the plan belongs to a strategy, or to a section of the application; a JSON null names none.
  bool hasStrategy() const { return strategyID && !strategyID->isNull(); }
  bool hasSection() const { return sectionID && !sectionID->isNull(); }

  static std::shared_ptr<KLPopupPlanModel> fromResponseData(const KLValue* data);
  static std::shared_ptr<KLPopupPlanModel> fromResponseData(const KLValue* data, KLParseContext& context);
  /// One model for each object of an array, in order; what is no array gives an empty list.
  static std::vector<std::shared_ptr<KLPopupPlanModel>> plansFromResponseData(const KLValue* data);
  static std::vector<std::shared_ptr<KLPopupPlanModel>> plansFromResponseData(const KLValue* data, KLParseContext& context);
  KLValue encode() const;
  static std::shared_ptr<KLPopupPlanModel> decode(const KLValue& archive);
  friend bool operator==(const KLPopupPlanModel& left, const KLPopupPlanModel& right);

  static constexpr auto fields();
  void compile();  ///< derives planKey_ and the like after parsing

 private:
  std::string planKey_ = "0";
  double expireAtMilliseconds_ = 0;
};

constexpr auto KLPopupPlanModel::fields() {
  using M = KLPopupPlanModel;
  return std::tuple{
      KLFieldOf(&M::planID, "plan_id", "planID"),
      KLFieldOf(&M::isAudience, "is_audience", "isAudience"),
      KLFieldOf(&M::isControlGroup, "is_control_group", "isControlGroup"),
      KLFieldOf(&M::audienceID, "audience_id", "audienceID"),
      KLFieldOf(&M::status, "status", "status"),
      KLFieldOf(&M::cname, "cname", "cname"),
      KLArchivedField(&M::platform, "platform"),
      KLFieldAs<KLObjectOrEmpty>(&M::popupWindowContent, "popup_window_content", "popupWindowContent"),
      KLFieldOf(&M::absolutePriority, "absolute_priority", "absolutePriority"),
      KLFieldOf(&M::lastUpdateConfigTime, "last_update_config_time", "lastUpdateConfigTime"),
      KLFieldOf(&M::expireAt, "expire_at", "expireAt"),
      KLFieldOf(&M::reEnter, "re_enter", "reEnter"),
      KLFieldOf(&M::globalMsgLimitEnabled, "global_msg_limit_enabled", "globalMsgLimitEnabled"),
      KLFieldOf(&M::pageFilter, "page_filter", "pageFilter"),
      KLFieldOf(&M::popupInterval, "popup_interval", "popupInterval"),
      KLFieldAs<KLBuiltWhen<KLIsFilledObject>>(&M::convertWindow, "convert_window", "convertWindow"),
      KLFieldOf(&M::patternPopup, "pattern_popup", "patternPopup"),
      KLFieldAs<KLObjectOrNothing>(&M::windowUpdate, "window_update", "windowUpdate"),
      KLFieldOf(&M::strategyID, "strategy_id", "strategyID"),
      KLFieldOf(&M::isTrigger, "is_trigger", "isTrigger"),
      KLFieldOf(&M::sectionID, "section_id", "sectionID"),
      KLFieldOf(&M::permissionFilter, "event_permission", "permissionFilter"),
      KLFieldAs<KLBuiltWhen<KLIsObject>>(&M::repeatDisplay, "display_time_config", "repeatDisplay"),
  };
}

}  // namespace kaleo
