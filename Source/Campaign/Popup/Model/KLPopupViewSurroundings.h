#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Campaign/Popup/Model/KLPopupPictures.h"
#include "Image/KLImageDownloader.h"

namespace kaleo {

/// What the building of views stands on. Lifetime: borrowed, for as long as the building takes.
struct KLPopupViewSurroundings {
  KLImageDownloader& downloader;
  const KLPopupPictures& pictures;
};

// Building of views. Main thread only.

/// The view of `element` with the trees of its children as subviews, in order.
std::unique_ptr<KLView> popupViewWithElementModel(const KLPopupElementModel& element, const KLPopupViewSurroundings& surroundings);

/// Fills an image view from a URL. The placeholder shows from the moment a download begins until the picture comes, and for good
/// when the text is no URL or no picture comes. A view that is gone by then is skipped.
void quillon_setImageWithURLString(KLView& view, const std::optional<std::string>& url,
                                   std::shared_ptr<const KLPlaceholderImage> placeholder, KLImageDownloader& downloader);
/// Fills a button's background from a URL. Its background colour is the placeholder's from the moment a download begins until it
/// ends, and for good when the text is no URL. A view that is gone by then is skipped.
void quillon_setBackgroundImageWithURLString(KLView& view, const std::optional<std::string>& url, KLImageDownloader& downloader);

void KLRoundCorners(KLView& view, const KLPopupPropertyModel& style);
void KLSetBorder(KLView& view, const KLPopupPropertyModel& style);

}  // namespace kaleo
