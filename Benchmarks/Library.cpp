#include "Library.h"

#include <map>
#include <utility>

#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"
#include "Core/Base/Support/KLGuardedDiagnosis.h"
#include "Core/Model/KLEventName.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo::bench {
namespace {

constexpr const char* kUser = "server-user";
// What a user has seen in a third of a year, none of it today.
constexpr int kPopupsShown = 100;
constexpr double kSecondsBetweenPopups = 90'000;

/// As the library installs a recorder.
std::shared_ptr<KLDiagnosis> guarded(std::shared_ptr<KLDiagnosis> recorder) {
  return std::make_shared<KLGuardedDiagnosis>(std::move(recorder));
}

}  // namespace

Library::Library(const KLValue& answer)
    : store_({threads_, log_, clock_, random_, bridge_, hostStore_, diagnosis_, directory_ / "Kaleo_Popup.sqlite",
              directory_ / "key"}) {
  user_.setUserId(kUser);
  trigger_ = std::make_unique<KLTrigger>(KLTriggerSurroundings{
      threads_, threads_.makeSerialQueue("TriggerQueue"), notifications_, bridge_, hostStore_, log_, store_, diagnosis_, time_,
      user_, random_, network_, [] { return std::string("http://server"); }, [] { return KLShowCampaign(); }});
  const auto config = KLPopupConfig::fromResponseData(&answer, log_);
  useUpReEntries(*config);
  if (config->globalLimitModel.isInUse) saveDisplayTimes();
  trigger_->setPopupConfig(config);
  threads_.run();
}

void Library::useUpReEntries(const KLPopupConfig& config) {
  for (const auto& plan : config.popupPlanModels) {
    KLPopupReEnterWindow window;
    window.timeModel = plan->reEnter.timeModel();
    window.startWindow(time_);
    window.count = plan->reEnter.limit;
    store_.saveWindowData(window.archivedData(), KLDatabaseProperName::ReEnterWindow, kUser, plan->planKey());
  }
}

void Library::setObservers(Recorder recorder, bool logger) {
  const bool inBatches = recorder == Recorder::Batches;
  diagnosis_.set(recorder == Recorder::None ? nullptr : guarded(std::make_shared<CountingDiagnosis>(inBatches)));
  registry_.registerNBLog(logger ? std::make_shared<CountingLog>() : nullptr);
}

void Library::saveDisplayTimes() {
  KLValue::Array times;
  for (int i = 0; i < kPopupsShown; ++i) times.emplace_back(clock_.now() - kSecondsBetweenPopups * (kPopupsShown - i));
  store_.saveGlobalWindowData(KLKeyedArchive::archive(KLPopupGlobalLimit::kClassName, std::move(times)), kUser,
                              KLDatabaseProperName::GlobalLimit);
}

void Library::recordDecisions(bool on) {
  recorder_ = on ? guarded(makeDiagnosis()) : nullptr;
  diagnosis_.set(recorder_);
  aside_.reset();
}

std::shared_ptr<KLDiagnosis> Library::makeDiagnosis() {
  const std::string directory = directory_.path().string();
  return std::make_shared<KLCampaignDiagnosis>(
      KLDiagnosisSurroundings{recorderThreads_, clock_, random_, registry_, directory, directory, {}});
}

void Library::recordAside(std::span<const KLValue> events, std::size_t decisions) {
  if (!aside_) aside_ = makeDiagnosis();
  // As those of the workload: a plan is not matched, or has used up its re-entries.
  std::vector<KLDecision> each;
  for (std::size_t i = 0; i < decisions; ++i) {
    const auto plan = static_cast<std::int64_t>(i + 1);
    each.push_back(
        {.kind = KLDecision::Kind::PropertiesCheck, .planID = plan, .windowStart = clock_.now(), .windowEnd = clock_.now()});
    if (i % 2 == 0) continue;
    each.back().kind = KLDecision::Kind::ReEnterLimit;
    each.back().count = each.back().limit = 1;
  }
  for (const KLValue& event : events) {
    if (trigger_->planManager().isNeededEvent(KLEventName(event).text())) {
      aside_->addDecisions({.time = clock_.now(), .event = event}, each);
    }
  }
}

Matched Library::match(const KLValue& event) {
  Matched matched;
  const KLEventName name(event);
  KLPlanManager::Listeners* const listeners = trigger_->planManager().listenersForEvent(name.text());
  if (!listeners) return matched;
  listeners->matchers.begin(event);
  for (std::size_t plan = 0; plan < listeners->plans.size(); ++plan) {
    for (std::size_t matcher = 0; matcher < listeners->matchers.matcherCount(plan); ++matcher) {
      if (!listeners->matchers.isMatched(plan, matcher, monday_)) continue;
      if (matched.count++ == 0) matched.first = static_cast<int>(listeners->plans[plan]->planModel().planID);
    }
  }
  return matched;
}

Library& library(std::size_t plans, bool usesGlobalLimit) {
  static std::map<std::pair<std::size_t, bool>, std::unique_ptr<Library>> all;
  auto& place = all[{plans, usesGlobalLimit}];
  if (!place) place = std::make_unique<Library>(answer(plans, usesGlobalLimit));
  return *place;
}

}  // namespace kaleo::bench
