#include "KLQtAccessibleView.h"

#include <QCoreApplication>
#include <QWindow>

namespace kaleo {
namespace {

using Kind = KLView::Kind;

bool takesTaps(const KLView& view) { return view.userInteractionEnabled && !view.popupActions.empty(); }

bool scrolls(const KLView& view) { return view.kind() == Kind::TextView && view.contentHeight > view.frame.height; }

QString textOf(const KLView& view) {
  const std::string& text = view.text && !view.text->text.empty() ? view.text->text : view.accessibility.label;
  return QString::fromStdString(text);
}

/// What a tap does, in words of Qt's own that applications load translations of.
QString wordsFor(KLPopupActionType action) {
  switch (action) {
    case KLPopupActionType::Close:
      return QCoreApplication::translate("QPlatformTheme", "Close");
    case KLPopupActionType::Copy:
      return QCoreApplication::translate("QWidgetTextControl", "&Copy").remove(QLatin1Char('&'));
    case KLPopupActionType::OpenLink:
    case KLPopupActionType::Customize:
      return QCoreApplication::translate("QPlatformTheme", "Open");
    case KLPopupActionType::Other:
      break;
  }
  return {};
}

}  // namespace

bool KLQtAccessibleView::describes(const KLView& view) {
  return view.kind() == Kind::Button || !view.popupActions.empty() || !textOf(view).isEmpty();
}

KLView* KLQtAccessibleView::view() const {
  const auto living = view_.lock();
  return living && overlay_ && overlay_->root() ? *living : nullptr;
}

QWindow* KLQtAccessibleView::window() const { return overlay_ ? overlay_->window()->windowHandle() : nullptr; }

QAccessibleInterface* KLQtAccessibleView::parent() const { return QAccessible::queryAccessibleInterface(overlay_); }

QString KLQtAccessibleView::text(QAccessible::Text kind) const {
  const KLView* shown = view();
  if (!shown || kind != QAccessible::Name) return {};
  const QString text = textOf(*shown);
  return text.isEmpty() && shown->accessibility.action ? wordsFor(*shown->accessibility.action) : text;
}

QRect KLQtAccessibleView::rect() const {
  const KLView* shown = view();
  if (!shown) return {};
  const KLRect frame = shown->frameInRoot();
  return QRect(overlay_->mapToGlobal(QPointF(frame.x, frame.y)).toPoint(), QSizeF(frame.width, frame.height).toSize());
}

QAccessible::Role KLQtAccessibleView::role() const {
  const KLView* shown = view();
  if (!shown) return QAccessible::NoRole;
  switch (shown->kind()) {
    case Kind::Button:
      return shown->accessibility.isLink ? QAccessible::Link : QAccessible::Button;
    case Kind::ImageView:
      return takesTaps(*shown) ? QAccessible::Button : QAccessible::Graphic;
    default:
      return takesTaps(*shown) ? QAccessible::Button : QAccessible::StaticText;
  }
}

QAccessible::State KLQtAccessibleView::state() const {
  QAccessible::State state;
  const KLView* shown = view();
  state.invalid = !shown;
  if (!shown) return state;
  state.invisible = !overlay_->isVisible() || shown->alpha <= 0;
  state.focusable = takesTaps(*shown);
  state.focused = shown->focused && overlay_->hasFocus();
  state.pressed = shown->highlighted;
  state.linked = shown->accessibility.isLink;
  state.readOnly = role() == QAccessible::StaticText;
  state.multiLine = shown->kind() == Kind::TextView;
  return state;
}

void* KLQtAccessibleView::interface_cast(QAccessible::InterfaceType type) {
  return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
}

QStringList KLQtAccessibleView::actionNames() const {
  const KLView* shown = view();
  if (!shown) return {};
  if (scrolls(*shown)) return {scrollDownAction(), scrollUpAction()};
  return takesTaps(*shown) ? QStringList{pressAction(), setFocusAction()} : QStringList{};
}

void KLQtAccessibleView::doAction(const QString& name) {
  if (!actionNames().contains(name)) return;
  KLView& shown = *view();
  if (name == pressAction()) {
    overlay_->pressFor(shown);
  } else if (name == setFocusAction()) {
    overlay_->focusFor(shown);
  } else {
    overlay_->scrollFor(shown, name == scrollDownAction() ? 1 : -1);
  }
}

}  // namespace kaleo
