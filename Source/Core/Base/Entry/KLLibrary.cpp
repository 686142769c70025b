#include "Core/Base/Entry/KLLibrary.h"

#include "Foundation/KLCurlHTTPSession.h"
#include "Foundation/KLURL.h"
#include "Image/KLUserAgent.h"

namespace kaleo {
namespace {

std::shared_ptr<KLHTTPSession> sessionOf(const KLPlatform& platform) {
  return platform.session ? platform.session : std::make_shared<KLCurlHTTPSession>(platform.http);
}

}  // namespace

KLLibrary::KLLibrary(KLPlatform platform)
    : platform_(std::move(platform)),
      threading_(platform_.threading, scope_),
      mainQueue_(platform_.mainQueue, scope_),
      session_(sessionOf(platform_), scope_),
      log_(*platform_.host),
      bridge_(*platform_.host, log_),
      hostStore_(*platform_.host),
      mondayCalendar_(platform_.timeZone, KLWeekday::Monday),
      sundayCalendar_(platform_.timeZone, KLWeekday::Sunday),
      network_(session_, log_, *platform_.random, platform_.directories.library),
      imageCache_(*platform_.clock, threading_, mainQueue_, platform_.directories.caches, *platform_.notificationCenter),
      imageDownloader_({session_, imageCache_, threading_, mainQueue_, log_,
                        KLUserAgent(platform_.application, platform_.presentation.screen->scale())}),
      manager_(KLManager::create(managerSurroundings())) {}

KLLibrary::~KLLibrary() {
  manager_->stop();
  scope_->close();
  // Nothing of ours runs now but the trigger queue, which has been let go, and the resolvers' own queues.
  platform_.mainQueue->sync([this] { takeDownPresentation(); });
  manager_->close();
  // The recorder's queue may send, for as long as there is a recorder.
  diagnosis_.set(nullptr);
}

KLManagerSurroundings KLLibrary::managerSurroundings() {
  return {*platform_.host,
          threading_,
          *platform_.notificationCenter,
          bridge_,
          hostStore_,
          log_,
          diagnosis_,
          user_,
          {*platform_.clock, mondayCalendar_, sundayCalendar_},
          *platform_.random,
          network_,
          *platform_.reachability,
          platform_.directories,
          [this] { return makePresentation(); },
          [this] { return makeDiagnosis(); },
          platform_.console};
}

std::shared_ptr<KLDiagnosis> KLLibrary::makeDiagnosis() {
  if (platform_.diagnosis || !platform_.makeDiagnosis) return platform_.diagnosis;
  return platform_.makeDiagnosis(
      {threading_, *platform_.clock, *platform_.random, *platform_.host, platform_.directories.documents.string(),
       platform_.directories.library.string(),
       [this](const KLValue& page, std::function<void(bool)> done) { uploadDiagnosis(page, std::move(done)); }});
}

void KLLibrary::uploadDiagnosis(const KLValue& page, std::function<void(bool)> done) {
  const auto options = manager_->options();
  const auto base = options ? KLURL::parse(options->apiBaseURL()) : std::nullopt;
  if (!base) return done(false);
  // A login page that stands before the network answers 200, too, but not with JSON.
  network_.POST(
      base->appendingPath(kDiagnosticLogs).absoluteString(), &page, [done](auto&& answer) { done(answer.has_value()); },
      [done](auto&&) { done(false); });
}

KLPresentationHooks KLLibrary::makePresentation() {
  const KLCampaignSurroundings surroundings{threading_,
                                            mainQueue_,
                                            *platform_.notificationCenter,
                                            bridge_,
                                            log_,
                                            [this] { return manager_->options(); },
                                            [this](const std::string& planID) { return manager_->planWithIdentifier(planID); },
                                            [this](KLPopupOutcome outcome) { manager_->noteOutcome(std::move(outcome)); }};
  auto campaigns = std::make_shared<const KLCampaignManager>(std::vector<std::shared_ptr<KLCampaignResolver>>{
      std::make_shared<KLPopupResolver>(surroundings, platform_.presentation, imageDownloader_, platform_.directories.resources),
      std::make_shared<KLCustomResolver>(surroundings)});
  {
    std::lock_guard lock(campaignsMutex_);
    campaigns_ = campaigns;
  }
  const std::weak_ptr<const KLCampaignManager> weak = campaigns;
  return {[weak](auto campaign) {
            if (const auto manager = weak.lock()) manager->showCampaign(campaign);
          },
          [weak](auto campaign) {
            if (const auto manager = weak.lock()) manager->showTestCampaign(campaign);
          },
          [this](const auto& urls) {
            for (const std::string& url : urls) imageDownloader_.downloadImageWithURL(url, {}, {});
          }};
}

void KLLibrary::takeDownPresentation() {
  std::shared_ptr<const KLCampaignManager> campaigns;
  std::lock_guard lock(campaignsMutex_);
  campaigns.swap(campaigns_);
}

}  // namespace kaleo
