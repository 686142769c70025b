#include <fmt/format.h>

#include <QPainter>
#include <QTimer>

#include "window/Measurements.h"
#include "window/ServedPopup.h"
#include "window/Watch.h"

// The application's own animation, before and while a popup is prepared, comes, stays and goes.

namespace kaleo::bench {
namespace {

constexpr int kPopups = 10;
constexpr double kAloneSeconds = 3;
constexpr double kStaySeconds = 0.3;
constexpr double kMilliseconds = 1e3;
constexpr int kFrameMilliseconds = 16;

/// Moves a bar across the window, sixty times a second.
class AnimatedWindow final : public HostWindow {
 public:
  AnimatedWindow() {
    clock_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&clock_, &QTimer::timeout, this, [this] {
      step_ = (step_ + 4) % width();
      update(0, 100, width(), 60);
    });
    clock_.start(kFrameMilliseconds);
  }
  /// When each frame of the animation was painted.
  std::vector<double> painted;

 protected:
  void paintEvent(QPaintEvent*) override {
    painted.push_back(now());
    QPainter(this).fillRect(step_, 100, 60, 60, Qt::darkGreen);
  }

 private:
  QTimer clock_;
  int step_ = 0;
};

void report(const char* what, const std::vector<double>& painted) {
  std::vector<double> gaps;
  for (std::size_t i = 1; i < painted.size(); ++i) gaps.push_back((painted[i] - painted[i - 1]) * kMilliseconds);
  fmt::print("  {:<34} {:>6} frames, gaps: median {:>5.1f}, 99 % {:>5.1f}, longest {:>5.1f}\n", what, painted.size(),
             quantile(gaps, 0.5), quantile(gaps, 0.99), quantile(gaps, 1));
  std::fflush(stdout);
}

}  // namespace

int costToABusyHost() {
  AnimatedWindow window;
  fmt::print("The application's own animation, 62 frames a second, on {} (milliseconds)\n",
             QGuiApplication::platformName().toStdString());
  runFor(kStaySeconds);
  window.painted.clear();
  runFor(kAloneSeconds);
  report("alone", window.painted);
  for (const char* layout : {"welcome-card.json", "spring-sale.json"}) {
    ServedPopup popup(layout);
    popup.start();
    window.painted.clear();
    for (int i = 0; i < kPopups; ++i) {
      popup.track();
      if (!runUntil([&] { return popup.delegate().shown() > i; })) return fmt::print("  no popup came\n"), 1;
      runFor(kStaySeconds);
      window.pressEscape();
      if (!runUntil([&] { return popup.delegate().ended() > i; })) return fmt::print("  the popup did not go\n"), 1;
    }
    report(fmt::format("{} popups, {}", kPopups, layout).c_str(), window.painted);
  }
  return 0;
}

}  // namespace kaleo::bench
