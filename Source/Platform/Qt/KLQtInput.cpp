#include "KLQtInput.h"

#include <QApplication>

namespace kaleo::qt {
namespace {

/// What a wheel's step is in the units of `QWheelEvent::angleDelta`.
constexpr double kAngleAStep = 120;
/// The height of a line of text that wheels count in, in points.
constexpr double kPointsALine = 20;

std::optional<KLKey> keyOf(int key) {
  switch (key) {
    case Qt::Key_Tab:
      return KLKey::Tab;
    case Qt::Key_Backtab:
      return KLKey::BackTab;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Select:
      return KLKey::Activate;
    case Qt::Key_Escape:
    case Qt::Key_Back:
      return KLKey::Escape;
    case Qt::Key_Up:
      return KLKey::Up;
    case Qt::Key_Down:
      return KLKey::Down;
    case Qt::Key_PageUp:
      return KLKey::PageUp;
    case Qt::Key_PageDown:
      return KLKey::PageDown;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<KLKey> keyOf(const QKeyEvent& event) {
  if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return std::nullopt;
  const std::optional<KLKey> key = keyOf(event.key());
  if (key == KLKey::Tab && (event.modifiers() & Qt::ShiftModifier)) return KLKey::BackTab;
  if (event.isAutoRepeat() && (key == KLKey::Activate || key == KLKey::Escape)) return std::nullopt;
  return key;
}

double scrollOf(const QWheelEvent& event) {
  if (!event.pixelDelta().isNull()) return -event.pixelDelta().y();
  return -event.angleDelta().y() / kAngleAStep * QApplication::wheelScrollLines() * kPointsALine;
}

}  // namespace kaleo::qt
