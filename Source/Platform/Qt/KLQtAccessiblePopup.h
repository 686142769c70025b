#pragma once

#include <QAccessibleWidget>
#include <vector>

#include "KLQtAccessibleView.h"
#include "KLQtOverlay.h"

namespace kaleo {

/// A popup as assistive technology meets it: a modal dialog with the popup's name, and in it, in the order in which they are drawn
/// and walked by Tab, the views that say something.
///
/// The overlay is one widget, so its views' interfaces stand for no objects of Qt's. Each is made when it is first asked for and
/// goes with this one, which goes with the overlay: a client may hold on to any of them meanwhile. Main thread.
class KLQtAccessiblePopup final : public QAccessibleWidget {
 public:
  /// Makes the interface that Qt's registry answers for `overlay` from now on, and owns.
  static QAccessible::Id attach(KLQtOverlay& overlay);
  /// Removes it with all that hang on it: for the overlay's destructor, as Qt's own removal would come when only a QWidget is left.
  static void detach(QAccessible::Id id) { QAccessible::deleteAccessibleInterface(id); }
  ~KLQtAccessiblePopup() override;

  /// Tell assistive technology, where there is any, what has happened to the popup of `overlay`.
  static void tellShown(KLQtOverlay& overlay);
  static void tellHiding(KLQtOverlay& overlay);
  /// The tree may have changed; says so when the focus is on another view than before.
  static void tellFocus(KLQtOverlay& overlay);

  QAccessibleInterface* focusChild() const override;
  QAccessibleInterface* child(int index) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  int childCount() const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  QString text(QAccessible::Text kind) const override;
  QAccessible::State state() const override;

 private:
  explicit KLQtAccessiblePopup(KLQtOverlay& overlay) : QAccessibleWidget(&overlay, QAccessible::Dialog), overlay_(&overlay) {}

  /// Null for a widget that is no popup, and at the end of the application.
  static KLQtAccessiblePopup* of(KLQtOverlay& overlay);
  std::vector<KLView*> views() const;
  KLQtAccessibleView* interfaceOf(KLView& view) const;
  void tellFocus();

  QPointer<KLQtOverlay> overlay_;
  struct Known {
    QAccessible::Id id;
    KLQtAccessibleView* view;  ///< gone when the registry has ended before this
  };
  mutable std::vector<Known> known_;  ///< in the order of the first questions
  const KLView* focused_ = nullptr;   ///< as last told; compared only
};

}  // namespace kaleo
