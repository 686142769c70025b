#include <fmt/format.h>

#include "window/Measurements.h"
#include "window/SamplePopups.h"
#include "window/Watch.h"

// What each frame costs while a sample popup comes and goes, for each way to come and go.

namespace kaleo::bench {
namespace {

constexpr double kMilliseconds = 1e3;
constexpr double kFrameMilliseconds = 1e3 / 60;
constexpr const char* kTypes[] = {"", "fade and scale", "scale", "fade", "from the bottom", "from the top"};

void collect(std::vector<double>& processor, std::vector<double>& wall) {
  for (const Frame& frame : application().frames()) {
    processor.push_back(frame.processor * kMilliseconds);
    wall.push_back(frame.wall * kMilliseconds);
  }
}

}  // namespace

int costOfFrames() {
  HostWindow window;
  SamplePopups popups;
  const auto layouts = sampleLayouts();
  fmt::print("Milliseconds of the main thread a frame, on {}, {} x {} pixels: median, worst (processor time)\n",
             QGuiApplication::platformName().toStdString(), window.width() * window.devicePixelRatioF(),
             window.height() * window.devicePixelRatioF());
  fmt::print("  {:<16}", "");
  for (int type = 1; type <= 5; ++type) fmt::print("{:>18}", kTypes[type]);
  std::vector<double> processor[6], wall[6];
  for (const auto& layout : layouts) {
    fmt::print("\n  {:<16}", layout.stem().string());
    for (int type = 1; type <= 5; ++type) {
      const auto controller = popups.controller(layout);
      controller->animationType = type;
      application().watch(window);
      if (!popups.play(controller)) return fmt::print("\n  the popup did not come or go\n"), 1;
      std::vector<double> own, ownWall;
      collect(own, ownWall);
      fmt::print("{:>18}", fmt::format("{:.1f} {:.1f}", quantile(own, 0.5), quantile(own, 1)));
      std::fflush(stdout);
      collect(processor[type], wall[type]);
    }
  }
  fmt::print("\n  {:<16} {:>8} {:>8} {:>8} {:>8} {:>14} {:>22}\n", "all", "frames", "median", "99 %", "worst", "over 1/60 s",
             "on the clock: worst");
  for (int type = 1; type <= 5; ++type) {
    const auto late =
        std::count_if(processor[type].begin(), processor[type].end(), [](double took) { return took > kFrameMilliseconds; });
    fmt::print("  {:<16} {:>8} {:>8.2f} {:>8.2f} {:>8.2f} {:>14} {:>22.2f}\n", kTypes[type], processor[type].size(),
               quantile(processor[type], 0.5), quantile(processor[type], 0.99), quantile(processor[type], 1), late,
               quantile(wall[type], 1));
  }
  return 0;
}

}  // namespace kaleo::bench
