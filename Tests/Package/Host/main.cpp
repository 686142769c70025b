// The smallest host there is: what an application writes, and nothing else.
#include <kaleo/Kaleo.h>

#include <iostream>

struct Analytics : kaleo::NimbraSDK {
  std::optional<std::string> distinctId() const override { return "user-1"; }
  void track(const std::string& event, const kaleo::KLValue&) override { std::cout << "tracked " << event << "\n"; }
};

int main() {
  kaleo::Kaleo::host().registerNimbraSDK(std::make_shared<Analytics>());
  kaleo::Kaleo::startWithConfigOptions(std::make_shared<kaleo::KLConfigOptions>("http://127.0.0.1:9"));  // nobody answers there

  const kaleo::KLValue event = kaleo::KLObject{{"event", "Pay"}, {"properties", kaleo::KLObject{{"amount", 42}}}};
  kaleo::Kaleo::notificationCenter().post(kaleo::kNimbraTrackEventNotification, event);

  kaleo::Kaleo::shutdown();
  std::cout << "kaleo " << kaleo::Kaleo::SDKVersion() << "\n";
}
