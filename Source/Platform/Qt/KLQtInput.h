#pragma once

#include <QKeyEvent>
#include <QWheelEvent>
#include <optional>

#include "kaleo/KLPresentation.h"

/// What Qt's input events mean to a popup: pure functions.
namespace kaleo::qt {

/// The popup's key for a key press; nothing for keys that mean nothing to it, for combinations with Control, Alt or Meta, and for
/// repeats of Activate and Escape.
std::optional<KLKey> keyOf(const QKeyEvent& event);
/// How far a wheel or two-finger scroll moves, in points; positive shows what lies further down.
double scrollOf(const QWheelEvent& event);

}  // namespace kaleo::qt
