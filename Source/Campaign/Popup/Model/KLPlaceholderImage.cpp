#include "Campaign/Popup/Model/KLPlaceholderImage.h"

#include <algorithm>

#include "Campaign/Popup/Model/KLPopupJSON.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLImageDecoder.h"

namespace kaleo {
namespace {

constexpr const char* kBundleName = "Kaleo.bundle";
constexpr const char* kIconName = "placeholder";
constexpr const char* kCaption = "图片暂未加载";
constexpr KLColor kCaptionColor{0, 15.0 / 255, 38.0 / 255, 0.2};

// The drawn placeholder is measured in hundredths of its width.
constexpr double kUnitsPerWidth = 100;
constexpr double kIconWidthUnits = 30;
constexpr double kCaptionFontUnits = 12 * 0.5;
constexpr double kCaptionHeightUnits = kCaptionFontUnits * 1.5;  // room for any system font's line
constexpr double kGapUnits = 4;                                  // between icon and caption
constexpr double kEdgeUnits = 3;                                 // kept free above and below

// Where icon and caption lie: centred together, the icon made smaller when the height is short.
struct Placement {
  KLRect icon, caption;
};

Placement place(KLSize size, double iconAspect) {
  const double unit = size.width / kUnitsPerWidth;
  const double captionHeight = kCaptionHeightUnits * unit;
  const double room = std::max(0.0, size.height - captionHeight - (kGapUnits + 2 * kEdgeUnits) * unit);
  const double iconHeight = std::min(kIconWidthUnits * unit * iconAspect, room);
  const double iconWidth = iconAspect > 0 ? iconHeight / iconAspect : 0;
  const double top = (size.height - iconHeight - kGapUnits * unit - captionHeight) / 2;
  return {{(size.width - iconWidth) / 2, top, iconWidth, iconHeight},
          {0, top + iconHeight + kGapUnits * unit, size.width, captionHeight}};
}

double aspectOf(const KLImage* image) {
  return image && image->pixelWidth() > 0 ? static_cast<double>(image->pixelHeight()) / image->pixelWidth() : 0;
}

std::unique_ptr<KLView> draw(KLSize size, const std::shared_ptr<const KLImage>& icon) {
  const Placement placement = place(size, aspectOf(icon.get()));
  auto whole = std::make_unique<KLView>(KLView::Kind::Plain);
  whole->frame = {0, 0, size.width, size.height};
  whole->backgroundColor = kKLPlaceholderColor;
  whole->clipsToBounds = true;
  KLView& iconView = whole->addSubview(std::make_unique<KLView>(KLView::Kind::ImageView));
  iconView.frame = placement.icon;
  iconView.image = icon;
  KLView& caption = whole->addSubview(std::make_unique<KLView>(KLView::Kind::Label));
  caption.frame = placement.caption;
  caption.text = KLAttributedText{
      kCaption, size.width / kUnitsPerWidth * kCaptionFontUnits, kCaptionColor, 0, 0, KLTextAlignment::Center, false};
  return whole;
}

std::shared_ptr<const KLImage> applicationImage(const std::filesystem::path& resources, const KLValue& name) {
  return name.isString() ? KLResourceImage(resources, name.asString()) : nullptr;
}

}  // namespace

std::shared_ptr<const KLPlaceholderImage> KLPlaceholderImage::load(const KLConfigOptions* options,
                                                                   const std::filesystem::path& resources) {
  auto placeholder = std::make_shared<KLPlaceholderImage>();
  if (const auto name = options ? options->placeholderImageName() : std::nullopt) {
    placeholder->picture_ = applicationImage(resources, *name);
  } else if (const auto data = options ? options->placeholderImage() : std::nullopt) {
    placeholder->picture_ = KLImageDecoder::decode(*data);
  } else {
    placeholder->drawn_ = true;
    placeholder->picture_ = KLResourceImage(resources / kBundleName, kIconName);
  }
  return placeholder;
}

std::weak_ptr<KLView*> KLPlaceholderImage::showIn(KLView& view) const {
  std::weak_ptr<KLView*> subtree;
  if (drawn_) {
    subtree = view.insertSubview(draw({view.frame.width, view.frame.height}, picture_), 0).weakReference();
  } else {
    view.image = picture_;
    view.currentFrame = 0;
  }
  view.setNeedsDisplay();
  return subtree;
}

std::shared_ptr<const KLImage> KLResourceImage(const std::filesystem::path& directory, const std::string& name) {
  auto path = KLResourcePath(directory, name);
  if (!path) path = KLResourcePath(directory, name + ".png");
  const auto data = path ? KLFile::read(*path) : std::nullopt;
  return data ? KLImageDecoder::decode(*data) : nullptr;
}

}  // namespace kaleo
