#pragma once

#include <QProcess>
#include <QScreen>

#include "../QtStage.h"

namespace kaleo {

/// A real X server without window manager and compositor, real pointer and keys by xdotool.
class X11Stage : public QtStage {
 protected:
  X11Stage() { host->setGeometry(100, 80, 400, 300); }

  static void xdotool(const QStringList& arguments) {
    QProcess process;
    process.start("xdotool", arguments);
    ASSERT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
    ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
  }
  /// The arguments that move the pointer to a point of the host window.
  QStringList moveTo(double x, double y) const {
    const QPointF global = host->mapToGlobal(QPointF(x, y)) * host->devicePixelRatioF();
    return {"mousemove", QString::number(qRound(global.x())), QString::number(qRound(global.y()))};
  }
  void pointAt(double x, double y) { xdotool(moveTo(x, y)); }
  /// What the X server shows at a point of the host window.
  QColor onScreen(int x, int y) {
    const QImage image = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    return image.pixelColor((host->mapToGlobal(QPoint(x, y)) * host->devicePixelRatioF()));
  }
};

}  // namespace kaleo
