#include "check/FrameRules.h"

#include <fmt/format.h>

#include <algorithm>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Platform/Headless/KLHeadlessPresentation.h"

namespace kaleo::tools {
namespace {

constexpr double kRounding = 2;  ///< points; lengths in pixels are rounded up on their own

class FrameCheck {
 public:
  explicit FrameCheck(Findings& findings) : findings_(findings) {}

  void element(const KLPopupElementModel& element, const At& at, double room) {
    const KLRect frame = element.frame();
    const double beyond = std::max(-frame.x, frame.x + frame.width - room);
    if (beyond > kRounding) {
      findings_.report(Check::Overflow, at["layout"],
                       fmt::format("{:.0f} of its {:.0f} points reach out of the {:.0f} around it, on a screen {:.0f} wide.",
                                   beyond, frame.width, room, kKLPopupDesignWidth));
      return;  // what is in it may reach out for the same reason
    }
    inside(element, at, frame.width);
  }

 private:
  void inside(const KLPopupElementModel& element, const At& at, double room) {
    const bool isRow = element.type == KLPopupElementType::Row;
    if (!isRow && element.type != KLPopupElementType::Column) return;
    auto child = element.subviews.begin();
    bool pushesOthers = false;  // a child of the whole width in a row, which is a finding of its own
    for (const At& entry : at["subviews"].elements()) {
      if (!entry.isObject() || quillon_boolValue(entry["properties"]["isHidden"].value())) continue;
      if (child == element.subviews.end()) return;
      pushesOthers = pushesOthers || (isRow && !entry["layout"]["width"].isGiven());
      if (!pushesOthers) this->element(**child, entry, room);
      ++child;
    }
  }

  Findings& findings_;
};

}  // namespace

void checkFrames(const At& layout, Findings& findings) {
  const KLHostRegistry nobody;
  const KLLog log{nobody};
  const KLHeadlessScreen screen;
  const KLPopupModel popup(*layout.value(), {screen, log, {}});
  if (!popup.element) return;
  popup.element->layoutWithContainerWidth(KLShorterSide(screen), KLFixedTextMeasurer());
  FrameCheck(findings).element(*popup.element, layout["template"], KLShorterSide(screen));
}

}  // namespace kaleo::tools
