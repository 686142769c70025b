#include <gmock/gmock.h>

#include <QApplication>

// Every test runs inside of one application; without a screen unless the environment names a platform.
int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setStyle("Fusion");
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
