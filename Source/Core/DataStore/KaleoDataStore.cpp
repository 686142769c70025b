#include "Core/DataStore/KaleoDataStore.h"

#include <algorithm>
#include <atomic>
#include <unordered_map>
#include <utility>

#include "Core/DataStore/KLAESCrypt.h"
#include "Core/DataStore/KLWriteQueue.h"
#include "Core/DataStore/KaleoDatabase.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {

namespace {

constexpr const char* kQueueLabel = "org.kaleo.KLDataStoreQueue";

int columnNumber(KLDatabaseProperName name) { return static_cast<int>(name); }

std::size_t sizeOf(const std::optional<KLBytes>& data) { return data ? data->size() : 0; }

std::optional<KLBytes> archived(const KLPopupConfig& config, const KLLog& log) {
  KLBytes archive = config.archivedData();
  if (!archive.empty()) return archive;
  log.error("The popup config of {} plans is not stored: its archive would have more than {} items or {} bytes",
            config.popupPlanModels.size(), KLKeyedArchive::kMaxItems, KLKeyedArchive::kMaxBytes);
  return std::nullopt;
}

}  // namespace

/// What the queue works on. Queued tasks know it weakly, so that one left over finds nothing rather than something gone.
class KaleoDataStore::State : public std::enable_shared_from_this<State> {
 public:
  explicit State(KLDataStoreSurroundings surroundings)
      : surroundings_(std::move(surroundings)),
        enableEncrypt_(surroundings_.hostStore.isRegisteredCustomStorePlugin()),
        queue_(surroundings_.threading.makeSerialQueue(kQueueLabel)) {}

  bool enableEncrypt() const { return enableEncrypt_; }
  const KLLog& log() const { return surroundings_.log; }

  void openLater() { runLater(&State::database); }

  void writeCell(KLDatabaseCell cell, std::size_t bytes, KLWriteQueue::Task task) {
    seeTo(writes_.addCell(std::move(cell), bytes, std::move(task)));
  }

  void sweep(KLWriteQueue::Task task) { seeTo(writes_.addSweep(std::move(task))); }

  /// Runs `task` on the queue, after all writes before it, while the caller waits. Writes them here: another thread may have added
  /// the first of them and not yet asked for their turn.
  void sync(const std::function<void()>& task) {
    queue_->sync([&] {
      writeQueued();
      task();
    });
  }

  void close() {
    sync([this] { database_.reset(); });
  }

  static bool tryTask(const std::function<bool()>& task, int times) {
    for (int i = 0; i < times; ++i) {
      if (task()) return true;
    }
    return false;
  }

  /// Whether every write since the last call has been made.
  bool flush() {
    bool done = false;
    sync([&] { done = !dropped_.exchange(false); });
    return done;
  }

  // On the queue only, from here on.

  KaleoDatabase& database() {
    if (database_) return *database_;
    database_ = std::make_unique<KaleoDatabase>(
        surroundings_.databaseFile, KLDatabaseSurroundings{surroundings_.log, surroundings_.clock, surroundings_.bridge},
        surroundings_.databaseVFS);
    if (enableEncrypt_) {
      encryptor_.emplace(surroundings_.random).setKeyFile(surroundings_.keyFile);
      database_->setEncryptor(&*encryptor_);
    }
    return *database_;
  }

  /// Null for what cannot be encrypted, such as "". Nothing can be kept under such an id, and trying again does not help.
  /// Lifetime: that of `text`, and no longer than the present task of the queue.
  const std::string* encryptString(const std::string& text) {
    database();
    if (!encryptor_) return &text;
    const auto [known, isNew] = encryptedIds_.try_emplace(text);
    if (isNew) known->second = encryptor_->encryptString(text);
    return known->second ? &*known->second : nullptr;
  }

  std::optional<std::string> decryptString(const std::optional<std::string>& text) const {
    return encryptor_ && text ? encryptor_->decryptString(*text) : text;
  }

  std::optional<KLBytes> encryptData(const std::optional<KLBytes>& data) const {
    return encryptor_ && data ? encryptor_->encryptData(*data) : data;
  }

  std::optional<KLBytes> decryptData(std::optional<KLBytes> data) const {
    return encryptor_ && data ? encryptor_->decryptData(*data) : std::move(data);
  }

