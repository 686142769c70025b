// Whatever a server sends as a layout, the campaign ends in exactly one notification, every frame is finite, and no window stays.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "Campaign/Popup/Show/KLPopupResolver.h"
#include "Foundation/KLJSON.h"
#include "Support/PopupStage.h"

namespace kaleo {
namespace {

/// Documents whose members have the right names and any values, from one seed.
class AnyDocument {
 public:
  explicit AnyDocument(unsigned seed) : random_(seed) {}

  KLValue make() {
    return KLObject{{"id", any()},
                    {"properties", object({"maskColor", "maskAction", "maskCloseEnabled", "maskActionId"}, 0)},
                    {"template", element(0)}};
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }

  KLValue length() {
    static const char* const kLengths[] = {"0",   "1",    "0.5",   "12",    "100px",  "-7", "1e999", "-1e999px",
                                           "nan", "12pt", "1e-30", "0.3px", "999999", "px", "",      "375px"};
    return kLengths[below(std::size(kLengths))];
  }
  KLValue any() {
    switch (below(9)) {
      case 0:
        return nullptr;
      case 1:
        return below(2) == 0;
      case 2:
        return static_cast<std::int64_t>(random_()) - (1 << 30);
      case 3:
        return 1e308;
      case 4:
        return KLValue::Array{1, "x", nullptr, KLObject{{"IOS", 1}}};
      case 5:
        return KLObject{{"r", 255}, {"g", "x"}, {"a", length()}, {"IOS", actions()}};
      case 6:
        return "https://e.com/a.gif";
      case 7:
        return "some text\nthat breaks 图片";
      default:
        return length();
    }
  }
  KLValue actions() {
    static const char* const kTypes[] = {"close", "openlink", "copy", "customize", "dance"};
    KLValue::Array list;
    for (std::size_t i = below(4); i > 0; --i) {
      list.push_back(KLObject{{"type", kTypes[below(std::size(kTypes))]}, {"closeable", below(2) == 0}, {"value", length()}});
    }
    return list;
  }
  KLValue object(std::initializer_list<const char*> keys, std::size_t lengths) {
    KLObject made;
    std::size_t index = 0;
    for (const char* key : keys) {
      if (below(4) != 0) made.set(key, index < lengths && below(8) != 0 ? length() : any());
      ++index;
    }
    return below(12) == 0 ? any() : KLValue(made);
  }
  KLValue layout() {
    KLValue made = object({"width", "height", "maxHeight", "align"}, 3);
    if (!made.isObject()) return made;
    KLObject whole = made.asObject();
    whole.set("margin", object({"top", "left", "bottom", "right"}, 4));
    whole.set("padding", object({"top", "left", "bottom", "right"}, 4));
    return whole;
  }
  KLValue element(int depth) {
    static const char* const kTypes[] = {"label", "image", "button", "image_button", "link", "column", "row", "column"};
    KLObject made{{"type", kTypes[below(std::size(kTypes))]}, {"layout", layout()}};
    made.set("properties", object({"font", "borderWidth", "cornerRadius", "text", "image", "backgroundImage", "scrollableY",
                                   "color", "localImageName", "textAlign", "isHidden", "msgType"},
                                  3));
    made.set("action", below(2) == 0 ? KLValue(KLObject{{"IOS", actions()}}) : any());
    KLValue::Array children;
    for (std::size_t i = depth < 5 ? below(5) : 0; i > 0; --i) children.push_back(below(10) == 0 ? any() : element(depth + 1));
    made.set("subviews", children);
    return made;
  }

  std::mt19937 random_;
};

void expectFinite(const KLView& view) {
  const KLRect& frame = view.frame;
  EXPECT_TRUE(std::isfinite(frame.x) && std::isfinite(frame.y) && std::isfinite(frame.width) && std::isfinite(frame.height));
  EXPECT_TRUE(std::isfinite(view.contentHeight) && std::isfinite(view.borderWidth) && std::isfinite(view.cornerRadius));
  for (const auto& subview : view.subviews()) expectFinite(*subview);
}

void play(testing::PopupStage& stage) {
  for (const KLKey key : {KLKey::Tab, KLKey::Activate, KLKey::Tab, KLKey::PageDown, KLKey::Activate, KLKey::Escape}) {
    for (double y = 100; y < 800 && stage.isPopupOnScreen(); y += 150) stage.window().tap({180, y});
    if (stage.isPopupOnScreen()) stage.window().key(key);
    stage.downloads.answerAll(testing::smallGIF());
  }
}

TEST(KLPopupAnyDocumentTest, EndsOnceAndLeavesNothingBehind) {
  constexpr unsigned kDocuments = 80;
  unsigned shown = 0;
  for (unsigned seed = 1; seed <= kDocuments; ++seed) {
    SCOPED_TRACE(seed);
    testing::PopupStage stage;
    KLPopupResolver resolver(stage.surroundings, stage.presentation(), stage.downloads.downloader,
                             stage.downloads.directory.path());
    stage.setContent(KLJSON::serialize(AnyDocument(seed).make()));
    resolver.reachCampaign(stage.campaign());
    stage.settle();
    if (stage.isPopupOnScreen()) {
      ++shown;
      expectFinite(*stage.window().root());
      play(stage);
      if (stage.isPopupOnScreen()) stage.window().lose();
    }
    stage.settle();
    EXPECT_EQ(stage.notifications.size(), 1u);
    EXPECT_FALSE(stage.isPopupOnScreen());
  }
  EXPECT_EQ(shown, kDocuments) << "each has an element";
}

}  // namespace
}  // namespace kaleo
