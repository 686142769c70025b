#include <fmt/format.h>

#include <QAbstractEventDispatcher>
#include <QWindow>
#include <optional>

#include "cost/ProcessFigures.h"
#include "window/Measurements.h"
#include "window/SamplePopups.h"
#include "window/Watch.h"

// Whether popups that were shown and dismissed leave anything behind.

namespace kaleo::bench {
namespace {

constexpr int kPopups = 1000;
constexpr int kMarks[] = {10, 100, 500, 1000};
constexpr double kQuickSeconds = 0.03;

/// What could remain, counted.
struct Remains {
  qsizetype widgets, windows;
  std::size_t timers;
  bool operator==(const Remains&) const = default;
};

std::size_t timersOf(const QObject& object) {
  std::size_t count = 0;
  for (QObject* child : object.findChildren<QObject*>()) {
    count += static_cast<std::size_t>(QAbstractEventDispatcher::instance()->registeredTimers(child).size());
  }
  return count;
}

Remains remains(const HostWindow& window) {
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  return {QApplication::allWidgets().size(), QGuiApplication::allWindows().size(), timersOf(window)};
}

}  // namespace

int costOfManyPopups() {
  HostWindow window;
  SamplePopups popups;
  const auto layouts = sampleLayouts();
  std::optional<Remains> before;  // after the first one, with which Qt makes a widget of its own that stays
  fmt::print("{} sample popups shown and dismissed on {}\n", kPopups, QGuiApplication::platformName().toStdString());
  std::weak_ptr<KLPopupViewController> last;
  for (int i = 1; i <= kPopups; ++i) {
    {
      const auto controller = popups.controller(layouts[static_cast<std::size_t>(i) % layouts.size()]);
      controller->animationType = i % 5 + 1;
      controller->animationDuration = kQuickSeconds;
      if (!popups.play(controller)) return fmt::print("  popup {} did not come or go\n", i), 1;
      last = controller;
    }
    const Remains now = remains(window);
    if (!before) before = now;
    if (now != *before || !last.expired() || QApplication::focusWidget() != &window) {
      fmt::print("  popup {} left something behind: {} widgets, {} windows, {} timers more, its controller {}, the focus {}\n", i,
                 now.widgets - before->widgets, now.windows - before->windows, now.timers - before->timers,
                 last.expired() ? "gone" : "kept", QApplication::focusWidget() == &window ? "given back" : "elsewhere");
      return 1;
    }
    if (std::find(std::begin(kMarks), std::end(kMarks), i) == std::end(kMarks)) continue;
    const Memory memory = processMemory();
    fmt::print("  after {:>5}: resident {:.1f} MB, written to {:.1f} MB, in use on the heap {:.2f} MB\n", i,
               static_cast<double>(memory.resident) / 1e6, static_cast<double>(memory.ownDirty) / 1e6,
               static_cast<double>(heapInUse()) / 1e6);
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace kaleo::bench
