#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "inspect/HoldingBack.h"
#include "inspect/Inspection.h"
#include "inspect/WindowList.h"
#include "text/Counted.h"
#include "text/Table.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

constexpr std::size_t kIndent = 2;

template <class Value>
const char* faultOf(const Stored<Value>& stored) {
  return stored.state == Stored<Value>::State::Locked ? "encrypted" : "damaged";
}

/// "2 HOUR", "1 natural DAY".
std::string lengthOf(const KLPlanTimeModel& model) {
  return fmt::format("{}{} {}", model.value, model.natural ? " natural" : "", printable(model.unit.value_or("?")));
}

class Writer {
 public:
  Writer(const Inspection& inspection, bool coloured)
      : inspection_(inspection), paint_(coloured), times_(inspection.time.calendar, inspection.time.clock.now()) {}

  std::string write() {
    const StoredState& state = inspection_.state;
    text_ = fmt::format("{}: {}, {}, schema version {}. Read at {}.\n",
                        paint_(Tone::Heading, printable(inspection_.file.filename().string())), counted(state.users.size(), "user"),
                        state.encryptedRows == 0 ? "not encrypted" : "encrypted", state.schemaVersion, times_.at(times_.now()));
    for (const std::string& remark : inspection_.remarks) text_ += paint_(Tone::Bad, "Note: ") + remark + '\n';
    for (const StoredUser& user : state.users) write(user);
    return std::move(text_);
  }

 private:
  void line(const char* name, const std::string& value) { text_ += fmt::format("  {:<15}{}\n", name, value); }

  void write(const StoredUser& user) {
    text_ += '\n' + paint_(Tone::Heading, fmt::format("User {}", user.id.label()));
    text_ += user.project.empty() ? "\n" : fmt::format(", project {}\n", printable(user.project));
    for (const StoredName& name : user.names) {
      line("known as", fmt::format("{}, saved {}", name.distinctId.label(), times_.full(name.savedAt)));
    }
    if (user.changedAt != 0) line("last change", times_.full(user.changedAt));
    writeConfiguration(user);
    writeQuietPeriod(user);
    writeDisplays(user);
    writePlans(user);
    writeWindows(user);
  }

  void writeConfiguration(const StoredUser& user) {
    if (user.config.isUnreadable()) return line("configuration", faultOf(user.config));
    const auto* const config = user.config.get();
    if (!config) return line("configuration", "none");
    line("configuration", counted((*config)->popupPlanModels.size(), "plan"));
  }

  void writeQuietPeriod(const StoredUser& user) {
    if (user.globalInterval.isUnreadable()) return line("quiet period", faultOf(user.globalInterval));
    const auto* const window = user.globalInterval.get();
    if (!window || window->isFinished(times_.now())) return line("quiet period", "none is running");
    line("quiet period", fmt::format("until {}: {} after any popup", times_.full(window->endTime), lengthOf(window->timeModel)));
  }

  void writeDisplays(const StoredUser& user) {
    if (user.displays.isUnreadable()) return line("popups shown", faultOf(user.displays));
    const std::vector<double> shown = user.displays.get() ? *user.displays.get() : std::vector<double>();
    line("popups shown", shown.empty()
                             ? "none"
                             : fmt::format("{}, the last one at {}", shown.size(), times_.full(*std::ranges::max_element(shown))));
    const auto* const config = user.config.get();
    if (!config || !(*config)->globalLimitModel.isInUse) return;
    for (const KLPlanLimitModel& limit : (*config)->globalLimitModel.limits) {
      const LimitUse use = useOfLimit(limit, shown, inspection_.time);
      line("global limit", fmt::format("{} of {} in {}{}", use.count, limit.limit, lengthOf(limit),
                                       use.freeAt                 ? ", until " + times_.full(*use.freeAt)
                                       : use.count >= limit.limit ? ", for ever"
                                                                  : ""));
    }
  }

  void writePlans(const StoredUser& user) {
    const auto* const config = user.config.get();
    if (!config || (*config)->popupPlanModels.empty()) return;
    auto plans = (*config)->popupPlanModels;
    std::ranges::stable_sort(plans, std::ranges::greater{},
                             [](const auto& plan) { return std::tuple(plan->absolutePriority, plan->planID); });
    Table table({"PLAN", "PRIORITY", "NAME", "CAN SHOW"});
    for (const auto& plan : plans) {
      const StoredPlan* const windows = user.windowsOf(*plan);
      const auto holds = holdsOf(*plan, user, windows, inspection_.time);
      if (holds.empty()) addPlan(table, *plan, {whenItShows(*plan, windows), Tone::Good});
      for (std::size_t i = 0; i < holds.size(); ++i) {
        if (i == 0) addPlan(table, *plan, {"no: " + textOf(holds[i]), Tone::Bad});
        if (i > 0) table.add({{}, {}, {}, {"and " + textOf(holds[i]), Tone::Bad}});
      }
    }
    text_ += '\n' + table.text(paint_, kIndent);
  }

