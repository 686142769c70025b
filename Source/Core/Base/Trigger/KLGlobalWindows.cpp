#include "Core/Base/Trigger/KLGlobalWindows.h"

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {

void KLGlobalWindows::createGlobalIntervalWindow(const KLPopupConfig& config) {
  around_.log.info("Create global interval window");
  KLPopupGlobalIntervalWindow window;
  window.timeModel = config.globalIntervalModel;
  window.startWindow(around_.time);
  around_.log.info("global interval window startTime is {:f}, endTime is {:f}", window.startTime, window.endTime);
  globalIntervalWindow_ = std::move(window);
  saveGlobalIntervalWindow();
}

void KLGlobalWindows::saveGlobalIntervalWindow() {
  around_.log.info("Save global interval window");
  around_.store.saveGlobalWindowData(globalIntervalWindow_->archivedData(), around_.user.userId(),
                                     KLDatabaseProperName::GlobalInterval);
}

void KLGlobalWindows::deleteGlobalIntervalWindow() {
  globalIntervalWindow_.reset();
  around_.store.saveGlobalWindowData(std::nullopt, around_.user.userId(), KLDatabaseProperName::GlobalInterval);
}

void KLGlobalWindows::loadGlobalWindow() {
  around_.log.info("Load global interval window data");
  const auto data = around_.store.globalWindowWithUserId(around_.user.userId(), KLDatabaseProperName::GlobalInterval);
  if (!data) return;
  if (auto window = KLPopupGlobalIntervalWindow::fromArchivedData(*data)) globalIntervalWindow_ = std::move(window);
}

KLValue::Array KLGlobalWindows::loadGlobalPopupTimeIntervals() const {
  const auto data = around_.store.globalWindowWithUserId(around_.user.userId(), KLDatabaseProperName::GlobalLimit);
  if (!data) return {};
  const auto times = KLKeyedArchive::unarchive(*data, KLPopupGlobalLimit::kClassName);
  return times ? times->asArray() : KLValue::Array{};
}

KLValue::Array KLGlobalWindows::popupIntervalsInLimitWindow(const KLPlanWindow& window) const {
  KLValue::Array inside;
  for (const KLValue& time : loadGlobalPopupTimeIntervals()) {
    if (quillon_doubleValue(&time) >= window.startTime) inside.push_back(time);
  }
  around_.log.info("Popup had display {} times in global limit window", inside.size());
  return inside;
}

void KLGlobalWindows::saveGlobalPopupData() {
  KLValue::Array times = loadGlobalPopupTimeIntervals();
  times.emplace_back(around_.time.clock.now());
  around_.store.saveGlobalWindowData(KLKeyedArchive::archive(KLPopupGlobalLimit::kClassName, std::move(times)),
                                     around_.user.userId(), KLDatabaseProperName::GlobalLimit);
}

}  // namespace kaleo
