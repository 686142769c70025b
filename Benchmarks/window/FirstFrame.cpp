#include <fmt/format.h>

#include "window/Measurements.h"
#include "window/ServedPopup.h"
#include "window/Watch.h"

// From the call that tracks an event to the popup's first frame on screen: every rule, the store, admission by the application on
// the main thread, layout, pictures, the window.

namespace kaleo::bench {
namespace {

constexpr int kRuns = 20;
constexpr double kMilliseconds = 1e3;

}  // namespace

int costOfTheFirstFrame() {
  HostWindow window;
  application().watch(window);
  fmt::print("From the tracked event to the popup's first frame, on {} (milliseconds, {} runs each)\n",
             QGuiApplication::platformName().toStdString(), kRuns);
  for (const char* layout : {"welcome-card.json", "spring-sale.json", "whats-new.json"}) {
    ServedPopup popup(layout);
    popup.start();
    std::vector<double> took;
    for (int i = 0; i < kRuns; ++i) {
      application().forgetPopup();
      const double tracked = now();
      popup.track();
      if (!runUntil([] { return application().popupPainted() > 0; })) return fmt::print("  no popup came\n"), 1;
      took.push_back((application().popupPainted() - tracked) * kMilliseconds);
      if (!runUntil([&] { return popup.delegate().shown() > i; })) return fmt::print("  the popup did not come to rest\n"), 1;
      window.pressEscape();
      if (!runUntil([&] { return popup.delegate().ended() > i; })) return fmt::print("  the popup did not go\n"), 1;
    }
    fmt::print("  {:<20} the first time {:>6.1f}; then median {:>5.1f}, worst {:>5.1f}\n", layout, took.front(),
               quantile({took.begin() + 1, took.end()}, 0.5), quantile({took.begin() + 1, took.end()}, 1));
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace kaleo::bench