  static void addPlan(Table& table, const KLPopupPlanModel& plan, Table::Cell verdict) {
    table.add(
        {{plan.planKey()}, {fmt::format("{}", plan.absolutePriority)}, {printable(plan.cname.value_or(""))}, std::move(verdict)});
  }

  std::string until(const Hold& hold) const { return hold.until ? "until " + times_.full(*hold.until) : std::string("for ever"); }

  std::string textOf(const Hold& hold) const {
    switch (hold.reason) {
      case HoldReason::Expired:
        return "it has expired";
      case HoldReason::NotActive:
        return "it is not active";
      case HoldReason::NotAudience:
        return "the user is not in its audience";
      case HoldReason::DisplayTime:
        return hold.until ? "not at this time of day; next at " + times_.full(*hold.until) : "at no time of day";
      case HoldReason::ConvertWindow:
        return "its last popup may still convert, " + until(hold);
      case HoldReason::GlobalInterval:
        return "quiet period after any popup, " + until(hold);
      case HoldReason::PlanInterval:
        return "its own quiet period, " + until(hold);
      case HoldReason::NeverMatches:
        return "its matchers are joined by AND, which never matches";
      case HoldReason::GlobalLimit:
        return fmt::format("global limit, {} of {} popups, {}", hold.count, hold.limit, until(hold));
      case HoldReason::ReEntry:
        return fmt::format("re-entry, {} of {} popups, {}", hold.count, hold.limit, until(hold));
      default:
        return "the user is in its control group: what would show is only counted";
    }
  }

  /// The event that is closest to making the popup due.
  std::string whenItShows(const KLPopupPlanModel& plan, const StoredPlan* windows) const {
    std::int64_t fewest = std::numeric_limits<std::int64_t>::max();
    std::string event;
    for (std::size_t i = 0; i < plan.patternPopup.matcherList.size(); ++i) {
      const KLPlanPopupMatcher& matcher = plan.patternPopup.matcherList[i];
      const std::int64_t missing = std::max<std::int64_t>(matcher.triggerCount() - eventsIn(windows, i), 1);
      if (missing >= fewest) continue;
      fewest = missing;
      event = matcher.eventName.value_or("");
    }
    if (event.empty()) return "no event matches it";
    return fewest == 1 ? "at the next " + printable(event) : fmt::format("after {} more of {}", fewest, printable(event));
  }

  std::int64_t eventsIn(const StoredPlan* windows, std::size_t matcher) const {
    const auto* const triggers = windows ? windows->triggers.get() : nullptr;
    const auto found = triggers ? triggers->find(matcher) : KLTriggerWindows::const_iterator();
    return triggers && found != triggers->end() && !found->second.isFinished(times_.now()) ? found->second.count : 0;
  }

  void writeWindows(const StoredUser& user) {
    Table table({"PLAN", "WINDOW", "START", "END", "COUNT", "NOW"});
    for (const StoredPlan& plan : user.plans) {
      const KLPopupPlanModel* const model = user.modelOf(plan);
      for (const ListedWindow& window : windowsOf(plan, model)) addRow(table, plan.id.label() + (model ? "" : " *"), window);
    }
    if (table.empty()) return;
    text_ += '\n' + table.text(paint_, kIndent);
    if (std::ranges::any_of(user.plans,
                            [&](const StoredPlan& plan) { return !user.modelOf(plan) && !windowsOf(plan, nullptr).empty(); })) {
      text_ += "  * not in the configuration\n";
    }
  }

  void addRow(Table& table, const std::string& plan, const ListedWindow& window) const {
    if (!window.isReadable) {
      table.add({{plan}, {titleOf(window)}, {""}, {""}, {""}, {window.isLocked ? "encrypted" : "damaged", Tone::Bad}});
      return;
    }
    const bool isRunning = !window.span.isFinished(times_.now());
    const std::string count = !window.count  ? ""
                              : window.limit ? fmt::format("{} of {}", *window.count, *window.limit)
                                             : fmt::format("{}", *window.count);
    table.add({{plan},
               {titleOf(window)},
               {times_.at(window.span.startTime)},
               {times_.at(window.span.endTime)},
               {count},
               {isRunning ? "running, ends " + times_.away(window.span.endTime) : "ended " + times_.away(window.span.endTime),
                isRunning ? Tone::Plain : Tone::Faint}});
  }

  static std::string titleOf(const ListedWindow& window) {
    switch (window.kind) {
      case ListedWindow::Kind::Trigger:
        return window.event     ? "trigger, " + printable(*window.event)
               : window.matcher ? fmt::format("trigger {}", *window.matcher)
                                : "trigger";
      case ListedWindow::Kind::Convert:
        return "convert";
      case ListedWindow::Kind::ReEntry:
        return "re-entry";
      default:
        return "quiet period";
    }
  }

  const Inspection& inspection_;
  const Painter paint_;
  const TimeText times_;
  std::string text_;
};

}  // namespace

std::string inspectionText(const Inspection& inspection, bool coloured) { return Writer(inspection, coloured).write(); }

}  // namespace kaleo::tools
