#include "Campaign/Popup/Model/KLPopupPropertyModel.h"

namespace kaleo {
namespace {

constexpr double kKerning = 1;       ///< in points
constexpr double kLineHeight = 1.2;  ///< of the font size

KLTextAlignment alignment(const std::optional<std::string>& word) {
  if (word == "center") return KLTextAlignment::Center;
  return word == "right" ? KLTextAlignment::Right : KLTextAlignment::Left;
}

std::optional<std::string> localImagePath(const KLValue& dictionary, const KLPopupReading& reading) {
  const auto name = dictionary_stringForKey(&dictionary, "localImageName");
  return name ? KLResourcePath(reading.bundle, *name + ".png") : std::nullopt;
}

}  // namespace

KLPopupPropertyModel::KLPopupPropertyModel(const KLValue& dictionary, const KLPopupReading& reading)
    : backgroundColor(dictionary_colorForKey(&dictionary, "backgroundColor")),
      borderWidth(dictionary_pixelForKey(&dictionary, "borderWidth", reading)),
      borderColor(dictionary_colorForKey(&dictionary, "borderColor")),
      color(dictionary_colorForKey(&dictionary, "color")),
      cornerRadius(dictionary_pixelForKey(&dictionary, "cornerRadius", reading)),
      font(dictionary_pixelForKey(&dictionary, "font", reading)),
      image(dictionary_stringForKey(&dictionary, "image")),
      backgroundImage(dictionary_stringForKey(&dictionary, "backgroundImage")),
      localImage(localImagePath(dictionary, reading)),
      msgType(dictionary_stringForKey(&dictionary, "msgType")),
      maskColor(dictionary_colorForKey(&dictionary, "maskColor")),
      text(dictionary_stringForKey(&dictionary, "text")),
      scrollableY(dictionary_boolForKey(&dictionary, "scrollableY")),
      textAlign(alignment(dictionary_stringForKey(&dictionary, "textAlign"))) {}

const std::optional<KLAttributedText>& KLPopupPropertyModel::attributedText() const {
  if (!attributedText_ && text && !text->empty()) {
    attributedText_ = KLAttributedText{*text, font, color, kKerning, font * kLineHeight - font, textAlign, false};
  }
  return attributedText_;
}

}  // namespace kaleo
