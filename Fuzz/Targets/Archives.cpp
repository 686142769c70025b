// Any bytes as what is kept on disk: each model and window restored from them, put to work, and kept once more. A JSON input is
// first archived under the name of each class, so that the fields are reached and not only the container.
#include "Core/Model/KLPlanWindows.h"
#include "Core/Model/KLPopupConfig.h"
#include "Foundation/KLCalendar.h"
#include "Foundation/KLJSON.h"
#include "Support/FakeClock.h"
#include "Target.h"

namespace kaleo::fuzz {
namespace {

struct Archives {
  /// The input as an archive of `className`; nothing when it is no JSON either.
  KLBytes of(const char* className) const { return json ? KLKeyedArchive::archive(className, *json) : bytes; }

  KLBytes bytes;
  std::optional<KLValue> json = KLJSON::parse(bytes);
};

const KLPlanTime& planTime() {
  static const testing::FakeClock clock;
  static const KLCalendar monday("Europe/Berlin", KLWeekday::Monday);
  static const KLCalendar sunday("Europe/Berlin", KLWeekday::Sunday);
  static const KLPlanTime time{clock, monday, sunday};
  return time;
}

void work(KLPlanWindow& window) {
  window.updateWindow(planTime());
  window.isFinished(planTime().clock.now());
  window.startWindow(planTime());
}

template <class Model>
void requireSameAgain(const Model& restored) {
  const auto again = Model::fromArchivedData(restored.archivedData());
  require(again && *again == restored, "what was restored can be kept and restored");
}

template <class Window>
void restoreWindow(const Archives& archives) {
  auto window = Window::fromArchivedData(archives.of(Window::kClassName));
  if (!window) return;
  requireSameAgain(*window);
  work(*window);
  requireSameAgain(*window);
}

void restoreTriggerWindows(const Archives& archives) {
  auto windows = KLTriggerWindowsFromArchivedData(archives.of("KLTriggerWindows"));
  if (!windows) return;
  for (auto& [index, window] : *windows) work(window);
  const auto again = KLTriggerWindowsFromArchivedData(KLArchivedTriggerWindows(*windows));
  require(again == windows, "trigger windows can be kept and restored");
}

void restoreConfig(const Archives& archives) {
  const auto config = KLPopupConfig::fromArchivedData(archives.of("KLPopupConfig"));
  if (!config) return;
  const auto again = KLPopupConfig::fromArchivedData(config->archivedData());
  require(again && again->encode() == config->encode(), "a restored configuration can be kept and restored");
  for (const auto& plan : config->popupPlanModels) {
    plan->isExpired(planTime().clock.now());
    if (auto display = plan->repeatDisplay) display->isInDisplayCycle(planTime());
  }
}

}  // namespace
}  // namespace kaleo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kaleo;
  const fuzz::Archives archives{KLBytes(data, data + size)};
  fuzz::restoreWindow<KLPopupReEnterWindow>(archives);
  fuzz::restoreWindow<KLPopupTriggerWindow>(archives);
  fuzz::restoreWindow<KLPopupConvertWindow>(archives);
  fuzz::restoreWindow<KLPopupIntervalWindow>(archives);
  fuzz::restoreWindow<KLPopupGlobalIntervalWindow>(archives);
  if (const auto result = KLPopupConvertResult::fromArchivedData(archives.of(KLPopupConvertResult::kClassName))) {
    fuzz::requireSameAgain(*result);
  }
  fuzz::restoreTriggerWindows(archives);
  fuzz::restoreConfig(archives);
  return 0;
}