 private:
  template <class Member>
  void runLater(Member member) {
    queue_->async([weak = weak_from_this(), member] {
      if (const auto self = weak.lock()) (self.get()->*member)();
    });
  }

  void seeTo(KLWriteQueue::Added added) {
    if (added == KLWriteQueue::Added::First) runLater(&State::writeQueued);
    if (added != KLWriteQueue::Added::Refused) return;
    dropped_ = true;
    surroundings_.log.error("Too many writes wait for the database, one was dropped");
  }

  /// Writes all that waits: in one transaction, and one by one when that fails, so that a write that cannot be made takes no other
  /// with it. Either way each is tried `kRepeatCount` times at most.
  void writeQueued() {
    if (encryptedIds_.size() > kMaxKnownIds) encryptedIds_.clear();
    const auto tasks = writes_.take();
    if (tasks.empty()) return;
    for (int triesLeft = kRepeatCount - 1; triesLeft >= 0; --triesLeft) {
      if (!database().beginTransaction()) continue;
      if (std::all_of(tasks.begin(), tasks.end(), [](const auto& task) { return task(); }) && database().commitTransaction())
        return;
      database().rollbackTransaction();
      for (const auto& task : tasks) {
        if (!tryTask(task, triesLeft)) dropped_ = true;
      }
      return;
    }
    dropped_ = true;
    surroundings_.log.error("The database cannot be written to, {} writes were dropped", tasks.size());
  }

  static constexpr std::size_t kMaxKnownIds = 4096;

  const KLDataStoreSurroundings surroundings_;
  const bool enableEncrypt_;
  const std::shared_ptr<KLQueue> queue_;
  KLWriteQueue writes_;
  std::atomic<bool> dropped_ = false;    ///< a write since the last flush
  std::optional<KLAESCrypt> encryptor_;  // outlives the database, which borrows it
  std::unique_ptr<KaleoDatabase> database_;
  std::unordered_map<std::string, std::optional<std::string>> encryptedIds_;  ///< of users and plans, which come again and again
};

KaleoDataStore::KaleoDataStore(KLDataStoreSurroundings surroundings) : state_(std::make_shared<State>(surroundings)) {
  if (surroundings.databaseFile.empty()) surroundings.log.error("failed to get database file path");
  if (KLDiagnosis* diagnosis = surroundings.diagnosis.get()) diagnosis->verifyDatabaseFile(surroundings.databaseFile.string());
  state_->openLater();
}

KaleoDataStore::~KaleoDataStore() { state_->close(); }

bool KaleoDataStore::enableEncrypt() const { return state_->enableEncrypt(); }

std::optional<std::string> KaleoDataStore::userIdWithDistinctId(const std::string& distinctId) {
  std::optional<std::string> userId;
  state_->sync([&] {
    if (const auto d = state_->encryptString(distinctId))
      userId = state_->decryptString(state_->database().userIdWithDistinctId(*d));
  });
  return userId;
}

std::shared_ptr<KLPopupConfig> KaleoDataStore::popupConfigWithUserId(const std::string& userId) {
  std::optional<KLBytes> data;
  state_->sync([&] {
    if (const auto u = state_->encryptString(userId)) data = state_->decryptData(state_->database().popupConfigWithUserId(*u));
  });
  return data ? KLPopupConfig::fromArchivedData(*data) : nullptr;
}

std::optional<KLBytes> KaleoDataStore::globalWindowWithUserId(const std::string& userId, KLDatabaseProperName name) {
  std::optional<KLBytes> data;
  state_->sync([&] {
    if (const auto u = state_->encryptString(userId))
      data = state_->decryptData(state_->database().globalWindowWithUserId(*u, name));
  });
  return data;
}

std::optional<KLBytes> KaleoDataStore::planWindowWithUserId(const std::string& userId, const std::string& planId,
                                                            KLDatabaseProperName name) {
  std::optional<KLBytes> data;
  state_->sync([&] {
    const auto u = state_->encryptString(userId);
    const auto p = state_->encryptString(planId);
    if (u && p) data = state_->decryptData(state_->database().planWindowWithUserId(*u, *p, name));
  });
  return data;
}

