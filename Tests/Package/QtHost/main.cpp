// The smallest host with Qt, which shows no popup but links and ends in order.
#include <kaleo-qt/KLQtPlatform.h>
#include <kaleo/Kaleo.h>

#include <QApplication>
#include <iostream>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  auto platform = kaleo::KLPlatform::standard("host");
  kaleo::installQtPresentation(platform);
  kaleo::Kaleo::setPlatform(std::move(platform));
  kaleo::Kaleo::startWithConfigOptions(std::make_shared<kaleo::KLConfigOptions>("http://127.0.0.1:9"));  // nobody answers there
  kaleo::Kaleo::shutdown();
  std::cout << "kaleo " << kaleo::Kaleo::SDKVersion() << "\n";
}
