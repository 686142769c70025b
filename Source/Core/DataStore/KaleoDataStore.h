#pragma once

#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KLDatabaseTypes.h"
#include "Core/Model/KLPopupConfig.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/NBBridge.h"
#include "kaleo/KLClock.h"
#include "kaleo/KLQueue.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// What a data store stands on. Lifetime: borrowed, outlives the store.
struct KLDataStoreSurroundings {
  KLThreading& threading;
  const KLLog& log;
  const KLClock& clock;
  KLRandom& random;
  const NBBridge& bridge;
  const KLStoreManager& hostStore;
  KLDiagnosisSlot& diagnosis;
  std::filesystem::path databaseFile;  ///< empty: no path could be had, nothing is stored
  std::filesystem::path keyFile;
  std::string databaseVFS = {};  ///< the layer below SQLite by its registered name; empty: the system's
};

/// The one door to local storage. Owns the database, its serial queue and, when the host keeps a store plugin, the cipher.
///
/// Reads run on the queue while the caller waits, or in place when the caller is on the queue; writes are queued and tried three
/// times. The writes that wait at one time go into one transaction, a later one of the same cell in place of an earlier one: what
/// is on disk is what all of them in order leave. A read sees every write queued before it. Without a usable database reads answer
/// nothing and writes are dropped, and so is what comes when too much waits already.
///
/// A write is confirmed when a later `flush` answers true: it has been committed and synchronised with the disk, and neither the
/// end of the process at any moment nor a power failure takes it back. Threads: any but the main thread for reads and `flush`,
/// which wait for the disk.
class KaleoDataStore {
 public:
  /// Decides whether to encrypt; the file is opened on the queue.
  explicit KaleoDataStore(KLDataStoreSurroundings surroundings);
  /// Writes what is queued and closes the database. Must not run on the store's queue.
  ~KaleoDataStore();
  KaleoDataStore(const KaleoDataStore&) = delete;
  KaleoDataStore& operator=(const KaleoDataStore&) = delete;

  static constexpr const char* kDatabaseFileName = "Kaleo_Popup.sqlite";
  /// Holds the key of this installation, for all that is kept encrypted.
  static constexpr const char* kKeyFileName = "org.kaleo.KLAES";
  static constexpr double kExpiredDuration = 2592000;  ///< seconds: 30 days
  static constexpr int kRepeatCount = 3;

  std::optional<std::string> userIdWithDistinctId(const std::string& distinctId);
  std::shared_ptr<KLPopupConfig> popupConfigWithUserId(const std::string& userId);
  std::optional<KLBytes> globalWindowWithUserId(const std::string& userId, KLDatabaseProperName name);
  std::optional<KLBytes> planWindowWithUserId(const std::string& userId, const std::string& planId, KLDatabaseProperName name);
  /// The four windows of one plan, in the order of their kinds (trigger, convert, re-enter, interval).
  using PlanWindows = std::array<std::optional<KLBytes>, 4>;
  /// All plans' windows of a user with one query, by plan id.
  std::map<std::string, PlanWindows> planWindowsWithUserId(const std::string& userId);

  void saveUserId(const std::string& userId, const std::string& distinctId);
  /// Nothing happens when either is missing. A configuration that is too large to be archived empties the cell, so that the one
  /// before it does not come back.
  void savePopupConfig(const std::shared_ptr<const KLPopupConfig>& config, const std::optional<std::string>& userId);
  /// No data empties the cell.
  void saveGlobalWindowData(std::optional<KLBytes> data, const std::string& userId, KLDatabaseProperName name);
  void saveWindowData(std::optional<KLBytes> data, KLDatabaseProperName name, const std::string& userId, const std::string& planId);
  /// Gives the rows of one table that were stored under the distinct id the user id.
  void correctUserId(const std::string& userId, const std::string& distinctId, KLDatabaseTable table);
  /// Deletes what is older than `kExpiredDuration`.
  void deleteExpiredData();
  /// Empties all three tables.
  void deleteAllPlans();

  /// Upgrades a file without encryption when encryption is on. Once, at start, before other traffic.
  void migrate();
  void setSchemaVersion(int version);
  /// Runs `task` up to `kRepeatCount` times until it answers true.
  void executeTask(const std::function<bool()>& task);

  bool enableEncrypt() const;
  /// Returns when everything queued before has had its turn. Answers whether all of it is on the disk; false: a write since the
  /// last call has been dropped, as the log says.
  bool flush();

 private:
  class State;
  std::shared_ptr<State> state_;
};

}  // namespace kaleo
