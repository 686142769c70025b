#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Model/KLPopupConfig.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Core/Nimbra/NBBridge.h"
#include "Core/Utils/KLDateUtilities.h"
#include "Core/Window/KLPopupPlan.h"
#include "Foundation/KLUserDefaults.h"

namespace kaleo {

/// Where the first releases kept their state: the configuration as an archive among the user's documents, each window under a key
/// of its own in the user defaults. The key of a plan's window is followed by the plan id.
inline constexpr const char* kPopupPlansFileName = "KaleoPopupPlans";
inline constexpr const char* kGlobalIntervalWindowKey = "GlobalIntervalWindowKey";
inline constexpr const char* kGlobalLimitKey = "GlobalPopupLimit";
inline constexpr const char* kConvertWindowKey = "ConvertWindow_";
inline constexpr const char* kReEnterKey = "ReEnter_";
inline constexpr const char* kIntervalWindowKey = "IntervalWindow_";
inline constexpr const char* kTriggerWindowKey = "TriggerWindow_";  ///< then "_" and the matcher's index
/// The flag in the host's store that says that the state has moved.
inline constexpr const char* kKLDataMigrateKey = "kKLDataMigrateKey";

/// What the move stands on. Lifetime: borrowed for one call.
struct KLDataMigrateSurroundings {
  const KLLog& log;
  KaleoDataStore& dataStore;
  const KLStoreManager& hostStore;
  const NBBridge& bridge;
  KLDiagnosisSlot& diagnosis;
  KLPlanTime time;
  const KLCurrentUser& currentUser;
  const KLUserDefaults& userDefaults;
  std::filesystem::path documents;  ///< empty: there is no such directory
};

/// Moves the state of the first releases into the database, once for each installation; later starts see to the database's own
/// upgrade instead. What was there stays where it was. Without a directory or a distinct id nothing is moved yet.
/// Threads: the trigger queue, at start, before other use of the data store. Touches the disk.
class KLDataMigrateHelper {
 public:
  explicit KLDataMigrateHelper(KLDataMigrateSurroundings surroundings) : around_(std::move(surroundings)) {}

  void migrate() const;
  /// The configuration of the first releases in `documents`; null when there is none that can be read.
  static std::shared_ptr<KLPopupConfig> loadPopupConfig(const std::filesystem::path& documents);

 private:
  void moveGlobalWindow(const char* key, const std::string& userId, KLDatabaseProperName name) const;
  void movePlan(const KLPopupPlan& plan, const std::string& userId) const;
  void movePlanWindow(const char* key, const KLPopupPlan& plan, const std::string& userId, KLDatabaseProperName name) const;
  void moveTriggerWindows(const KLPopupPlan& plan, const std::string& userId) const;

  const KLDataMigrateSurroundings around_;
};

}  // namespace kaleo
