#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/Base/Log/KLLog.h"
#include "Core/Model/KLPopupPlanModel.h"

namespace kaleo {

/// One answer of the configuration endpoint. Immutable once shared; `setUser` comes before that.
class KLPopupConfig {
 public:
  using Plans = std::vector<std::shared_ptr<const KLPopupPlanModel>>;

  std::optional<std::string> minSdkVersionRequired;
  std::optional<std::string> serverCurrentTime;
  std::int64_t fetchPlansInterval = 0;  ///< milliseconds
  Plans popupPlanModels;
  KLPopupGlobalLimitModel globalLimitModel;
  KLPlanTimeModel globalIntervalModel;
  std::optional<KaleoUser> user;
  std::optional<std::string> userId;
  std::optional<std::string> originalConfig;   ///< base64 of the whole answer; not archived
  std::optional<KLValue> diagnosticCondition;  ///< not archived

  static std::shared_ptr<KLPopupConfig> fromResponseData(const KLValue* data, const KLLog& log);
  /// Base64, in lines of 64 characters, of the pretty JSON of an object; "" for anything else.
  static std::string base64EncodedConfig(const KLValue* data);

  /// Sets the user here and in every plan (the plans are copied, as they may be shared).
  void setUser(const KaleoUser& user);
  /// A copy: everything but `originalConfig` and `diagnosticCondition`.
  std::shared_ptr<KLPopupConfig> copy() const;
  /// A copy of everything without the plans.
  std::shared_ptr<KLPopupConfig> withoutPlans() const;

  /// Keyed archive of class "KLPopupConfig".
  KLBytes archivedData() const;
  static std::shared_ptr<KLPopupConfig> fromArchivedData(const KLBytes& data);
};

}  // namespace kaleo
