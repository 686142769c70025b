#include "Campaign/Popup/Model/KLPopupElementImageModel.h"

#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"

namespace kaleo {

std::unique_ptr<KLView> KLPopupElementImageModel::view(const KLPopupViewSurroundings& surroundings) const {
  const KLPopupPropertyModel& style = propertiesOrNone();
  auto view = makeView(KLView::Kind::ImageView);
  KLRoundCorners(*view, style);
  quillon_setImageWithURLString(*view, style.image, surroundings.pictures.placeholder, surroundings.downloader);
  attachTo(*view);
  return view;
}

}  // namespace kaleo
