#include "kaleo/Kaleo.h"

#include <mutex>

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

  static Process& get() {
    static Process* const process = new Process;
    return *process;
  }

  /// The library, made when it is not there; null after the end.
  std::shared_ptr<KaleoInstance> library() {
    std::lock_guard lock(mutex);
    if (!instance && !ended) {
      instance = std::make_shared<KaleoInstance>(platform ? *std::move(platform) : KLPlatform::standard("kaleo"));
    }
    return instance;
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
    if (!process.instance && !process.ended) {
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
  std::lock_guard lock(process.mutex);
  process.ended = true;
  ending.swap(process.instance);
}

}  // namespace kaleo
