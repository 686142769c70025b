#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <utility>

#include "Core/Base/Diagnosis/KLDiagnosisDatabase.h"
#include "Core/Base/Diagnosis/KLDiagnosisUpload.h"
#include "Core/Base/Diagnosis/KLWaitingRecords.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/NBBridge.h"

namespace kaleo {
namespace {

constexpr const char* kQueueLabel = "org.kaleo.KLDiagnosisQueue";
constexpr double kDefaultExpiration = 2592000;  // seconds: 30 days

std::filesystem::path fileIn(const std::string& directory, const std::string& name) {
  return directory.empty() ? std::filesystem::path() : std::filesystem::path(directory) / name;
}

}  // namespace

/// What callers and the queue share. Queued tasks know it weakly.
class KLCampaignDiagnosis::State : public std::enable_shared_from_this<State> {
 public:
  State(const KLDiagnosisSurroundings& surroundings, std::string vfs)
      : clock_(surroundings.clock),
        log_(surroundings.host),
        bridge_(surroundings.host, log_),
        encryptor_(surroundings.random),
        database_(fileIn(surroundings.documents, databaseFileName()), log_, surroundings.clock, surroundings.random,
                  std::move(vfs)),
        queue_(surroundings.threading.makeSerialQueue(kQueueLabel)),
        upload_(std::make_shared<KLDiagnosisUpload>(database_, queue_, log_, surroundings.upload)) {
    if (!KLStoreManager(surroundings.host).isRegisteredCustomStorePlugin()) return;
    encryptor_.setKeyFile(fileIn(surroundings.library, KaleoDataStore::kKeyFileName));
    database_.setEncryptor(&encryptor_);
  }

  void start() { queue_->async(task(&State::findUser)); }
  const std::shared_ptr<KLQueue>& queue() const { return queue_; }

  void setExpiration(double seconds) { expiration_ = seconds; }

  void add(const KLDecisionContext& context, std::span<const KLDecision> decisions) {
    takeIn(decisions.size(), [&](std::int64_t time) { waiting_.add(time, user_, context, decisions); });
  }

  void add(const KLValue& content, const std::string& planId, KLDiagnosisState state, KLDiagnosisType type) {
    takeIn(1, [&](std::int64_t time) { waiting_.add({time, user_, planId, state, type, content}); });
  }

  void setUser(std::shared_ptr<const KLDiagnosisUser> user) {
    const std::lock_guard lock(mutex_);
    user_ = std::move(user);
  }

  /// Runs `work` on the queue, after the records of before have been written.
  template <class Work>
  void later(Work work) {
    queue_->async([weak = weak_from_this(), work = std::move(work)] {
      const auto self = weak.lock();
      if (!self) return;
      self->writeWaiting();
      work(*self);
    });
  }

  void close() {
    queue_->sync([this] { writeWaiting(); });
  }

  // On the queue only, from here on.

  KLDiagnosisDatabase& database() { return database_; }
  KLDiagnosisUpload& upload() { return *upload_; }
  const KLLog& log() const { return log_; }

  /// Whom records are about until the first configuration comes: the host's user, as far as it is known from earlier runs.
  void findUser() {
    const std::string distinctId = bridge_.distinctId().value_or("");
    auto user = std::make_shared<const KLDiagnosisUser>(KLDiagnosisUser{database_.userIdWithDistinctId(distinctId), distinctId});
    const std::lock_guard lock(mutex_);
    if (!user_) user_ = user;
    waiting_.setMissingUser(user);
  }

  void writeWaiting() {
    std::size_t dropped = 0;
    {
      const std::lock_guard lock(mutex_);
      std::swap(waiting_, writing_);
      dropped = std::exchange(dropped_, 0);
    }
    if (dropped > 0) log_.error("Too many diagnosis records wait for the disk, {} were dropped", dropped);
    if (writing_.size() > 0) {
      auto records = writing_.records();
      writing_.clear();
      leaveOutKnownConfigurations(records);
      if (!database_.append(records, bridge_.project())) log_.error("{} diagnosis records were dropped", records.size());
    }
    sweep();
  }

 private:
  /// Lets `add` put `count` records of now on the list, if there is room.
  template <class Add>
  void takeIn(std::size_t count, Add&& add) {
    const std::int64_t time = KLMilliseconds(clock_.now());
    std::size_t before = 0;
    {
      const std::lock_guard lock(mutex_);
      before = waiting_.size();
      if (before + count > kMaxWaiting) {
        dropped_ += count;
        return;
      }
      add(time);
    }
    if (before == 0) queue_->asyncAfter(kWriteDelay, task(&State::writeWaiting));
    if (before < kBatch && before + count >= kBatch) queue_->async(task(&State::writeWaiting));
  }

