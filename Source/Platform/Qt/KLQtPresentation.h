#pragma once

#include <QObject>
#include <mutex>

#include "kaleo/KLNotificationCenter.h"
#include "kaleo/KLPresentation.h"

namespace kaleo {

/// The area of the application's active window, or of the primary screen before there is one. The values are kept up to date on the
/// main thread and may be read from any.
class KLQtScreen final : public QObject, public KLScreen {
 public:
  KLQtScreen();
  KLSize size() const override;
  double scale() const override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void refresh();

  mutable std::mutex mutex_;
  KLSize size_;       ///< guarded by mutex_
  double scale_ = 1;  ///< guarded by mutex_
};

class KLQtTextMeasurer final : public KLTextMeasurer {
 public:
  KLSize measure(const KLAttributedText& text, double width) const override;
};

class KLQtPasteboard final : public KLPasteboard {
 public:
  void setString(const std::string& text) override;
};

/// Tells the application's life as notifications. An application is in the background while it is hidden, suspended, or has all its
/// windows minimised; losing the focus to another application does not put it there.
class KLQtLifeCycle final : public QObject {
 public:
  /// `notifications` outlives this object.
  explicit KLQtLifeCycle(KLNotificationCenter& notifications);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void refresh();

  KLNotificationCenter& notifications_;
  bool background_ = false;
};

}  // namespace kaleo
