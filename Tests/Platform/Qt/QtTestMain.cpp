#include <gmock/gmock.h>

#include <QApplication>

// Called by the leak sanitizer, where there is one. Qt's connection to the session bus keeps a buffer to the end of the process.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libdbus-1"; }

// Every test runs inside of one application; without a screen unless the environment names a platform.
int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setStyle("Fusion");
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
