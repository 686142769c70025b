#include <QApplication>
#include <QCommandLineParser>
#include <QScreen>
#include <QTimer>

#include "Shop/Palette.h"
#include "Shop/ShopApplication.h"
#include "Shop/demo/DemoRun.h"

namespace {

struct Arguments {
  shop::ShopOptions shop;
  bool headless = false;
  QString out;
};

Arguments parse(const QCoreApplication& application) {
  QCommandLineParser parser;
  parser.setApplicationDescription("A small shop with popups.");
  parser.addHelpOption();
  parser.addOptions({{"server", "Base URL of the popup server.", "URL", "http://127.0.0.1:8080"},
                     {"data", "Directory to keep everything in; the user's own directories without it.", "DIR"},
                     {"headless", "Plays a visit from a script, without a screen, and checks what shows."},
                     {"out", "Directory for the pictures of a scripted visit.", "DIR", "demo-output"}});
  parser.process(application);
  return {
      {parser.value("server").toStdString(), parser.value("data").toStdString()}, parser.isSet("headless"), parser.value("out")};
}

bool isHeadless(int argc, char** argv) {
  return std::any_of(argv + 1, argv + argc, [](const char* argument) { return std::string_view(argument) == "--headless"; });
}

/// Before there is an application: without a screen, and at the density of a phone's.
void leaveScreen() {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_SCALE_FACTOR", "2");
}

/// The shop in the middle of the screen; the pane beside it where there is room for both.
void arrange(QWidget& window, QWidget& pane) {
  constexpr int kGap = 24;
  const QRect screen = window.screen()->availableGeometry();
  const int both = window.width() + kGap + pane.width();
  const bool roomForBoth = screen.width() >= both;
  const int left = screen.left() + (screen.width() - (roomForBoth ? both : window.width())) / 2;
  const int top = screen.top() + std::max(0, (screen.height() - window.height()) / 2);
  window.move(left, top);
  window.show();
  if (!roomForBoth) return;
  pane.move(left + window.width() + kGap, top);
  pane.show();
  window.activateWindow();
}

}  // namespace

int main(int argc, char** argv) {
  if (isHeadless(argc, argv)) leaveScreen();
  QApplication application(argc, argv);
  QApplication::setStyle("Fusion");
  QApplication::setFont(shop::face(13));  // popups are set in it, too
  const Arguments arguments = parse(application);
  shop::ShopApplication shop(arguments.shop);
  if (!arguments.headless) {
    arrange(shop.window(), shop.pane());
    return QApplication::exec();
  }
  shop.window().show();
  shop::Stage stage(shop, arguments.out);
  shop::DemoRun run(stage);
  QTimer::singleShot(0, &shop, [&] { QApplication::exit(run.play()); });
  return QApplication::exec();
}