  KLQueue::Task task(void (State::*member)()) {
    return [weak = weak_from_this(), member] {
      if (const auto self = weak.lock()) (self.get()->*member)();
    };
  }

  /// A server tells the same configuration again and again: it is kept once in a run, and later records refer to it.
  void leaveOutKnownConfigurations(std::vector<KLDiagnosisRecord>& records) {
    for (KLDiagnosisRecord& record : records) {
      const KLValue* const config = record.state == KLDiagnosisState::ConfigFetched ? record.content.find("config") : nullptr;
      if (!config) continue;
      if (*config == lastConfiguration_) {
        KLObject content = record.content.asObject();
        content.erase("config");
        content.set("config_is_as_before", true);
        record.content = std::move(content);
      } else {
        lastConfiguration_ = *config;
      }
    }
  }

  void sweep() {
    const double now = clock_.now();
    if (lastSweep_ && now - *lastSweep_ < kSweepInterval && now >= *lastSweep_) return;
    lastSweep_ = now;
    database_.deleteBefore(KLMilliseconds(now - expiration_));
  }

  const KLClock& clock_;
  const KLLog log_;
  const NBBridge bridge_;
  std::atomic<double> expiration_{kDefaultExpiration};
  std::mutex mutex_;
  KLWaitingRecords waiting_;                     ///< guarded by mutex_
  std::shared_ptr<const KLDiagnosisUser> user_;  ///< guarded by mutex_; null until the queue has found it
  std::size_t dropped_ = 0;                      ///< guarded by mutex_
  KLWaitingRecords writing_;                     ///< the queue's; empty but for its memory, which it lends to waiting_
  std::optional<double> lastSweep_;
  KLValue lastConfiguration_;
  KLAESCrypt encryptor_;
  KLDiagnosisDatabase database_;
  const std::shared_ptr<KLQueue> queue_;
  const std::shared_ptr<KLDiagnosisUpload> upload_;
};

KLCampaignDiagnosis::KLCampaignDiagnosis(const KLDiagnosisSurroundings& surroundings, std::string databaseVFS)
    : state_(std::make_shared<State>(surroundings, std::move(databaseVFS))) {
  state_->start();
}

KLCampaignDiagnosis::~KLCampaignDiagnosis() {
  const std::shared_ptr<KLQueue> queue = state_->queue();
  state_->close();
  state_.reset();
  // A delayed task may just have got hold of the state: once it has ended, the state is gone, and the queue can go, too.
  queue->sync([] {});
}

void KLCampaignDiagnosis::setDiagnosisExpiration(double seconds) { state_->setExpiration(seconds); }

void KLCampaignDiagnosis::addDiagnostor() { state_->log().info("Register {}", kKLDiagnostorIdentifier); }

void KLCampaignDiagnosis::addContent(const KLValue& content, KLDiagnosisState state, KLDiagnosisType type) {
  state_->add(content, {}, state, type);
}

void KLCampaignDiagnosis::addContent(const KLValue& content, const std::string& entityId, KLDiagnosisState state,
                                     KLDiagnosisType type) {
  state_->add(content, entityId, state, type);
}

void KLCampaignDiagnosis::addDecisions(const KLDecisionContext& context, std::span<const KLDecision> decisions) {
  state_->add(context, decisions);
}

void KLCampaignDiagnosis::addOutcome(const KLPopupOutcome& outcome) {
  state_->add(outcome.content(), outcome.planID, outcome.state(), KLDiagnosisType::Trigger);
}

void KLCampaignDiagnosis::flushWithCondition(const KLValue* condition) {
  state_->later([wanted = KLDiagnosisCondition::fromResponseData(condition)](State& state) { state.upload().flush(wanted); });
}

void KLCampaignDiagnosis::saveJourneyId(const std::string& journeyId, const std::string& userId, const std::string& entityId) {
  state_->later([=](State& state) { state.database().saveJourneyId(journeyId, userId, entityId); });
}

void KLCampaignDiagnosis::saveUserId(const std::string& userId, const std::string& distinctId) {
  state_->setUser(std::make_shared<const KLDiagnosisUser>(KLDiagnosisUser{userId, distinctId}));
  state_->later([=](State& state) { state.database().saveUserId(userId, distinctId); });
}

void KLCampaignDiagnosis::verifyDatabaseFile(const std::string& path) {
  state_->later([path](State& state) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (path.empty() || !std::filesystem::exists(status)) return;
    if (std::filesystem::is_regular_file(status) && ::access(path.c_str(), R_OK | W_OK) == 0) return;
    state.log().error("The database file {} cannot be read and written, no state is kept", path);
  });
}

}  // namespace kaleo
