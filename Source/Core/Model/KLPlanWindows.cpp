#include "Core/Model/KLPlanWindows.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace kaleo {
namespace {

constexpr const char* kTriggerWindowsClassName = "KLTriggerWindows";
constexpr std::int64_t kMinutesPerHour = 60;
constexpr std::int64_t kSecondsPerHour = 3600;

int clamped(std::int64_t amount) {
  return static_cast<int>(std::clamp<std::int64_t>(amount, -std::numeric_limits<int>::max(), std::numeric_limits<int>::max()));
}

std::int64_t negated(std::int64_t amount) { return -std::max(amount, -std::numeric_limits<std::int64_t>::max()); }

double restoredInstant(double instant) {
  if (std::isnan(instant)) return 0;
  return std::clamp(instant, -KLPlanAbstractWindow::kLatestInstant, KLPlanAbstractWindow::kLatestInstant);
}

KLDateComponents periodComponents(KLTimeUnit unit, std::int64_t amount) {
  switch (unit) {
    case KLTimeUnit::Day:
      return {.days = clamped(amount)};
    case KLTimeUnit::Week:
      return {.weeks = clamped(amount)};
    case KLTimeUnit::Month:
      return {.months = clamped(amount)};
    default:
      return {};
  }
}

// Small units carry over into hours, so that long lengths keep their exact value.
KLDateComponents clockComponents(KLTimeUnit unit, std::int64_t amount) {
  switch (unit) {
    case KLTimeUnit::Second:
      return {.seconds = static_cast<int>(amount % kSecondsPerHour), .hours = clamped(amount / kSecondsPerHour)};
    case KLTimeUnit::Minute:
      return {.minutes = static_cast<int>(amount % kMinutesPerHour), .hours = clamped(amount / kMinutesPerHour)};
    case KLTimeUnit::Hour:
      return {.hours = clamped(amount)};
    default:
      return {};
  }
}

}  // namespace

void KLPlanAbstractWindow::compile() {
  startTime = restoredInstant(startTime);
  endTime = restoredInstant(endTime);
}

void KLPlanWindow::startWindow(const KLPlanTime& time) { calculateTime(time); }

void KLPlanWindow::updateWindow(const KLPlanTime& time) {
  if (type == KLWindowType::Forward) {
    endTime = time.calendar.addingComponents(startTime, dateComponents());
  } else {
    startTime = time.calendar.addingComponents(endTime, dateComponents());
  }
}

void KLPlanWindow::calculateTime(const KLPlanTime& time) {
  if (timeModel.natural) {
    calculateNaturalTime(time);
  } else {
    calculateNoNaturalTime(time);
  }
}

void KLPlanWindow::calculateNaturalTime(const KLPlanTime& time) {
  const double now = time.clock.now();
  double anchor = 0;
  switch (timeModel.timeUnit()) {
    case KLTimeUnit::Day:
      anchor = quillon_startOfDay(now, time.calendar);
      break;
    case KLTimeUnit::Week:
      anchor = quillon_startOfWeek(now, time.calendar);
      break;
    case KLTimeUnit::Month:
      anchor = quillon_startOfMonth(now, time.calendar);
      break;
    default:
      startTime = endTime = 0;
      return;
  }
  const double shifted = time.calendar.addingComponents(anchor, naturalComponentsWithWindowType(type));
  startTime = type == KLWindowType::Forward ? anchor : shifted;
  endTime = type == KLWindowType::Forward ? shifted : anchor;
}

void KLPlanWindow::calculateNoNaturalTime(const KLPlanTime& time) {
  const double now = time.clock.now();
  const double shifted = time.calendar.addingComponents(now, componentsWithWindowType(type));
  startTime = type == KLWindowType::Forward ? now : shifted;
  endTime = type == KLWindowType::Forward ? shifted : now;
}

KLDateComponents KLPlanWindow::dateComponents() const {
  return timeModel.natural ? naturalComponentsWithWindowType(type) : componentsWithWindowType(type);
}

KLDateComponents KLPlanWindow::componentsWithWindowType(KLWindowType windowType) const {
  const std::int64_t amount = windowType == KLWindowType::Backward ? negated(timeModel.value) : timeModel.value;
  const KLTimeUnit unit = timeModel.timeUnit();
  const bool isPeriod = unit == KLTimeUnit::Day || unit == KLTimeUnit::Week || unit == KLTimeUnit::Month;
  return isPeriod ? periodComponents(unit, amount) : clockComponents(unit, amount);
}

KLDateComponents KLPlanWindow::naturalComponentsWithWindowType(KLWindowType windowType) const {
  // A backward window leaves out the present period: the calendar units are clamped first, as 1 - value may not fit.
  const std::int64_t units = clamped(timeModel.value);
  return periodComponents(timeModel.timeUnit(), windowType == KLWindowType::Backward ? 1 - units : units);
}

std::optional<std::size_t> KLMatcherIndex(std::string_view key) {
  std::size_t index = 0;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), index);
  const bool isIndex = error == std::errc{} && end == key.data() + key.size() && index < KLParseContext::kMaxListLength;
  return isIndex && std::to_string(index) == key ? std::optional(index) : std::nullopt;
}

KLBytes KLArchivedTriggerWindows(const KLTriggerWindows& windows) {
  KLObject object;
  object.reserve(windows.size());
  for (const auto& [index, window] : windows) object.set(std::to_string(index), window.encode());
  return KLKeyedArchive::archive(kTriggerWindowsClassName, KLValue(std::move(object)));
}

std::optional<KLTriggerWindows> KLTriggerWindowsFromArchivedData(const KLBytes& data) {
  const auto root = KLKeyedArchive::unarchive(data, kTriggerWindowsClassName);
  if (!root || !root->isObject()) return std::nullopt;
  KLTriggerWindows windows;
  for (const auto& [key, archived] : root->asObject()) {
    const auto index = KLMatcherIndex(key);
    if (index && archived.isObject()) windows.emplace(*index, KLPopupTriggerWindow::decode(archived));
  }
  return windows;
}

bool KLPopupConvertWindow::isConverted(const KLStoreManager& store, const KLLog& log) const {
  const std::string display = uuid.value_or("");
  const auto data = store.dataForKey(KLPopupConvertResult::storeKey(display));
  if (!data) {
    log.info("Convert result for uuid: {} is NO", display);
    return false;
  }
  const auto result = KLPopupConvertResult::fromArchivedData(*data);
  const bool converted = result && result->isConverted();
  log.info("Convert result for uuid: {} is {}", display, converted ? "YES" : "NO");
  return converted;
}

KLPopupConvertResult KLPopupConvertResult::fromResponseData(const KLValue* data) {
  KLParseContext context;
  KLPopupConvertResult result;
  KLFields::parse(result, data, context);
  return result;
}

}  // namespace kaleo
