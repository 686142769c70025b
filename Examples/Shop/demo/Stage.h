#pragma once

#include <QImage>
#include <QStringList>
#include <functional>
#include <optional>

#include "Shop/ShopApplication.h"

namespace shop {

/// Plays the customer of a shop and watches what comes of it: clicks with real mouse events, waits, takes pictures.
/// Threads: main.
class Stage : public QObject {
  Q_OBJECT

 public:
  /// Pictures go into the directory `out`, which is made when missing.
  Stage(ShopApplication& application, const QString& out);

  /// Runs the event loop until `condition` holds. False when it does not within `seconds`.
  bool until(const std::function<bool()>& condition, double seconds);
  /// Runs the event loop until the shop's window looks the same twice in a row; moving pictures are given up on after a second.
  void untilStill();
  /// Runs the event loop until the time of day is `time`, in seconds since 1970.
  void untilTime(double time);

  /// Clicks at `point` of the shop's window: whatever lies there is hit.
  void click(QPoint point);
  void click(QWidget& widget);
  /// Where the lowest broad area of exactly this colour is; nothing when there is none.
  std::optional<QPoint> find(const QColor& colour);

  /// Writes a picture of `widget` as NAME.png.
  void takePicture(QWidget& widget, const QString& name);

  /// Forgets what was seen so far.
  void forget();
  bool logHas(const QString& text) const;
  bool noteHas(const QString& text) const;
  /// How often `event` was tracked, with properties whose JSON holds `text`.
  int tracked(const QString& event, const QString& text = {}) const;
  /// Whether a popup has started the global interval for its display and not yet anew for its end.
  bool popupUnderWay() const { return popupUnderWay_; }
  /// When the popup that was shown last lets the next one pass, in seconds since 1970; 0 before the first.
  double globalIntervalEnd() const { return globalIntervalEnd_; }

  ShopApplication& application() { return application_; }

 private:
  void readLog(const nimbra::LogLine& line, bool decision);

  ShopApplication& application_;
  const QString out_;
  QStringList log_, notes_, events_;
  double globalIntervalEnd_ = 0;
  bool popupUnderWay_ = false;
};

}  // namespace shop
