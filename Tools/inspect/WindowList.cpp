#include "inspect/WindowList.h"

namespace kaleo::tools {
namespace {

using Kind = ListedWindow::Kind;

/// Adds the window of a cell, or why there is none, and answers the window to fill in further; null when there is none.
template <class Window>
ListedWindow* add(std::vector<ListedWindow>& windows, Kind kind, const Stored<Window>& stored) {
  if (stored.isUnreadable()) {
    windows.push_back({kind, false, stored.state == Stored<Window>::State::Locked});
  } else if (const Window* const window = stored.get()) {
    ListedWindow& listed = windows.emplace_back(ListedWindow{kind});
    listed.span = *window;
    return &listed;
  }
  return nullptr;
}

void addTriggers(std::vector<ListedWindow>& windows, const Stored<KLTriggerWindows>& stored, const KLPopupPlanModel* model) {
  if (stored.isUnreadable()) {
    windows.push_back({Kind::Trigger, false, stored.state == Stored<KLTriggerWindows>::State::Locked});
    return;
  }
  if (!stored.get()) return;
  for (const auto& [index, window] : *stored.get()) {
    ListedWindow& listed = windows.emplace_back(ListedWindow{Kind::Trigger});
    listed.matcher = index;
    listed.span = window;
    listed.count = window.count;
    if (!model || index >= model->patternPopup.matcherList.size()) continue;
    const KLPlanPopupMatcher& matcher = model->patternPopup.matcherList[index];
    listed.event = matcher.eventName;
    listed.limit = matcher.triggerCount();
  }
}

}  // namespace

const char* nameOf(Kind kind) {
  switch (kind) {
    case Kind::Trigger:
      return "trigger";
    case Kind::Convert:
      return "convert";
    case Kind::ReEntry:
      return "re_entry";
    default:
      return "interval";
  }
}

std::vector<ListedWindow> windowsOf(const StoredPlan& plan, const KLPopupPlanModel* model) {
  std::vector<ListedWindow> windows;
  addTriggers(windows, plan.triggers, model);
  if (ListedWindow* const convert = add(windows, Kind::Convert, plan.convert))
    convert->uuid = plan.convert.get()->uuid.value_or("");
  add(windows, Kind::Interval, plan.interval);
  if (ListedWindow* const reEnter = add(windows, Kind::ReEntry, plan.reEnter)) {
    reEnter->count = plan.reEnter.get()->count;
    if (model) reEnter->limit = model->reEnter.limit;
  }
  return windows;
}

}  // namespace kaleo::tools
