#include "window/SamplePopups.h"

#include <fmt/format.h>

#include <algorithm>

#include "kaleo-qt/KLQtPlatform.h"
#include "window/Watch.h"

namespace kaleo::bench {
namespace {

/// What the application shows itself.
constexpr const char* kNoLayout = "vip-offer.json";

KLPlatform platformOnQt() {
  KLPlatform platform;
  installQtPresentation(platform);
  return platform;
}

struct Ends final : KLPopupViewControllerDelegate {
  void willShowPopupViewController(KLPopupViewController&) override {}
  void didShowPopupViewController(KLPopupViewController&) override { shown = true; }
  void willDismissViewController(KLPopupViewController&) override {}
  void didDismissViewController(KLPopupViewController&) override { gone = true; }
  void didClickForElement(KLPopupViewController&, KLView&) override {}
  bool shown = false, gone = false;
};

}  // namespace

std::vector<std::filesystem::path> sampleLayouts() {
  std::vector<std::filesystem::path> layouts;
  for (const auto& entry : std::filesystem::directory_iterator(KALEO_SOURCE_DIR "/Examples/Campaigns/layouts")) {
    if (entry.path().filename() != kNoLayout) layouts.push_back(entry.path());
  }
  std::sort(layouts.begin(), layouts.end());
  return layouts;
}

SamplePopups::SamplePopups()
    : platform_(platformOnQt()),
      host_([](const std::string& message) { fmt::print(stderr, "{}\n", message); }),
      pictures_(platform_.mainQueue, host_.log()) {}

std::shared_ptr<KLPopupViewController> SamplePopups::controller(const std::filesystem::path& layout) {
  const auto popup = tools::layOut(tools::readPreviewDocument(layout), *platform_.presentation.screen,
                                   *platform_.presentation.textMeasurer, host_.log());
  auto controller = tools::controllerFor(popup, platform_.presentation, pictures_, [](const std::string&, const std::string&) {});
  runUntil([this] { return pictures_.awaited() == 0; });
  return controller;
}

bool SamplePopups::play(const std::shared_ptr<KLPopupViewController>& controller) {
  const auto ends = std::make_shared<Ends>();
  controller->delegate = ends;
  controller->show();
  if (!runUntil([&] { return ends->shown; })) return false;
  controller->dismiss();
  return runUntil([&] { return ends->gone; });
}

}  // namespace kaleo::bench
