// The smallest host: it starts the library beside an analytics library, tracks one event, and ends.
#include <kaleo/Kaleo.h>

#include <iostream>

#include "Nimbra/Nimbra.h"

int main(int argc, char** argv) {
  const auto platform = kaleo::KLPlatform::standard("kaleo-minimal");
  const auto analytics =
      nimbra::Nimbra::start(*platform.host, {
                                                .directory = platform.directories.documents / "nimbra",
                                                .notificationCenter = platform.notificationCenter,
                                                .clock = platform.clock,
                                                .random = platform.random,
                                                .logSink = [](const auto& line) { std::cout << line.message + "\n"; },
                                            });
  kaleo::Kaleo::setPlatform(platform);
  kaleo::Kaleo::startWithConfigOptions(std::make_shared<kaleo::KLConfigOptions>(argc > 1 ? argv[1] : "http://127.0.0.1:8080"));
  analytics->track("ViewProduct", kaleo::KLObject{{"product_name", "Linen shirt"}, {"price", 49.0}});
  std::cout << "Press Return to end.\n";
  std::cin.get();
  kaleo::Kaleo::shutdown();
}
