#include "text/TimeText.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
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

/// Seconds of the unit that a length of time ends in; 0 for another letter.
double secondsIn(char unit) {
  switch (unit) {
    case 'm':
      return 60;
    case 'h':
      return 3600;
    case 'd':
      return 86400;
    default:
      return 0;
  }
}

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

std::optional<double> instantFrom(const std::string& text, const KLCalendar& calendar, double now) {
  double instant = 0;
  for (const char* pattern :
       {"yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd HH:mm", "yyyy-MM-dd'T'HH:mm:ssXXX", "yyyy-MM-dd'T'HH:mm", "yyyy-MM-dd"}) {
    if (calendar.parseDate(text, pattern, instant)) return instant;
  }
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, instant);
  if (error != std::errc{} || !std::isfinite(instant) || instant < 0) return std::nullopt;
  if (rest == end) return instant;
  const double unit = rest + 1 == end ? secondsIn(*rest) : 0;
  return unit > 0 ? std::optional(now - instant * unit) : std::nullopt;
}

}  // namespace kaleo::tools
