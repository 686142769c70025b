#include "Shop/demo/Stage.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <utility>

#include "Nimbra/JSON.h"

namespace shop {
namespace {

constexpr int kBroad = 80;  ///< points; broader than any other patch of a button's colour
constexpr int kIntoButton = 8;
constexpr int kGlanceMilliseconds = 60;
constexpr double kStillLimitSeconds = 1;

void say(const char* kind, const QString& text) {
  std::printf("  %-8s %s\n", kind, text.toUtf8().constData());
  std::fflush(stdout);
}

void send(QWidget& target, QEvent::Type type, QPointF point, Qt::MouseButtons held) {
  QMouseEvent event(type, point, target.mapToGlobal(point), Qt::LeftButton, held, Qt::NoModifier);
  QApplication::sendEvent(&target, &event);
}

bool anyContains(const QStringList& list, const QString& text) {
  return std::any_of(list.begin(), list.end(), [&](const QString& entry) { return entry.contains(text); });
}

/// The middle of the longest run of `colour` in row `y`, when it is at least `length` pixels long.
std::optional<int> middleOfRun(const QImage& image, int y, QRgb colour, int length) {
  int run = 0;
  for (int x = 0; x < image.width(); ++x) {
    run = image.pixel(x, y) == colour ? run + 1 : 0;
    if (run == length) return x - length / 2;
  }
  return std::nullopt;
}

}  // namespace

Stage::Stage(ShopApplication& application, const QString& out) : application_(application), out_(out) {
  QDir().mkpath(out_);
  connect(&application_, &ShopApplication::logged, this, &Stage::readLog);
  connect(&application_, &ShopApplication::noted, this, [this](const QString& what) {
    notes_ << what;
    say("popup", what);
  });
  connect(&application_, &ShopApplication::tracked, this, [this](const kaleo::KLValue& record) {
    const QString text =
        QString::fromStdString(record.find("event")->asString() + " " + nimbra::toJSON(*record.find("properties")));
    events_ << text;
    say("event", text);
  });
}

void Stage::readLog(const nimbra::LogLine& line, bool decision) {
  static const QRegularExpression window("^global interval window startTime is .*, endTime is ([0-9.]+)");
  const QString message = QString::fromStdString(line.message);
  log_ << message;
  if (const auto match = window.match(message); match.hasMatch()) {
    globalIntervalEnd_ = match.captured(1).toDouble();
    popupUnderWay_ = !popupUnderWay_;
  }
  if (line.level <= 1) return say("error", message);
  if (decision) say("decision", message);
}

bool Stage::until(const std::function<bool()>& condition, double seconds) {
  QTimer limit;
  limit.setSingleShot(true);
  limit.setTimerType(Qt::PreciseTimer);  // any other may come early
  limit.start(static_cast<int>(seconds * 1000));
  while (!condition()) {
    if (!limit.isActive()) return false;
    QApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

void Stage::untilStill() {
  QImage before;
  bool still = false;
  QTimer glances;
  connect(&glances, &QTimer::timeout, this, [&] {
    const QImage now = application_.window().grab().toImage();
    still = now == std::exchange(before, now);
  });
  glances.start(kGlanceMilliseconds);
  until([&] { return still; }, kStillLimitSeconds);
}

void Stage::untilTime(double time) {
  const double left = time - static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000;
  if (left > 0) until([] { return false; }, left);
}

void Stage::click(QPoint point) {
  QWidget& window = application_.window();
  QWidget* const child = window.childAt(point);
  QWidget& target = child != nullptr ? *child : window;
  const QPointF inside = target.mapFrom(&window, point);
  send(target, QEvent::MouseButtonPress, inside, Qt::LeftButton);
  send(target, QEvent::MouseButtonRelease, inside, Qt::NoButton);
}

void Stage::click(QWidget& widget) { click(widget.mapTo(&application_.window(), widget.rect().center())); }

std::optional<QPoint> Stage::find(const QColor& colour) {
  const QImage image = application_.window().grab().toImage();
  const double ratio = image.devicePixelRatio();
  for (int y = image.height() - 1; y >= 0; --y) {
    const auto x = middleOfRun(image, y, colour.rgb(), static_cast<int>(kBroad * ratio));
    if (x) return QPoint(static_cast<int>(*x / ratio), static_cast<int>(y / ratio) - kIntoButton);
  }
  return std::nullopt;
}

void Stage::takePicture(QWidget& widget, const QString& name) { widget.grab().save(QDir(out_).filePath(name + ".png")); }

void Stage::forget() {
  log_.clear();
  notes_.clear();
  events_.clear();
}

bool Stage::logHas(const QString& text) const { return anyContains(log_, text); }
bool Stage::noteHas(const QString& text) const { return anyContains(notes_, text); }

int Stage::tracked(const QString& event, const QString& text) const {
  return static_cast<int>(std::count_if(
      events_.begin(), events_.end(), [&](const QString& entry) { return entry.startsWith(event + " ") && entry.contains(text); }));
}

}  // namespace shop
