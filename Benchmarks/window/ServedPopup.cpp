#include "window/ServedPopup.h"

#include <fmt/format.h>

#include <fstream>
#include <stdexcept>

#include "Foundation/KLFile.h"
#include "Support/Configurations.h"
#include "kaleo-qt/KLQtPlatform.h"
#include "window/Watch.h"

namespace kaleo::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kPlan = 1;
/// Pictures lie in the disk cache and plans are in force well before this.
constexpr double kSettleSeconds = 1;

void serveFrom(const fs::path& directory, const std::string& layout) {
  const fs::path samples = KALEO_SOURCE_DIR "/Examples/Campaigns";
  fs::create_directories(directory / "layouts");
  fs::copy(samples / "images", directory / "images");
  const auto bytes = KLFile::read(samples / "layouts" / layout);
  if (!bytes) throw std::runtime_error("there is no sample " + layout);
  KLObject document = KLJSON::parse(std::string(bytes->begin(), bytes->end()))->asObject();
  KLObject properties = document.find("properties")->asObject();
  properties.set("maskCloseEnabled", true);
  document.set("properties", std::move(properties));
  std::ofstream(directory / "layouts" / layout) << KLJSON::serialize(KLValue(std::move(document)));

  KLObject plan = testing::plan(kPlan, kPopupEvent, R"({"re_enter": {"unit": "DAY", "value": 1, "limit": 1000000}})");
  plan.set("popup_window_content", KLObject{{"popup_type", "PRESET"}, {"layout", layout}});
  std::ofstream(directory / "user_popup_configs.json") << KLJSON::serialize(testing::answer({std::move(plan)}));
}

}  // namespace

ServedPopup::ServedPopup(const std::string& layout) {
  serveFrom(files_ / "served", layout);
  server_ = std::make_unique<tools::PopupServer>(tools::PopupServer::Options{.directory = files_ / "served", .print = {}});
  std::string error;
  if (!server_->start(error)) throw std::runtime_error(error);
  host_ = std::make_unique<MeasuredHost>(server_->url(), files_.path(), true, installQtPresentation);
}

void ServedPopup::start() {
  host_->start();
  runFor(kSettleSeconds);
}

}  // namespace kaleo::bench
