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
  if (const auto library = Process::get().library()) library->startWithConfigOptions(std::move(options));
}

bool Kaleo::handleOpenURL(const std::string& url) {
  const auto library = Process::get().library();
  return library && library->handleOpenURL(url);
}

void Kaleo::fetchCampaignsWithCompletion(std::function<void(const KLCampaignResponse&)> completion) {
  if (const auto library = Process::get().library()) library->fetchCampaignsWithCompletion(std::move(completion));
}

std::string Kaleo::SDKVersion() { return kKLSDKVersion; }

bool Kaleo::isSupportedNBVersion() {
  const auto library = Process::get().library();
  return !library || library->isSupportedNBVersion();
}

void Kaleo::shutdown() {
  Process& process = Process::get();
  std::shared_ptr<KaleoInstance> ending;
  const auto lock = process.settled();
  process.ended = true;
  ending.swap(process.instance);
}

}  // namespace kaleo
