#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"

#include "Foundation/KLURL.h"

namespace kaleo {
namespace {

bool isURL(const std::optional<std::string>& text) { return text && KLURL::parse(*text).has_value(); }

void removeIfThere(const std::weak_ptr<KLView*>& view) {
  if (const auto living = view.lock()) (*living)->removeFromSuperview();
}

}  // namespace

std::unique_ptr<KLView> popupViewWithElementModel(const KLPopupElementModel& element, const KLPopupViewSurroundings& surroundings) {
  auto view = element.view(surroundings);
  for (const auto& child : element.subviews) view->addSubview(popupViewWithElementModel(*child, surroundings));
  return view;
}

void quillon_setImageWithURLString(KLView& view, const std::optional<std::string>& url,
                                   std::shared_ptr<const KLPlaceholderImage> placeholder, KLImageDownloader& downloader) {
  if (!isURL(url)) {
    placeholder->showIn(view);
    return;
  }
  const auto shown = std::make_shared<std::weak_ptr<KLView*>>();  // the drawn placeholder, while it stands
  const auto start = [target = view.weakReference(), placeholder = std::move(placeholder), shown] {
    if (const auto living = target.lock()) *shown = placeholder->showIn(**living);
  };
  const auto completion = [target = view.weakReference(), shown](const std::shared_ptr<const KLImage>& image, const auto&) {
    const auto living = target.lock();
    if (!living || !image) return;
    KLView& filled = **living;
    removeIfThere(*shown);
    filled.image = image;
    filled.currentFrame = 0;
    filled.setNeedsDisplay();
  };
  downloader.downloadImageWithURL(url, start, completion);
}

void quillon_setBackgroundImageWithURLString(KLView& view, const std::optional<std::string>& url, KLImageDownloader& downloader) {
  if (!isURL(url)) {
    view.backgroundColor = kKLPlaceholderColor;
    return;
  }
  const auto start = [target = view.weakReference()] {
    const auto living = target.lock();
    if (!living) return;
    (*living)->backgroundColor = kKLPlaceholderColor;
    (*living)->setNeedsDisplay();
  };
  const auto completion = [target = view.weakReference(), color = view.backgroundColor](const std::shared_ptr<const KLImage>& image,
                                                                                        const auto&) {
    const auto living = target.lock();
    if (!living) return;
    (*living)->backgroundColor = color;
    if (image) (*living)->backgroundImage = image;
    (*living)->setNeedsDisplay();
  };
  downloader.downloadImageWithURL(url, start, completion);
}

void KLRoundCorners(KLView& view, const KLPopupPropertyModel& style) {
  if (style.cornerRadius <= 0) return;
  view.cornerRadius = style.cornerRadius;
  view.clipsToBounds = true;
}

void KLSetBorder(KLView& view, const KLPopupPropertyModel& style) {
  if (style.borderWidth <= 0 || !style.borderColor) return;
  view.borderWidth = style.borderWidth;
  view.borderColor = style.borderColor;
}

}  // namespace kaleo
