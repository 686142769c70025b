#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLFieldTable.h"
#include "Core/Model/KLPopupPlanModel.h"

namespace kaleo {

/// The plans of a configuration; what is no object is left out.
struct KLPlanList {
  using Plans = std::vector<std::shared_ptr<const KLPopupPlanModel>>;
  static void parse(const KLValue* json, Plans& member, KLParseContext& context);
  static void decode(const KLValue& archived, Plans& member);
  static std::optional<KLValue> encode(const Plans& member);
};

template <>
struct KLCoercion<std::optional<KaleoUser>> {
  static void parse(const KLValue* json, std::optional<KaleoUser>& member, KLParseContext& context);
  static void decode(const KLValue& archived, std::optional<KaleoUser>& member);
  static std::optional<KLValue> encode(const std::optional<KaleoUser>& member);
};

/// One answer of the configuration endpoint. Immutable once shared; `setUser` comes before that.
class KLPopupConfig {
 public:
  using Plans = KLPlanList::Plans;

  std::optional<std::string> minSdkVersionRequired;
  std::optional<std::string> serverCurrentTime;
  std::int64_t fetchPlansInterval = 0;  ///< milliseconds
  Plans popupPlanModels;
  KLPopupGlobalLimitModel globalLimitModel;
  KLPlanTimeModel globalIntervalModel;
  std::optional<KaleoUser> user;
  std::optional<std::string> userId;
  std::optional<KLValue> diagnosticCondition;  ///< not archived

  static std::shared_ptr<KLPopupConfig> fromResponseData(const KLValue* data, const KLLog& log);
  /// Base64 of the whole answer, made anew at each call, as only a recorder asks for it; nothing for a configuration that did not
  /// come fresh from the server.
  std::optional<std::string> originalConfig() const;
  /// Base64, in lines of 64 characters, of the pretty JSON of an object; "" for anything else.
  static std::string base64EncodedConfig(const KLValue* data);

  /// Sets the user here and in every plan (a plan that another configuration shares is copied).
  void setUser(const KaleoUser& user);
  /// A copy: everything but the original and `diagnosticCondition`.
  std::shared_ptr<KLPopupConfig> copy() const;
  /// A copy of everything without the plans.
  std::shared_ptr<KLPopupConfig> withoutPlans() const;

  /// Keyed archive of class "KLPopupConfig"; empty when the configuration is too large for one.
  KLBytes archivedData() const;
  /// Null when `data` is no such archive.
  static std::shared_ptr<KLPopupConfig> fromArchivedData(const KLBytes& data);
  KLValue encode() const;
  /// Every plan gets the archived user.
  static std::shared_ptr<KLPopupConfig> decode(const KLValue& archive);

  static constexpr auto fields();

 private:
  std::optional<KLValue> answer_;  ///< as it came, null for none at all; shares its payload; not archived
};

constexpr auto KLPopupConfig::fields() {
  using C = KLPopupConfig;
  return std::tuple{
      KLFieldOf(&C::minSdkVersionRequired, "min_sdk_version_required", "minSdkVersionRequired"),
      KLFieldOf(&C::serverCurrentTime, "server_current_time", "serverCurrentTime"),
      KLFieldOf(&C::fetchPlansInterval, "config_pull_interval_ms", "fetchPlansInterval"),
      KLFieldOf(&C::globalLimitModel, "msg_limit_global", "globalLimitModel"),
      KLFieldOf(&C::globalIntervalModel, "popup_interval_global", "globalIntervalModel"),
      KLFieldAs<KLPlanList>(&C::popupPlanModels, "popup_plans", "popupPlanModels"),
      KLArchivedField(&C::user, "user"),
      KLFieldOf(&C::userId, "user_id", "userId"),
      KLFieldOf(&C::diagnosticCondition, "diagnose_config", ""),
  };
}

}  // namespace kaleo
