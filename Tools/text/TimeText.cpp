#include "text/TimeText.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstdint>

namespace kaleo::tools {
namespace {

constexpr double kLastInstant = 253402300799;  // of the year 9999
constexpr std::int64_t kSecondsPerMinute = 60;

struct Unit {
  std::int64_t seconds;
  const char* name;
};
constexpr std::array kUnits = {Unit{31557600, "a"}, Unit{86400, "d"}, Unit{3600, "h"}, Unit{kSecondsPerMinute, "min"},
                               Unit{1, "s"}};

bool isDate(double instant) { return std::fabs(instant) <= kLastInstant && instant != 0; }  // false for NaN

}  // namespace

std::string TimeText::at(double instant) const {
  if (!isDate(instant)) return instant > 0 ? "never" : "-";
  const bool isWholeMinute = static_cast<std::int64_t>(std::floor(instant)) % kSecondsPerMinute == 0;
  return calendar_.formatDate(instant, isWholeMinute ? "yyyy-MM-dd HH:mm xxx" : "yyyy-MM-dd HH:mm:ss xxx");
}

std::string TimeText::away(double instant) const {
  const double seconds = instant - now_;
  if (std::fabs(seconds) < 1) return "now";
  return seconds > 0 ? "in " + length(seconds) : length(-seconds) + " ago";
}

std::string TimeText::full(double instant) const {
  return isDate(instant) ? fmt::format("{} ({})", at(instant), away(instant)) : at(instant);
}

std::string TimeText::length(double seconds) {
  if (!(std::fabs(seconds) <= kLastInstant)) return "for ever";
  auto rest = static_cast<std::int64_t>(seconds);
  for (std::size_t i = 0; i < kUnits.size(); ++i) {
    const std::int64_t count = rest / kUnits[i].seconds;
    if (count == 0 && i + 1 < kUnits.size()) continue;
    std::string text = fmt::format("{} {}", count, kUnits[i].name);
    rest %= kUnits[i].seconds;
    if (i + 1 < kUnits.size()) {
      if (const std::int64_t second = rest / kUnits[i + 1].seconds) text += fmt::format(" {} {}", second, kUnits[i + 1].name);
    }
    return text;
  }
  return {};
}

}  // namespace kaleo::tools
