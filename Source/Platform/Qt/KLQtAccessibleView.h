#pragma once

#include <QAccessible>
#include <QPointer>
#include <memory>

#include "KLQtOverlay.h"
#include "kaleo/KLView.h"

namespace kaleo {

/// One view of a popup as assistive technology meets it: a text, a picture, a button or a link. Once its view has gone it is no
/// longer valid, and says nothing.
/// Ownership: Qt's registry of such interfaces; the popup's interface has it removed. Main thread.
class KLQtAccessibleView final : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  KLQtAccessibleView(KLQtOverlay& overlay, KLView& view) : overlay_(&overlay), view_(view.weakReference()) {}

  /// Whether a view says anything to those who do not see it: a text, or something to tap. Containers and mere decoration do not.
  static bool describes(const KLView& view);

  /// The view; null once it is no longer shown.
  KLView* view() const;

  bool isValid() const override { return view() != nullptr; }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override;
  QAccessibleInterface* parent() const override;
  QAccessibleInterface* child(int) const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QString text(QAccessible::Text kind) const override;
  void setText(QAccessible::Text, const QString&) override {}
  QRect rect() const override;
  QAccessible::Role role() const override;
  QAccessible::State state() const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  /// Press and focus for what takes taps, and scrolling for a text that is longer than its area.
  QStringList actionNames() const override;
  void doAction(const QString& name) override;
  QStringList keyBindingsForAction(const QString&) const override { return {}; }

 private:
  QPointer<KLQtOverlay> overlay_;
  const std::weak_ptr<KLView*> view_;
};

}  // namespace kaleo
