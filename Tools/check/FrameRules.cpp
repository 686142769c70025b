#include "check/FrameRules.h"

#include <fmt/format.h>

#include <algorithm>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "Core/Utils/KLJSONSerialization.h"
#include "Platform/Headless/KLHeadlessPresentation.h"

namespace kaleo::tools {
namespace {

constexpr double kTooHigh = 1.2;  ///< times the screen: more than fonts make out
constexpr double kRounding = 2;   ///< points; lengths in pixels are rounded up on their own

class FrameCheck {
 public:
  explicit FrameCheck(Findings& findings) : findings_(findings) {}

  void element(const KLPopupElementModel& element, const At& at, double room) {
    if (!element.layout) return;  // a finding of its own, and what is in it lies anywhere
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
    if (isRow && at["type"].isGiven() && at["type"].text() != "row") return;  // unknown, and meant as something else
    if (!isRow && element.type != KLPopupElementType::Column) return;
    auto child = element.subviews.begin();
    bool pushesOthers = false;  // a child of the whole width in a row, which is a finding of its own
    for (const At& entry : at["subviews"].elements()) {
      if (!entry.isObject() || quillon_boolValue(entry["properties"]["isHidden"].value())) continue;
      if (child == element.subviews.end()) return;
      if (!(*child)->layout) return;  // a finding of its own, and those behind it begin anew
      if (!isRow && at["layout"]["height"].isGiven() && (*child)->frame().y >= element.frame().height) {
        findings_.report(Check::Overflow, entry,
                         fmt::format("It begins {:.0f} points below the top of its column, which is {:.0f} high: nobody sees it.",
                                     (*child)->frame().y, element.frame().height));
        return;  // so do those after it
      }
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
  const double height = popup.element->frame().height, room = screen.size().height;
  const bool isContainer = popup.element->type == KLPopupElementType::Row || popup.element->type == KLPopupElementType::Column;
  if (isContainer && popup.element->subviews.empty() && !popup.element->propertiesOrNone().backgroundImage) {
    findings.report(Check::EmptyPopup, layout["template"], "There is nothing in this popup.");
  } else if (height > kTooHigh * room) {
    findings.report(Check::TooHigh, layout["template"],
                    fmt::format("The popup is about {:.0f} points high, and a screen of {:.0f} points.", height, room));
  }
  FrameCheck(findings).element(*popup.element, layout["template"], KLShorterSide(screen));
}

}  // namespace kaleo::tools
