#pragma once

#include <QClipboard>
#include <QGuiApplication>

#include "kaleo/KLPresentation.h"

namespace kaleo {

/// The system's clipboard. Main thread.
class KLQtPasteboard final : public KLPasteboard {
 public:
  void setString(const std::string& text) override { QGuiApplication::clipboard()->setText(QString::fromStdString(text)); }
};

}  // namespace kaleo
