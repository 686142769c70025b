#include "Campaign/Popup/Model/KLPopupElementButtonModel.h"

#include "Campaign/Popup/Model/KLPopupViewSurroundings.h"

namespace kaleo {

std::unique_ptr<KLView> KLPopupElementButtonModel::view(const KLPopupViewSurroundings& surroundings) const {
  const KLPopupPropertyModel& style = propertiesOrNone();
  auto view = makeView(KLView::Kind::Button);
  view->userInteractionEnabled = true;  // even without actions a button keeps taps from what lies under it
  KLSetBorder(*view, style);
  KLRoundCorners(*view, style);
  view->backgroundColor = style.backgroundColor;
  if (style.text) view->text = KLAttributedText{*style.text, style.font, style.color, 0, 0, KLTextAlignment::Center, false};
  setBackground(*view, surroundings);
  attachTo(*view);
  return view;
}

void KLPopupElementButtonModel::setBackground(KLView& view, const KLPopupViewSurroundings& surroundings) const {
  const KLPopupPropertyModel& style = propertiesOrNone();
  if (style.localImage) {
    view.backgroundImage = surroundings.pictures.localImage(*style.localImage);
  } else if (style.image) {
    quillon_setBackgroundImageWithURLString(view, style.image, surroundings.downloader);
  }
}

}  // namespace kaleo
