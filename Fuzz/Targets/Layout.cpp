// Any JSON document as a popup's layout: shown by the library's resolver on a screen that nobody sees, laid out again for another
// size, tapped, scrolled and keyed everywhere. Whatever it is, its campaign ends once and leaves no window.
#include <algorithm>

#include "Campaign/Popup/Show/KLPopupResolver.h"
#include "Support/PopupStage.h"
#include "Target.h"

namespace kaleo::fuzz {
namespace {

constexpr KLSize kTurnedSize{812, 375};
constexpr int kColumns = 6;
constexpr int kRows = 10;

class Popup {
 public:
  explicit Popup(const std::string& layout) {
    stage_.setContent(layout);
    resolver_.reachCampaign(stage_.campaign());
    stage_.settle();
  }

  void use() {
    tapEverywhere(KLHeadlessScreen::kDefaultSize);
    if (stage_.isPopupOnScreen()) stage_.window().layout(kTurnedSize, 0);
    tapEverywhere(kTurnedSize);
    for (const KLKey key : {KLKey::Tab, KLKey::Activate, KLKey::Escape}) {
      if (stage_.isPopupOnScreen()) stage_.window().key(key);
      stage_.settle();
    }
    if (stage_.isPopupOnScreen()) stage_.window().lose();
    stage_.settle();
  }

  void requireEnded() {
    require(!stage_.isPopupOnScreen(), "a lost window is gone");
    require(stage_.notifications.size() == 1, "a campaign ends once");
    require(std::ranges::count(stage_.events(), "$PlanPopupDisplay") == 1, "a display is tracked once");
  }

 private:
  void tapEverywhere(KLSize size) {
    for (int point = 0; point < kColumns * kRows && stage_.isPopupOnScreen(); ++point) {
      const KLPoint at{size.width * (point % kColumns + 0.5) / kColumns, size.height * (point / kColumns + 0.5) / kRows};
      stage_.window().scroll(at, 50);
      stage_.window().tap(at);
    }
    stage_.settle();
  }

  testing::PopupStage stage_;
  KLPopupResolver resolver_{stage_.surroundings, stage_.presentation(), stage_.downloads.downloader,
                            stage_.downloads.directory.path()};
};

}  // namespace
}  // namespace kaleo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kaleo::fuzz::Popup popup(std::string(data, data + size));
  popup.use();
  popup.requireEnded();
  return 0;
}
