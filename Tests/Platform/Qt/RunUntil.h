#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <functional>

namespace kaleo {

/// Runs the event loop until `condition` holds; false when it does not within some seconds.
inline bool runUntil(const std::function<bool()>& condition) {
  constexpr int kPatienceMilliseconds = 10'000;
  QElapsedTimer elapsed;
  elapsed.start();
  while (!condition()) {
    if (elapsed.hasExpired(kPatienceMilliseconds)) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
  }
  return true;
}

}  // namespace kaleo
