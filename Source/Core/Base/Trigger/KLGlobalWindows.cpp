#include "Core/Base/Trigger/KLGlobalWindows.h"

#include <algorithm>
#include <cmath>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {
namespace {

// What is no number at all would lie inside no window.
std::vector<double> sortedNumbers(const KLValue::Array& times) {
  std::vector<double> numbers(times.size());
  std::ranges::transform(times, numbers.begin(), [](const KLValue& time) { return quillon_doubleValue(&time); });
  std::erase_if(numbers, [](double number) { return std::isnan(number); });
  std::ranges::sort(numbers);
  return numbers;
}

}  // namespace

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
  displayTimes_.reset();
  const auto data = around_.store.globalWindowWithUserId(around_.user.userId(), KLDatabaseProperName::GlobalInterval);
  if (!data) return;
  if (auto window = KLPopupGlobalIntervalWindow::fromArchivedData(*data)) globalIntervalWindow_ = std::move(window);
}

KLGlobalWindows::DisplayTimes& KLGlobalWindows::displayTimes() {
  std::string userId = around_.user.userId();
  if (displayTimes_ && displayTimes_->userId == userId) return *displayTimes_;
  const auto data = around_.store.globalWindowWithUserId(userId, KLDatabaseProperName::GlobalLimit);
  const auto stored = data ? KLKeyedArchive::unarchive(*data, KLPopupGlobalLimit::kClassName) : std::nullopt;
  KLValue times = stored && stored->isArray() ? *stored : KLValue(KLValue::Array{});
  return displayTimes_.emplace(DisplayTimes{std::move(userId), times, sortedNumbers(times.asArray())});
}

const KLValue& KLGlobalWindows::loadGlobalPopupTimeIntervals() { return displayTimes().times; }

std::size_t KLGlobalWindows::popupCountInLimitWindow(const KLPlanWindow& window) {
  const auto& sorted = displayTimes().sorted;
  const auto count = static_cast<std::size_t>(sorted.end() - std::ranges::lower_bound(sorted, window.startTime));
  around_.log.info("Popup had display {} times in global limit window", count);
  return count;
}

void KLGlobalWindows::saveGlobalPopupData() {
  auto& [userId, times, sorted] = displayTimes();
  const double now = around_.time.clock.now();
  KLValue::Array all = times.asArray();
  all.emplace_back(now);
  times = std::move(all);
  sorted.insert(std::ranges::upper_bound(sorted, now), now);
  around_.store.saveGlobalWindowData(KLKeyedArchive::archive(KLPopupGlobalLimit::kClassName, times), userId,
                                     KLDatabaseProperName::GlobalLimit);
}

}  // namespace kaleo
