#include "Campaign/Popup/Model/KLPopupElementLinkModel.h"

namespace kaleo {
namespace {

constexpr KLColor kBlack{0, 0, 0, 1};

}  // namespace

std::unique_ptr<KLView> KLPopupElementLinkModel::view(const KLPopupViewSurroundings&) const {
  const KLPopupPropertyModel& style = propertiesOrNone();
  auto view = makeView(KLView::Kind::Button);
  view->userInteractionEnabled = true;
  if (style.text && !style.text->empty()) {
    view->text = KLAttributedText{*style.text, style.font, style.color.value_or(kBlack), 0, 0, KLTextAlignment::Center, true};
  }
  attachTo(*view);
  return view;
}

}  // namespace kaleo
