#include "kaleo/Kaleo.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "Core/Base/Log/KLLog.h"
#include "Core/Utils/KLVersion.h"

namespace kaleo {
namespace {

/// What the process has one of. Made on first use and never destroyed, as the host may call until its last moment.
struct Process {
  KLHostRegistry host;
  KLNotificationCenter notificationCenter;
  std::mutex mutex;
  std::optional<KLPlatform> platform;       ///< guarded by mutex; none: the standard one
  std::shared_ptr<KaleoInstance> instance;  ///< guarded by mutex
  bool ended = false;                       ///< guarded by mutex
  std::thread::id maker;                    ///< who is making the instance, without the lock; guarded by mutex
  std::condition_variable made;
  int calls = 0;  ///< into the library at this moment; guarded by mutex
  std::condition_variable returned;

  static Process& get() {
    static Process* const process = new Process;
    return *process;
  }

  bool isBeingMade() const { return maker != std::thread::id(); }

  /// Nothing is being made any more, unless by the caller.
  std::unique_lock<std::mutex> settled() {
    std::unique_lock lock(mutex);
    made.wait(lock, [this] { return !isBeingMade() || maker == std::this_thread::get_id(); });
    return lock;
  }

  /// What a call holds of the library. The end waits for those of other threads: a host may call from inside one of the library's
  /// own threads, and the library must not end there.
  class Call {
   public:
    explicit Call(Process& process) : process_(process) {
      {
        std::lock_guard lock(process_.mutex);
        ++process_.calls, ++onThisThread;
      }
      library_ = process_.library();
    }
    ~Call() {
      library_.reset();
      std::lock_guard lock(process_.mutex);
      --process_.calls, --onThisThread;
      process_.returned.notify_all();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    explicit operator bool() const { return library_ != nullptr; }
    KaleoInstance* operator->() const { return library_.get(); }

    static thread_local int onThisThread;

   private:
    Process& process_;
    std::shared_ptr<KaleoInstance> library_;
  };

  void waitForOtherCalls() {
    std::unique_lock lock(mutex);
    returned.wait(lock, [this] { return calls == Call::onThisThread; });
  }

 private:
  /// The library, made when it is not there. Null after the end, when the process is out of threads or memory, and for a host that
  /// calls from inside a callback out of the making.
  std::shared_ptr<KaleoInstance> library() {
    std::shared_ptr<KaleoInstance> fresh;  // one that came too late dies after the lock
    auto lock = settled();
    if (instance || ended || isBeingMade()) return instance;
    maker = std::this_thread::get_id();
    const auto chosen = platform;
    lock.unlock();
    fresh = make(chosen);
    lock.lock();
    maker = {};
    made.notify_all();
    if (!ended) instance = fresh;
    return instance;
  }

  std::shared_ptr<KaleoInstance> make(const std::optional<KLPlatform>& chosen) const {
    try {
      return std::make_shared<KaleoInstance>(chosen ? *chosen : KLPlatform::standard("kaleo"));
    } catch (const std::exception& fault) {
      KLLog(host).error("the library cannot be made: {}", fault.what());
      return nullptr;
    }
  }
};

thread_local int Process::Call::onThisThread = 0;

}  // namespace

KLConfigOptions::KLConfigOptions(std::string apiBaseURL) : KLConfigOptions(std::move(apiBaseURL), Kaleo::host()) {}

KLHostRegistry& Kaleo::host() { return Process::get().host; }

KLNotificationCenter& Kaleo::notificationCenter() { return Process::get().notificationCenter; }

void Kaleo::setPlatform(KLPlatform platform) {
  Process& process = Process::get();
  {
    std::lock_guard lock(process.mutex);
    if (!process.instance && !process.ended && !process.isBeingMade()) {
      process.platform = std::move(platform);
      return;
    }
  }
  KLLog(process.host).error("the platform cannot be changed after the first use of the library");
}

void Kaleo::startWithConfigOptions(std::shared_ptr<KLConfigOptions> options) {
  if (const Process::Call library{Process::get()}) library->startWithConfigOptions(std::move(options));
}

bool Kaleo::handleOpenURL(const std::string& url) {
  const Process::Call library(Process::get());
  return library && library->handleOpenURL(url);
}

void Kaleo::fetchCampaignsWithCompletion(std::function<void(const KLCampaignResponse&)> completion) {
  if (const Process::Call library{Process::get()}) library->fetchCampaignsWithCompletion(std::move(completion));
}

std::string Kaleo::SDKVersion() { return kKLSDKVersion; }

bool Kaleo::isSupportedNBVersion() {
  const Process::Call library(Process::get());
  return !library || library->isSupportedNBVersion();
}

void Kaleo::shutdown() {
  Process& process = Process::get();
  std::shared_ptr<KaleoInstance> ending;
  {
    const auto lock = process.settled();
    process.ended = true;
    ending.swap(process.instance);
  }
  process.waitForOtherCalls();
}

}  // namespace kaleo
