#include "simulate/Simulator.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include <limits>
#include <utility>

#include "Core/Model/KLPlanWindows.h"
#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo::tools {
namespace {

/// In the host's store: the state of the random source.
constexpr const char* kRandomStateKey = "simulate_random_state";
constexpr double kNever = std::numeric_limits<double>::infinity();

std::uint64_t randomState(const KLUserDefaults& store) {
  const auto state = store.objectForKey(kRandomStateKey);
  return state ? static_cast<std::uint64_t>(state->asInteger()) : 0;
}

std::string planKeyOf(const KLValue& conversion) { return fmt::format("{}", quillon_integerValue(conversion.find("plan_id"))); }

}  // namespace

Simulator::Simulator(const SimulationStore& store, Options options, double now)
    : options_(std::move(options)),
      threads_(now),
      host_(store.hostFile()),
      random_(randomState(host_.store())),
      mondayCalendar_(options_.timeZone, KLWeekday::Monday),
      sundayCalendar_(options_.timeZone, KLWeekday::Sunday),
      configOptions_(std::make_shared<KLConfigOptions>(SimulatedServer::kURL, host_.registry())),
      manager_(KLManager::create(surroundings(store))) {
  start();
}

Simulator::~Simulator() { close(); }

KLManagerSurroundings Simulator::surroundings(const SimulationStore& store) {
  return {host_.registry(),
          threads_,
          notifications_,
          bridge_,
          hostStore_,
          log_,
          diagnosis_,
          user_,
          {clock_, mondayCalendar_, sundayCalendar_},
          random_,
          network_,
          server_,
          store.directories(),
          [this] {
            return KLPresentationHooks{[this](const auto& campaign) { show(*campaign); }, {}, {}};
          },
          [this] { return std::make_shared<DecisionRecorder>([this](auto record) { records_.push_back(std::move(record)); }); }};
}

void Simulator::start() {
  // The stream brings the configurations: the library asks for the first one, gets none, and never asks for another by itself.
  configOptions_->setFetchPlansInterval(kNever);
  manager_->startWithConfigOptions(configOptions_);
  threads_.run();
  configOptions_->setApiBaseURL("");
  records_.clear();
}

bool Simulator::close() {
  if (!manager_) return true;
  manager_->stop();
  manager_->close();
  manager_.reset();
  host_.store().setObject(static_cast<std::int64_t>(random_.state()), kRandomStateKey);
  return host_.store().synchronize();
}

void Simulator::show(const KLCampaign& campaign) {
  const std::string key = campaign.planID.value_or("");
  shown_ = key;
  const auto plan = manager_->planWithIdentifier(key);
  if (plan && plan->convertWindow) awaited_[key] = {campaign.uuid.value_or(""), host_.distinctId()};
  threads_.mainQueue()->asyncAfter(options_.onScreenSeconds, [this] { notifications_.post(kCampaignDidEndNotification); });
}

SimulationResult Simulator::handle(const SimulationStep& step) {
  threads_.moveTo(step.at);
  SimulationResult result;
  result.at = threads_.now();
  switch (step.operation) {
    case SimulationStep::Operation::Config:
      configure(step.argument, result);
      break;
    case SimulationStep::Operation::Track:
      track(step.argument, result);
      break;
    case SimulationStep::Operation::Convert:
      convert(step.argument);
      break;
    case SimulationStep::Operation::User:
      switchUser(step.argument);
      break;
  }
  if (step.operation != SimulationStep::Operation::Track) result.records = std::exchange(records_, {});
  return result;
}

// The server has an address only meanwhile. At other times the library asks for nothing, such as how popups have converted.
void Simulator::configure(const KLValue& answer, SimulationResult& result) {
  configOptions_->setApiBaseURL(SimulatedServer::kURL);
  server_.setAnswer(answer);
  manager_->fetchCampaignsWithCompletion({});
  threads_.run();
  configOptions_->setApiBaseURL("");
  for (const auto& plan : manager_->trigger()->planManager().sortedPlans()) result.plans.push_back(plan->planId());
}

void Simulator::track(const KLValue& record, SimulationResult& result) {
  const KLValue* const event = record.find("event");
  if (event && !event->isNull()) result.event = quillon_stringValue(event);
  std::optional<PlanVerdicts> verdicts;
  if (options_.wantsVerdicts) verdicts.emplace(manager_->trigger()->planManager(), result.event.value_or(""), threads_.now());
  shown_.reset();
  notifications_.post(kNimbraTrackEventNotification, record);
  threads_.run();
  result.shown = shown_;
  result.records = std::exchange(records_, {});
  if (!verdicts) return;
  result.verdicts = verdicts->after(result.records);
  if (shown_) result.windows = windowsOf(*shown_, result.at);
}

std::vector<SimulatedWindow> Simulator::windowsOf(const std::string& planKey, double at) {
  std::vector<SimulatedWindow> windows{{"on screen", at, at + options_.onScreenSeconds}};
  const auto add = [&windows](const char* kind, const auto& window) {
    if (window && window->endTime > window->startTime) windows.push_back({kind, window->startTime, window->endTime});
  };
  add("between any popups", manager_->trigger()->globalWindows().globalIntervalWindow());
  const auto& plans = manager_->trigger()->planManager().sortedPlans();
  const auto plan = std::ranges::find(plans, planKey, [](const auto& candidate) { return candidate->planId(); });
  if (plan == plans.end()) return windows;
  add("between its popups", (*plan)->popupIntervalWindow());
  add("re-entry", std::as_const(**plan).reEnterWindow());
  add("conversion", (*plan)->convertWindow());
  return windows;
}

void Simulator::convert(const KLValue& conversion) {
  const auto awaited = awaited_.find(planKeyOf(conversion));
  if (awaited == awaited_.end()) return;
  KLObject reported{{"distinct_id", awaited->second.distinctId}, {"popup_display_uuid", awaited->second.uuid}};
  reported.setIfPresent("convert_time", conversion.find("convert_time"));
  const KLValue element = std::move(reported);
  const auto result = KLPopupConvertResult::fromResponseData(&element);
  hostStore_.setObject(result.archivedData(), KLPopupConvertResult::storeKey(awaited->second.uuid));
}

void Simulator::switchUser(const KLValue& user) {
  host_.setIdentity(user);
  notifications_.post(kNimbraTrackLoginNotification);
  threads_.run();
}

}  // namespace kaleo::tools
