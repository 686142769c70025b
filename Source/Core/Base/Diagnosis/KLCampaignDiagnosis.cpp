#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <utility>

#include "Core/Base/Diagnosis/KLDiagnosisDatabase.h"
#include "Core/Base/Diagnosis/KLDiagnosisUpload.h"
#include "Core/Base/Diagnosis/KLDoubleBuffer.h"
#include "Core/Base/Diagnosis/KLFetchedConfigurations.h"
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

  void add(KLDecisionContext&& context, std::span<const KLDecision> decisions) {
    const double time = context.time != 0 ? context.time : clock_.now();
    takeIn(decisions.size(), [&](KLWaitingRecords& list) { list.add(time, std::move(context), decisions); });
  }

  void add(const KLValue& content, const std::string& planId, KLDiagnosisState state, KLDiagnosisType type) {
    const std::int64_t time = KLMilliseconds(clock_.now());
    takeIn(1, [&](KLWaitingRecords& list) { list.add({time, nullptr, planId, state, type, content}); });
  }

  void setUser(KLDiagnosisUser user) {
    waiting_.fill([&](Waiting& waiting) {
      waiting.list.add(std::make_shared<const KLDiagnosisUser>(std::move(user)));
      return true;
    });
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
    user_ = std::make_shared<const KLDiagnosisUser>(KLDiagnosisUser{database_.userIdWithDistinctId(distinctId), distinctId});
  }

  void writeWaiting() { writeWhatCame(); }

 private:
  struct Waiting {
    KLWaitingRecords list;
    std::size_t dropped = 0;
  };

  /// Lets `add` put `count` records on the list, if there is room.
  template <class Add>
  void takeIn(std::size_t count, Add&& add) {
    bool mustArm = false;
    const std::size_t before = waiting_.fill([&](Waiting& waiting) {
      const std::size_t size = waiting.list.size();
      if (size + count > kMaxWaiting) {
        waiting.dropped += count;
      } else {
        add(waiting.list);
      }
      mustArm = !isArmed_.load(std::memory_order_relaxed);
      return size;
    });
    if (mustArm) arm();
    if (before < kBatch && before + count >= kBatch) queue_->async(task(&State::writeWaiting));
  }

  void arm() {
    if (!isArmed_.exchange(true, std::memory_order_relaxed)) queue_->asyncAfter(kWriteDelay, task(&State::writeRegularly));
  }

  /// Comes back as long as there is something to write, so that those who record seldom have to see to it. What comes from the
  /// first line on finds that nobody is coming, even if the writing fails.
  void writeRegularly() {
    isArmed_.store(false, std::memory_order_relaxed);
    if (writeWhatCame()) arm();
  }

  /// False: nothing had come.
  bool writeWhatCame() {
    Waiting& waiting = waiting_.take();
    const std::size_t dropped = std::exchange(waiting.dropped, 0);
    const bool isIdle = waiting.list.empty() && dropped == 0;
    if (dropped > 0) log_.error("Too many diagnosis records wait for the disk, {} were dropped", dropped);
    if (!waiting.list.empty()) write(waiting.list);
    sweep();
    return !isIdle;
  }

  void write(KLWaitingRecords& list) {
    auto records = list.records(user_);
    list.clear();
    if (records.empty()) return;
    configurations_.leaveOutKnown(records);
    const std::size_t kept = database_.append(records, bridge_.project());
    if (kept == records.size()) return;
    configurations_.forget();
    log_.error("{} diagnosis records were dropped", records.size() - kept);
  }

  KLQueue::Task task(void (State::*member)()) {
    return [weak = weak_from_this(), member] {
      if (const auto self = weak.lock()) (self.get()->*member)();
    };
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
  KLDoubleBuffer<Waiting> waiting_;
  /// Whether writeRegularly is on its way. Its changes are ordered by those of waiting_: one is told apart inside `fill`, the other
  /// comes before a `take`.
  std::atomic<bool> isArmed_{false};
  KLWaitingRecords::User user_;  ///< the queue's: whom what comes next is about
  std::optional<double> lastSweep_;
  KLFetchedConfigurations configurations_;
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

void KLCampaignDiagnosis::addDecisions(KLDecisionContext&& context, std::span<const KLDecision> decisions) {
  state_->add(std::move(context), decisions);
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
  state_->setUser({userId, distinctId});
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
