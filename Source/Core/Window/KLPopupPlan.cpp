#include "Core/Window/KLPopupPlan.h"

#include <utility>

#include "Core/Model/KLEventName.h"

namespace kaleo {
namespace {

constexpr const char* kAllWindows = "all_window";
constexpr const char* kTriggerWindow = "trigger_window";
constexpr const char* kConvertWindow = "convert_window";

// What cannot be restored leaves the window in memory as it is.
template <class Window>
void restore(std::optional<Window>& window, const std::optional<KLBytes>& data) {
  if (!data) return;
  if (auto restored = Window::fromArchivedData(*data)) window = std::move(restored);
}

template <class Window>
std::optional<KLBytes> archived(const std::optional<Window>& window) {
  return window ? std::optional(window->archivedData()) : std::nullopt;
}

template <class Window>
Window started(const KLPlanTimeModel& timeModel, const KLPlanTime& time) {
  Window window;
  window.timeModel = timeModel;
  window.startWindow(time);
  return window;
}

}  // namespace

KLPopupPlan::KLPopupPlan(std::shared_ptr<const KLPopupPlanModel> planModel, const KLPopupPlanSurroundings& surroundings)
    : planModel_(std::move(planModel)), surroundings_(surroundings), repeatDisplay_(planModel_->repeatDisplay) {}

void KLPopupPlan::loadPlan() {
  logLoad();
  KaleoDataStore::PlanWindows stored;
  for (const Kind kind : {Kind::ConvertWindow, Kind::IntervalWindow, Kind::ReEnterWindow, Kind::TriggerWindows}) {
    stored[static_cast<std::size_t>(kind)] = read(kind);
  }
  restoreWindows(stored);
}

void KLPopupPlan::loadPlan(const KaleoDataStore::PlanWindows& stored) {
  logLoad();
  restoreWindows(stored);
}

void KLPopupPlan::logLoad() const {
  surroundings_.log.info("Load data for plan: {}, include reEnter window, convert window, interval window, trigger windows",
                         planModel_->planID);
}

void KLPopupPlan::restoreWindows(const KaleoDataStore::PlanWindows& stored) {
  restore(convertWindow_, stored[static_cast<std::size_t>(Kind::ConvertWindow)]);
  restore(popupIntervalWindow_, stored[static_cast<std::size_t>(Kind::IntervalWindow)]);
  restore(reEnterWindow_, stored[static_cast<std::size_t>(Kind::ReEnterWindow)]);
  const auto& triggers = stored[static_cast<std::size_t>(Kind::TriggerWindows)];
  if (!triggers) return;
  if (auto restored = KLTriggerWindowsFromArchivedData(*triggers)) triggerWindows_ = std::move(*restored);
}

bool KLPopupPlan::patternMatchWithEvent(const KLValue& event) {
  KLValue record = event;
  const KLDecisionBatch decisions(surroundings_.diagnosis, surroundings_.time.clock.now(), &record);
  return matchPattern(event, KLEventName(event).text(), [&](std::size_t matcher) {
    return planModel_->patternPopup.matcherList[matcher].isMatchedEvent(event, surroundings_.time.calendar);
  });
}

bool KLPopupPlan::patternMatchWithEvent(const KLValue& event, KLMatcherTable& table, std::size_t plan) {
  const KLCalendar& calendar = surroundings_.time.calendar;
  return matchPattern(event, table.eventName(), [&](std::size_t matcher) { return table.isMatched(plan, matcher, calendar); });
}

template <class IsMatched>
bool KLPopupPlan::matchPattern(const KLValue& event, std::string_view name, IsMatched&& isMatched) {
  const KLLog& log = surroundings_.log;
  log.info("Pattern match check for event: {}", name);
  const KLPlanPopupPattern& pattern = planModel_->patternPopup;
  if (pattern.isUnsupported()) {
    log.info("Pattern relation is 'AND', does not support now, return not match by default");
    return false;
  }
  if (!planModel_->permissionFilter.matchWithEvent(event, surroundings_.time.calendar)) {
    log.info("Event permissions match check for event: {} {}", name, "not satisfy");
    return false;
  }
  const bool matched = countEventInMatchers(isMatched);
  log.info("Pattern match check for event: {} {}", name, matched ? "satisfy" : "not satisfy");
  return matched;
}

// Every matcher counts for itself, so none is skipped. The windows are written once, after all of them.
template <class IsMatched>
bool KLPopupPlan::countEventInMatchers(IsMatched&& isMatched) {
  const auto& matchers = planModel_->patternPopup.matcherList;
  bool matched = false;
  bool counted = false;
  for (std::size_t index = 0; index < matchers.size(); ++index) {
    if (isMatched(index)) {
      matched |= countEvent(matchers[index], index);
      counted = true;
    } else {
      surroundings_.log.info("Event does not match pattern match filters");
      recordPropertiesCheck(index);
    }
  }
  if (counted) storeTriggerWindows();
  return matched;
}

bool KLPopupPlan::countEvent(const KLPlanPopupMatcher& matcher, std::size_t index) {
  const auto found = triggerWindows_.find(index);
  const bool isOpen = found != triggerWindows_.end() && !found->second.isFinished(surroundings_.time.clock.now());
  KLPopupTriggerWindow& window = isOpen ? found->second : createTriggerWindow(matcher, index);
  ++window.count;
  logTriggerWindowSave(window, index);
  if (window.count >= matcher.triggerCount()) return true;
  recordTriggerCount(window, matcher.triggerCount());
  return false;
}

bool KLPopupPlan::isInDisplayCycle() { return !repeatDisplay_ || repeatDisplay_->isInDisplayCycle(surroundings_.time); }

bool KLPopupPlan::isConverted() const {
  return convertWindow_ && convertWindow_->isConverted(surroundings_.hostStore, surroundings_.log);
}

void KLPopupPlan::recordPropertiesCheck(std::size_t index) const {
  if (!surroundings_.diagnosis.get()) return;
  KLDecision decision{.kind = KLDecision::Kind::PropertiesCheck, .planID = planModel_->planID};
  if (const auto window = triggerWindows_.find(index); window != triggerWindows_.end()) {
    decision.windowStart = window->second.startTime;
    decision.windowEnd = window->second.endTime;
  }
  surroundings_.diagnosis.add(decision);
}

void KLPopupPlan::recordTriggerCount(const KLPopupTriggerWindow& window, std::int64_t needed) const {
  if (!surroundings_.diagnosis.get()) return;
  surroundings_.diagnosis.add({.kind = KLDecision::Kind::TriggerCount,
                               .planID = planModel_->planID,
                               .windowStart = window.startTime,
                               .windowEnd = window.endTime,
                               .count = window.count,
                               .limit = needed});
}

const KLPopupTriggerWindow* KLPopupPlan::triggerWindowForKey(std::string_view key) const {
  const auto index = KLMatcherIndex(key);
  const auto found = index ? triggerWindows_.find(*index) : triggerWindows_.end();
  return found == triggerWindows_.end() ? nullptr : &found->second;
}

KLPopupTriggerWindow& KLPopupPlan::createTriggerWindow(const KLPlanPopupMatcher& matcher, std::size_t index) {
  surroundings_.log.info("Create trigger window for plan: {} at matcher index: {}", planModel_->planID, index);
  return triggerWindows_[index] = started<KLPopupTriggerWindow>(matcher.timeModel, surroundings_.time);
}

void KLPopupPlan::saveTriggerWindow(const KLPopupTriggerWindow& window, std::size_t index) {
  logTriggerWindowSave(window, index);
  storeTriggerWindows();
}

void KLPopupPlan::logTriggerWindowSave(const KLPopupTriggerWindow& window, std::size_t index) const {
  surroundings_.log.info("Save trigger window for plan: {} at matcher index: {}, count is {}", planModel_->planID, index,
                         window.count);
}

void KLPopupPlan::storeTriggerWindows() { save(KLArchivedTriggerWindows(triggerWindows_), Kind::TriggerWindows); }

void KLPopupPlan::deleteTriggerWindows() {
  surroundings_.log.info("Delete all trigger windows for plan: {}", planModel_->planID);
  triggerWindows_.clear();
  storeTriggerWindows();
}

void KLPopupPlan::createConvertWindow(const std::string& popupUUID) {
  surroundings_.log.info("Create convert window for plan: {}", planModel_->planID);
  convertWindow_ = started<KLPopupConvertWindow>(planModel_->convertWindow.value_or(KLPlanTimeModel{}), surroundings_.time);
  convertWindow_->uuid = popupUUID;
  saveConvertWindow();
}

void KLPopupPlan::updateConvertWindow() {
  restore(convertWindow_, read(Kind::ConvertWindow));
  if (convertWindow_) {
    convertWindow_->timeModel = planModel_->convertWindow.value_or(KLPlanTimeModel{});
    convertWindow_->updateWindow(surroundings_.time);
  }
  saveConvertWindow();
}

void KLPopupPlan::saveConvertWindow() { save(archived(convertWindow_), Kind::ConvertWindow); }

void KLPopupPlan::deleteConvertWindow() {
  surroundings_.log.info("Delete convert window for plan: {}", planModel_->planID);
  convertWindow_.reset();
  save(std::nullopt, Kind::ConvertWindow);
}

void KLPopupPlan::createIntervalWindow() {
  popupIntervalWindow_ = started<KLPopupIntervalWindow>(planModel_->popupInterval, surroundings_.time);
  saveIntervalWindow();
}

void KLPopupPlan::saveIntervalWindow() {
  surroundings_.log.info("Save interval window for plan: {}", planModel_->planID);
  save(archived(popupIntervalWindow_), Kind::IntervalWindow);
}

void KLPopupPlan::deleteIntervalWindow() {
  surroundings_.log.info("Delete interval window for plan: {}", planModel_->planID);
  popupIntervalWindow_.reset();
  save(std::nullopt, Kind::IntervalWindow);
}

void KLPopupPlan::createReEnter() {
  surroundings_.log.info("Create reEnter window for plan: {}", planModel_->planID);
  reEnterWindow_ = started<KLPopupReEnterWindow>(planModel_->reEnter.timeModel(), surroundings_.time);
  ++reEnterWindow_->count;  // the popup that opens the window counts
  surroundings_.log.info("Current reEnter window count is: {}", reEnterWindow_->count);
  saveReEnter();
}

void KLPopupPlan::saveReEnter() {
  surroundings_.log.info("Save reEnter window for plan: {}", planModel_->planID);
  save(archived(reEnterWindow_), Kind::ReEnterWindow);
}

void KLPopupPlan::deleteReEnter() {
  surroundings_.log.info("Delete reEnter window for plan: {}", planModel_->planID);
  reEnterWindow_.reset();
  save(std::nullopt, Kind::ReEnterWindow);
}

void KLPopupPlan::deletePlan() {
  surroundings_.log.info("Delete all data for plan: {}, include reEnter window, convert window, interval window, trigger windows",
                         planModel_->planID);
  deleteReEnter();
  deleteConvertWindow();
  deleteIntervalWindow();
  deleteTriggerWindows();
}

void KLPopupPlan::updatePlanWindows(const std::vector<std::string>& windowKinds) {
  for (const std::string& kind : windowKinds) {
    if (kind == kAllWindows) deletePlan();
    if (kind == kTriggerWindow) deleteTriggerWindows();
    if (kind == kConvertWindow) updateConvertWindow();
  }
}

std::optional<KLBytes> KLPopupPlan::read(Kind kind) const {
  return surroundings_.dataStore.planWindowWithUserId(surroundings_.currentUser.userId(), planId(), kind);
}

void KLPopupPlan::save(std::optional<KLBytes> data, Kind kind) {
  surroundings_.dataStore.saveWindowData(std::move(data), kind, surroundings_.currentUser.userId(), planId());
}

}  // namespace kaleo
