#include "inspect/HoldingBack.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>

#include "rules/DisplayTimes.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

constexpr double kDay = 86400, kCentury = 100 * 365.25 * kDay;

KLPlanTime at(double instant, const KLPlanTime& time, std::optional<FixedClock>& clock) {
  return {clock.emplace(instant), time.calendar, time.sundayCalendar};
}

KLPlanLimitWindow limitWindow(const KLPlanLimitModel& limit, const KLPlanTime& time) {
  KLPlanLimitWindow window;
  window.type = KLWindowType::Backward;
  window.timeModel = limit.timeModel();
  window.startWindow(time);
  return window;
}

/// The first instant from now on at which the window of `limit` begins after `display`: the beginning only moves on. To the second.
std::optional<double> leavesWindow(double display, const KLPlanLimitModel& limit, const KLPlanTime& time) {
  const auto isOut = [&](double instant) {
    std::optional<FixedClock> clock;
    return limitWindow(limit, at(instant, time, clock)).startTime > display;
  };
  double inside = time.clock.now(), outside = inside + 1;
  for (double step = 1; !isOut(outside); step *= 2) {
    if (step > kCentury) return std::nullopt;
    inside = outside;
    outside += step;
  }
  while (outside - inside > 0.5) {
    const double middle = (inside + outside) / 2;
    (isOut(middle) ? outside : inside) = middle;
  }
  return outside;
}

class Holds {
 public:
  Holds(const KLPopupPlanModel& plan, const StoredUser& user, const StoredPlan* windows, const KLPlanTime& time)
      : plan_(plan), user_(user), windows_(windows), time_(time), now_(time.clock.now()) {}

  std::vector<Hold> find() {
    if (plan_.isExpired(now_)) add({HoldReason::Expired});
    if (!plan_.isActive()) add({HoldReason::NotActive});
    if (!plan_.isAudience) add({HoldReason::NotAudience});
    findDisplayTime();
    if (windows_) findRunning(windows_->convert.get(), HoldReason::ConvertWindow);
    findRunning(user_.globalInterval.get(), HoldReason::GlobalInterval);
    if (windows_) findRunning(windows_->interval.get(), HoldReason::PlanInterval);
    if (plan_.patternPopup.isUnsupported()) add({HoldReason::NeverMatches});
    findGlobalLimit();
    findReEntry();
    if (plan_.isControlGroup) add({HoldReason::ControlGroup});
    return std::move(holds_);
  }

 private:
  void add(Hold hold) { holds_.push_back(hold); }

  void findDisplayTime() {
    if (!plan_.repeatDisplay) return;
    const DisplayTimes times = displayTimesAt(*plan_.repeatDisplay, time_);
    if (!times.isOpen) add({HoldReason::DisplayTime, times.opensAt});
  }

  void findRunning(const KLPlanAbstractWindow* window, HoldReason reason) {
    if (window && !window->isFinished(now_)) add({reason, window->endTime});
  }

  void findGlobalLimit() {
    const auto* const config = user_.config.get();
    if (!config || !(*config)->globalLimitModel.isInUse || !plan_.globalMsgLimitEnabled) return;
    static const std::vector<double> kNone;
    const auto* const displays = user_.displays.get();
    for (const KLPlanLimitModel& limit : (*config)->globalLimitModel.limits) {
      const LimitUse use = useOfLimit(limit, displays ? *displays : kNone, time_);
      if (use.count >= limit.limit) add({HoldReason::GlobalLimit, use.freeAt, use.count, limit.limit});
    }
  }

  void findReEntry() {
    const auto* const window = windows_ ? windows_->reEnter.get() : nullptr;
    const std::int64_t limit = plan_.reEnter.limit;
    if (!window || window->isFinished(now_) || window->count < limit) return;
    add({HoldReason::ReEntry, window->endTime, window->count, limit});
  }

  const KLPopupPlanModel& plan_;
  const StoredUser& user_;
  const StoredPlan* const windows_;
  const KLPlanTime& time_;
  const double now_;
  std::vector<Hold> holds_;
};

}  // namespace

const char* nameOf(HoldReason reason) {
  constexpr std::array names = {"expired",        "not_active",      "not_audience",  "display_time",
                                "convert_window", "global_interval", "plan_interval", "never_matches",
                                "global_limit",   "re_entry",        "control_group"};
  return names[static_cast<std::size_t>(reason)];
}

std::vector<Hold> holdsOf(const KLPopupPlanModel& plan, const StoredUser& user, const StoredPlan* windows, const KLPlanTime& time) {
  return Holds(plan, user, windows, time).find();
}

LimitUse useOfLimit(const KLPlanLimitModel& limit, const std::vector<double>& displays, const KLPlanTime& time) {
  LimitUse use{limitWindow(limit, time)};
  std::vector<double> inside;
  std::ranges::copy_if(displays, std::back_inserter(inside), [&](double shown) { return shown >= use.window.startTime; });
  use.count = static_cast<std::int64_t>(inside.size());
  if (use.count < limit.limit || limit.limit <= 0) return use;
  // All but limit - 1 of the popups must have left; the newest of these leaves last.
  std::ranges::sort(inside, std::ranges::greater{});
  use.freeAt = leavesWindow(inside[static_cast<std::size_t>(limit.limit - 1)], limit, time);
  return use;
}

}  // namespace kaleo::tools
