#include "cost/MeasuredHost.h"

#include <chrono>

#include "Foundation/KLJSON.h"
#include "Support/Configurations.h"
#include "Workload.h"

namespace kaleo::bench {
namespace {

constexpr const char* kLayout = R"({"template": {"type": "column", "layout": {"width": "300px"}, "subviews": [
    {"type": "label", "layout": {"width": "1"}, "properties": {"text": "Hello", "font": "20px", "msgType": "title"}}]}})";

KLValue popupPlan(std::size_t id) {
  KLObject plan =
      testing::plan(static_cast<int>(id), kPopupEvent, R"({"re_enter": {"unit": "DAY", "value": 1, "limit": 1000000}})");
  plan.set("popup_window_content", KLObject{{"content", kLayout}});
  return plan;
}

}  // namespace

std::string answerText(std::size_t plans, double pullSeconds) {
  KLObject answer = answerWithLayouts(plans).asObject();
  KLValue::Array list = answer.find("popup_plans")->asArray();
  list.push_back(popupPlan(plans + 1));
  answer.set("popup_plans", std::move(list));
  answer.set("config_pull_interval_ms", static_cast<std::int64_t>(pullSeconds * 1000));
  return KLJSON::serialize(KLValue(std::move(answer)));
}

bool CountingDelegate::campaignShouldStart(const KLCampaign&) {
  const std::lock_guard lock(mutex_);
  ++asked_;
  changed_.notify_all();
  return admits_;
}

void CountingDelegate::campaignDidStart(const KLCampaign&) {
  const std::lock_guard lock(mutex_);
  ++shown_;
  changed_.notify_all();
}

void CountingDelegate::campaignDidEnd(const KLCampaign&) {
  const std::lock_guard lock(mutex_);
  ++ended_;
}

int CountingDelegate::shown() {
  const std::lock_guard lock(mutex_);
  return shown_;
}

int CountingDelegate::ended() {
  const std::lock_guard lock(mutex_);
  return ended_;
}

bool CountingDelegate::waitUntil(const int& count, int times) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::minutes(1), [&] { return count >= times; });
}

bool CountingDelegate::waitUntilAsked(int times) { return waitUntil(asked_, times); }
bool CountingDelegate::waitUntilShown(int times) { return waitUntil(shown_, times); }

MeasuredHost::MeasuredHost(const std::string& server, const std::filesystem::path& files, bool admits,
                           const std::function<void(KLPlatform&)>& adjust)
    : delegate_(std::make_shared<CountingDelegate>(admits)) {
  registry_.registerNimbraSDK(nimbra_);
  registry_.registerNBStoreManager(store_);
  KLPlatform platform = KLPlatform::standard("kaleo-cost");
  platform.host = std::shared_ptr<KLHostRegistry>(std::shared_ptr<void>(), &registry_);
  platform.notificationCenter = notifications_;
  platform.directories = {files / "documents", files / "library", files / "caches", {}};
  if (adjust) adjust(platform);
  options_ = std::make_shared<KLConfigOptions>(server, registry_);
  options_->setPopupDelegate(delegate_);
  options_->setCampaignDelegate(delegate_);
  library_ = std::make_unique<KaleoInstance>(std::move(platform));
}

bool MeasuredHost::startAndSettle() {
  start();
  trackName(kPopupEvent);
  return delegate_->waitUntilAsked();
}

}  // namespace kaleo::bench
