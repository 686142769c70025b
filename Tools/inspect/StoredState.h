#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "Core/Model/KLPlanWindows.h"
#include "Core/Model/KLPopupConfig.h"
#include "database/DatabaseReading.h"
#include "database/StoredValue.h"

namespace kaleo::tools {

// What a "Kaleo_Popup.sqlite" holds, read from a file of any release. Instants are seconds since 1970.

/// The windows of one plan.
struct StoredPlan {
  StoredId id;
  Stored<KLTriggerWindows> triggers;
  Stored<KLPopupConvertWindow> convert;
  Stored<KLPopupReEnterWindow> reEnter;
  Stored<KLPopupIntervalWindow> interval;
  double savedAt = 0;
};

/// A name that the host has for a user.
struct StoredName {
  StoredId distinctId;
  double savedAt = 0;
};

/// A user in one project of the host.
struct StoredUser {
  std::string project;
  StoredId id;
  std::vector<StoredName> names;
  Stored<std::shared_ptr<KLPopupConfig>> config;
  Stored<std::vector<double>> displays;  ///< when popups were shown
  Stored<KLPopupGlobalIntervalWindow> globalInterval;
  double changedAt = 0;  ///< when the configuration or one of the two windows was written last
  std::vector<StoredPlan> plans;

  /// Whether `name` is the user's id or one of the distinct ids.
  bool isKnownAs(const std::string& name) const;
  /// The stored windows of a plan of the configuration, and the other way round; null when there are none.
  const StoredPlan* windowsOf(const KLPopupPlanModel& plan) const;
  const KLPopupPlanModel* modelOf(const StoredPlan& plan) const;
};

struct StoredState {
  std::vector<StoredUser> users;  ///< ordered by project and id
  int schemaVersion = 0;
  std::size_t encryptedRows = 0;
  ReadingFaults faults;

  /// Reads what there is. `key` may be null: then what is encrypted stays locked.
  static StoredState read(DatabaseCopy& database, const KLAESCrypt* key);
  /// Why `database` is none of this library; "" when it is.
  static std::string whyForeign(DatabaseCopy& database);
};

}  // namespace kaleo::tools
