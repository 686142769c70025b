#include <cstdio>

#include "Foundation/KLSystem.h"
#include "Foundation/KLThreads.h"
#include "Platform/Headless/KLHeadlessPresentation.h"
#include "Platform/Linux/KLNetlinkReachability.h"
#include "Platform/Linux/KLXDGDirectories.h"
#include "kaleo/KLPlatform.h"
#include "kaleo/Kaleo.h"

namespace kaleo {
namespace {

/// A pointer to what lives as long as the process.
template <class T>
std::shared_ptr<T> unowned(T& object) {
  return std::shared_ptr<T>(std::shared_ptr<void>(), &object);
}

}  // namespace

KLPlatform KLPlatform::standard(const std::string& applicationName) {
  KLPlatform platform;
  platform.host = unowned(Kaleo::host());
  platform.notificationCenter = unowned(Kaleo::notificationCenter());
  platform.clock = std::make_shared<KLSystemClock>();
  platform.random = std::make_shared<KLSystemRandom>();
  platform.threading = std::make_shared<KLThreadThreading>();
  platform.mainQueue = platform.threading->makeSerialQueue("org.kaleo.KLMainQueue");
  platform.reachability = std::make_shared<KLNetlinkReachability>();
  platform.presentation = KLHeadlessPresentation(platform.mainQueue);
  platform.directories = KLXDGDirectories(applicationName);
  platform.application.name = applicationName;
  platform.console = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
  return platform;
}

}  // namespace kaleo
