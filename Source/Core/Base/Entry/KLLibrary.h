#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Campaign/Popup/Show/KLCustomResolver.h"
#include "Campaign/Popup/Show/KLPopupResolver.h"
#include "Core/Base/Campaign/KLCampaignManager.h"
#include "Core/Base/Manager/KLManager.h"
#include "Foundation/KLScope.h"
#include "Image/KLImageCacheManager.h"
#include "Image/KLImageDownloader.h"
#include "kaleo/KLPlatform.h"

namespace kaleo {

/// One whole library: makes every part, gives each what it needs, and takes them down in order.
///
/// All work that the parts give to the platform's queues and session belongs to one scope, so that nothing of it runs once the
/// library is gone, even where queues and session live on. Threads: any; the destructor not on the library's own threads.
class KLLibrary {
 public:
  explicit KLLibrary(KLPlatform platform);
  ~KLLibrary();
  KLLibrary(const KLLibrary&) = delete;
  KLLibrary& operator=(const KLLibrary&) = delete;

  KLManager& manager() { return *manager_; }
  const KLLog& log() const { return log_; }
  const NBBridge& bridge() const { return bridge_; }

 private:
  KLManagerSurroundings managerSurroundings();
  KLPresentationHooks makePresentation();
  std::shared_ptr<KLDiagnosis> makeDiagnosis();
  void uploadDiagnosis(const KLValue& page, std::function<void(bool)> done);
  void takeDownPresentation();

  KLPlatform platform_;
  std::shared_ptr<KLScope> scope_ = std::make_shared<KLScope>();
  KLScopedThreading threading_;
  KLScopedQueue mainQueue_;
  KLScopedHTTPSession session_;
  KLLog log_;
  NBBridge bridge_;
  KLStoreManager hostStore_;
  KLDiagnosisSlot diagnosis_;
  KLCurrentUser user_;
  KLCalendar mondayCalendar_;
  KLCalendar sundayCalendar_;
  KLNetwork network_;
  KLImageCacheManager imageCache_;
  KLImageDownloader imageDownloader_;
  std::mutex campaignsMutex_;
  /// Made by the start; owns the resolvers. Guarded by campaignsMutex_.
  std::shared_ptr<const KLCampaignManager> campaigns_;
  std::shared_ptr<KLManager> manager_;
};

}  // namespace kaleo
