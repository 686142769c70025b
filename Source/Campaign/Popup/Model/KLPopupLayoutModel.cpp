#include "Campaign/Popup/Model/KLPopupLayoutModel.h"

namespace kaleo {
namespace {

KLPopupAlign alignFrom(const KLValue& dictionary) {
  const auto word = dictionary_stringForKey(&dictionary, "align");
  if (word == "center") return KLPopupAlign::Center;
  return word == "right" ? KLPopupAlign::Right : KLPopupAlign::Left;
}

KLEdgeInsets insetsFrom(const KLValue& dictionary, std::string_view key, const KLPopupReading& reading) {
  const KLValue* sides = dictionary_valueForKey(&dictionary, key);
  return {dictionary_pixelForKey(sides, "top", reading), dictionary_pixelForKey(sides, "left", reading),
          dictionary_pixelForKey(sides, "bottom", reading), dictionary_pixelForKey(sides, "right", reading)};
}

}  // namespace

KLPopupLayoutModel::KLPopupLayoutModel(const KLValue& dictionary, const KLPopupReading& reading)
    : align(alignFrom(dictionary)),
      margin(insetsFrom(dictionary, "margin", reading)),
      padding(insetsFrom(dictionary, "padding", reading)),
      width(dictionary_pixelForKey(&dictionary, "width", reading)),
      height(dictionary_pixelForKey(&dictionary, "height", reading)),
      maxHeight(dictionary_pixelForKey(&dictionary, "maxHeight", reading)) {}

}  // namespace kaleo