std::map<std::string, KaleoDataStore::PlanWindows> KaleoDataStore::planWindowsWithUserId(const std::string& userId) {
  std::map<std::string, PlanWindows> windows;
  state_->sync([&] {
    const auto u = state_->encryptString(userId);
    if (!u) return;
    for (auto& row : state_->database().planWindowsWithUserId(*u)) {
      auto planId = state_->decryptString(row.planId);
      if (!planId || windows.contains(*planId)) continue;  // the first row counts, as in a look-up of one plan
      const auto decrypted = [this](auto& window) { return state_->decryptData(std::move(window)); };
      windows.emplace(*std::move(planId), PlanWindows{decrypted(row.triggerWindow), decrypted(row.convertWindow),
                                                      decrypted(row.reEnterWindow), decrypted(row.intervalWindow)});
    }
  });
  return windows;
}

void KaleoDataStore::saveUserId(const std::string& userId, const std::string& distinctId) {
  state_->writeCell({KLDatabaseTable::Users, 0, distinctId, {}}, userId.size() + distinctId.size(),
                    [state = state_.get(), userId, distinctId] {
                      const auto u = state->encryptString(userId);
                      const auto d = state->encryptString(distinctId);
                      return !u || !d || state->database().saveUserId(*u, *d);
                    });
}

void KaleoDataStore::savePopupConfig(const std::shared_ptr<const KLPopupConfig>& config, const std::optional<std::string>& userId) {
  if (!config || !userId) return;
  auto archive = std::make_shared<const std::optional<KLBytes>>(archived(*config, state_->log()));
  KLDatabaseCell cell{KLDatabaseTable::PopupConfig, columnNumber(KLDatabaseProperName::PopupConfig), *userId, {}};
  const std::size_t size = sizeOf(*archive) + userId->size();
  state_->writeCell(std::move(cell), size, [state = state_.get(), data = std::move(archive), userId = *userId] {
    const auto u = state->encryptString(userId);
    return !u || state->database().savePopupConfig(state->encryptData(*data), *u);
  });
}

void KaleoDataStore::saveGlobalWindowData(std::optional<KLBytes> data, const std::string& userId, KLDatabaseProperName name) {
  const std::size_t size = sizeOf(data) + userId.size();
  state_->writeCell({KLDatabaseTable::PopupConfig, columnNumber(name), userId, {}}, size,
                    [state = state_.get(), data = std::move(data), userId, name] {
                      const auto u = state->encryptString(userId);
                      return !u || state->database().saveGlobalWindowData(state->encryptData(data), *u, name);
                    });
}

void KaleoDataStore::saveWindowData(std::optional<KLBytes> data, KLDatabaseProperName name, const std::string& userId,
                                    const std::string& planId) {
  const std::size_t size = sizeOf(data) + userId.size() + planId.size();
  state_->writeCell({KLDatabaseTable::PlanWindows, columnNumber(name), userId, planId}, size,
                    [state = state_.get(), data = std::move(data), name, userId, planId] {
                      const auto u = state->encryptString(userId);
                      const auto p = state->encryptString(planId);
                      return !u || !p || state->database().saveWindowData(state->encryptData(data), name, *u, *p);
                    });
}

void KaleoDataStore::correctUserId(const std::string& userId, const std::string& distinctId, KLDatabaseTable table) {
  state_->sweep([state = state_.get(), userId, distinctId, table] {
    const auto u = state->encryptString(userId);
    const auto d = state->encryptString(distinctId);
    return !u || !d || state->database().correctUserId(*u, *d, table);
  });
}

void KaleoDataStore::deleteExpiredData() {
  state_->sweep([state = state_.get()] { return state->database().deleteExpiredDataWithDuration(kExpiredDuration); });
}

void KaleoDataStore::deleteAllPlans() {
  state_->sweep([state = state_.get()] { return state->database().deleteAllPlans(); });
}

void KaleoDataStore::migrate() {
  if (!enableEncrypt()) return;
  state_->sync([this] {
    State::tryTask([this] { return state_->database().migrate() || state_->database().schemaVersion() != 0; }, kRepeatCount);
  });
}

void KaleoDataStore::setSchemaVersion(int version) {
  state_->sync([&] {
    if (state_->database().preCheck()) state_->database().setSchemaVersion(version);
  });
}

void KaleoDataStore::executeTask(const std::function<bool()>& task) { State::tryTask(task, kRepeatCount); }

bool KaleoDataStore::flush() { return state_->flush(); }

}  // namespace kaleo
