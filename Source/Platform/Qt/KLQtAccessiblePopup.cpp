#include "KLQtAccessiblePopup.h"

#include <algorithm>

namespace kaleo {
namespace {

void collect(KLView& view, std::vector<KLView*>& found) {
  for (const auto& child : view.subviews()) {
    if (KLQtAccessibleView::describes(*child)) found.push_back(child.get());
    collect(*child, found);
  }
}

void tell(QAccessibleInterface* about, QAccessible::Event what) {
  QAccessibleEvent event(about, what);
  QAccessible::updateAccessibility(&event);
}

}  // namespace

QAccessible::Id KLQtAccessiblePopup::attach(KLQtOverlay& overlay) {
  return QAccessible::registerAccessibleInterface(new KLQtAccessiblePopup(overlay));
}

KLQtAccessiblePopup::~KLQtAccessiblePopup() {
  for (const Known& known : known_) QAccessible::deleteAccessibleInterface(known.id);
}

KLQtAccessiblePopup* KLQtAccessiblePopup::of(KLQtOverlay& overlay) {
  return dynamic_cast<KLQtAccessiblePopup*>(QAccessible::queryAccessibleInterface(&overlay));
}

void KLQtAccessiblePopup::tellShown(KLQtOverlay& overlay) {
  if (!QAccessible::isActive()) return;
  if (KLQtAccessiblePopup* popup = of(overlay)) tell(popup, QAccessible::DialogStart);
}

void KLQtAccessiblePopup::tellHiding(KLQtOverlay& overlay) {
  if (!QAccessible::isActive()) return;
  if (KLQtAccessiblePopup* popup = of(overlay)) tell(popup, QAccessible::DialogEnd);
}

void KLQtAccessiblePopup::tellFocus(KLQtOverlay& overlay) {
  if (!QAccessible::isActive()) return;
  if (KLQtAccessiblePopup* popup = of(overlay)) popup->tellFocus();
}

void KLQtAccessiblePopup::tellFocus() {
  const std::vector<KLView*> all = views();
  const auto found = std::find_if(all.begin(), all.end(), [](const KLView* view) { return view->focused; });
  KLView* const now = found == all.end() ? nullptr : *found;
  if (std::exchange(focused_, now) != now && now) tell(interfaceOf(*now), QAccessible::Focus);
}

std::vector<KLView*> KLQtAccessiblePopup::views() const {
  std::vector<KLView*> found;
  if (overlay_ && overlay_->root()) collect(*overlay_->root(), found);
  return found;
}

KLQtAccessibleView* KLQtAccessiblePopup::interfaceOf(KLView& view) const {
  const auto known = std::find_if(known_.begin(), known_.end(), [&view](const Known& one) { return one.view->view() == &view; });
  if (known != known_.end()) return known->view;
  auto* made = new KLQtAccessibleView(*overlay_, view);
  known_.push_back({QAccessible::registerAccessibleInterface(made), made});
  return made;
}

QAccessibleInterface* KLQtAccessiblePopup::focusChild() const {
  if (!overlay_ || !overlay_->hasFocus()) return nullptr;
  const std::vector<KLView*> all = views();
  const auto focused = std::find_if(all.begin(), all.end(), [](const KLView* view) { return view->focused; });
  return focused == all.end() ? QAccessible::queryAccessibleInterface(overlay_) : interfaceOf(**focused);
}

QAccessibleInterface* KLQtAccessiblePopup::child(int index) const {
  const std::vector<KLView*> all = views();
  return index >= 0 && static_cast<std::size_t>(index) < all.size() ? interfaceOf(*all[static_cast<std::size_t>(index)]) : nullptr;
}

QAccessibleInterface* KLQtAccessiblePopup::childAt(int x, int y) const {
  const std::vector<KLView*> all = views();
  const auto hit = std::find_if(all.rbegin(), all.rend(), [&](KLView* view) { return interfaceOf(*view)->rect().contains(x, y); });
  return hit == all.rend() ? nullptr : interfaceOf(**hit);
}

int KLQtAccessiblePopup::childCount() const { return static_cast<int>(views().size()); }

int KLQtAccessiblePopup::indexOfChild(const QAccessibleInterface* child) const {
  const auto* view = dynamic_cast<const KLQtAccessibleView*>(child);
  const std::vector<KLView*> all = views();
  const auto found = std::find(all.begin(), all.end(), view ? view->view() : nullptr);
  return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

QString KLQtAccessiblePopup::text(QAccessible::Text kind) const {
  if (kind != QAccessible::Name || !overlay_ || !overlay_->root()) return QAccessibleWidget::text(kind);
  if (const std::string& name = overlay_->root()->accessibility.label; !name.empty()) return QString::fromStdString(name);
  const std::vector<KLView*> all = views();
  const auto titled =
      std::find_if(all.begin(), all.end(), [](const KLView* view) { return view->text && !view->text->text.empty(); });
  return titled == all.end() ? QString() : QString::fromStdString((*titled)->text->text);
}

QAccessible::State KLQtAccessiblePopup::state() const {
  QAccessible::State state = QAccessibleWidget::state();
  state.modal = true;
  state.active = overlay_ && overlay_->isActiveWindow();
  return state;
}

}  // namespace kaleo
