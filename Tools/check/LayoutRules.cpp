#include "check/LayoutRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLURL.h"
#include "check/Colours.h"
#include "check/FrameRules.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

constexpr double kLargeText = 24, kContrast = 4.5, kLargeContrast = 3;  // WCAG 2.1, 1.4.3, in points of the design canvas

bool yes(const At& at) { return at.isGiven() && quillon_boolValue(at.value()); }
double numberOf(const At& length) { return quillon_doublePrefix(length.text()); }
bool isOneOf(const std::string& word, std::initializer_list<const char*> words) {
  return std::ranges::find(words, word) != words.end();
}

/// Walks a layout and remembers what an element stands on.
class LayoutCheck {
 public:
  explicit LayoutCheck(Findings& findings) : findings_(findings) {}

  void document(const At& layout) {
    if (!expectObject(layout, findings_)) return;
    checkKeys(layout, {"cname", "id", "properties", "template"}, findings_);
    const At properties = layout["properties"];
    checkKeys(properties, {"maskColor", "maskCloseEnabled", "maskActionId", "maskAction"}, findings_);
    checkColour(properties["maskColor"], findings_);
    if (!layout["template"].isObject()) {
      findings_.report(Check::NoTemplate, layout, "The layout has no element.");
      return;
    }
    element(layout["template"], {});
    const bool maskCloses = properties["maskAction"]["IOS"].elements().empty() ? yes(properties["maskCloseEnabled"])
                                                                               : actions(properties["maskAction"]).closes;
    checkFrames(layout, findings_);
    if (!maskCloses && !closes_) findings_.report(Check::NoWayOut, layout, "No element and not even the mask closes the popup.");
  }

 private:
  struct Surroundings {
    std::optional<CheckedColour> ground;  ///< opaque colour below the element; nothing when it is not known
    bool inRow = false;
  };
  struct Actions {
    bool any = false;
    bool closes = false;
  };

  void element(const At& at, Surroundings around) {
    checkKeys(at, {"type", "layout", "properties", "action", "subviews", "id", "cname"}, findings_);
    const std::string& type = at["type"].text();
    if (at["type"].isGiven() && !isOneOf(type, {"label", "image", "button", "image_button", "link", "column", "row"})) {
      findings_.report(Check::UnknownElement, at["type"], fmt::format("{} is laid out as a row.", written(at["type"])));
    }
    if (at["isHidden"].isGiven()) findings_.report(Check::MisplacedHidden, at["isHidden"], "The element is shown all the same.");
    box(at, type, around.inRow);
    properties(at, type, around);
    taps(at, type);
    expectArray(at["subviews"], findings_);
    around.inRow = !isOneOf(type, {"label", "image", "button", "image_button", "link", "column"});
    for (const At& entry : at["subviews"].elements()) {
      if (expectObject(entry, findings_) && !yes(entry["properties"]["isHidden"])) element(entry, around);
    }
  }

  /// Whether the length is there and above 0.
  bool length(const At& at) {
    if (!at.isGiven()) return false;
    const std::string& text = at.text();
    const auto rest = std::min(text.find_first_not_of("+-.0123456789"), text.size());
    if (!at.isText() || rest == 0) {
      findings_.report(Check::BadLength, at, fmt::format("{} is no length and reads as 0.", written(at)));
    } else if (rest != text.size() && text.substr(rest) != "px") {
      findings_.report(Check::BadLength, at, fmt::format("Of {} only the number is read: {}.", written(at), text.substr(0, rest)));
    }
    return numberOf(at) > 0;
  }

  void box(const At& at, const std::string& type, bool inRow) {
    const At layout = at["layout"];
    if (!layout.isGiven() || !expectObject(layout, findings_)) {
      findings_.report(Check::NoLayout, layout.isPresent() ? layout : at, "This element has no layout.");
      return;
    }
    checkKeys(layout, {"align", "margin", "padding", "width", "height", "maxHeight"}, findings_);
    const At align = layout["align"];
    if (align.isGiven() && !isOneOf(align.text(), {"left", "center", "right"})) {
      findings_.report(Check::UnknownWord, align, fmt::format("{} aligns to the left.", written(align)));
    }
    for (const char* edges : {"margin", "padding"}) {
      if (layout[edges].isGiven()) expectObject(layout[edges], findings_);
      checkKeys(layout[edges], {"top", "left", "bottom", "right"}, findings_);
      for (const char* side : {"top", "left", "bottom", "right"}) length(layout[edges][side]);
    }
    const bool hasWidth = length(layout["width"]), hasHeight = length(layout["height"]), hasMost = length(layout["maxHeight"]);
    if (layout["width"].isText() && !hasWidth && beginsWithNumber(layout["width"].text())) {
      findings_.report(Check::ZeroWidth, layout["width"],
                       fmt::format("A width of {} is the whole width.", written(layout["width"])));
    }
    if (inRow && !hasWidth) findings_.report(Check::WholeWidthInRow, layout, "This element of a row has no width.");
    if (!hasHeight && isOneOf(type, {"image", "button", "image_button", "link"})) {
      findings_.report(Check::NoHeight, layout, fmt::format("This {} has no height.", type));
    }
    if (type == "label" && yes(at["properties"]["scrollableY"]) && !hasMost) {
      findings_.report(Check::ScrollsWithoutHeight, layout, "This label scrolls within no height.");
    }
  }

  void properties(const At& at, const std::string& type, Surroundings& around) {
    const At properties = at["properties"];
    if (properties.isGiven()) expectObject(properties, findings_);
    checkKeys(properties,
              {"backgroundColor", "borderWidth", "borderColor", "color", "cornerRadius", "font", "image", "backgroundImage",
               "localImageName", "msgType", "text", "scrollableY", "textAlign", "isHidden"},
              findings_);
    for (const char* key : {"borderWidth", "cornerRadius", "font"}) length(properties[key]);
    checkColour(properties["borderColor"], findings_);
    const auto ground = checkColour(properties["backgroundColor"], findings_);
    const auto colour = checkColour(properties["color"], findings_);
    if (ground && ground->alpha >= 1) around.ground = ground;
    if (ground && ground->alpha < 1 && around.ground) around.ground = blended(*ground, *around.ground);
    const bool pictured =
        properties["backgroundImage"].isGiven() || properties["image"].isGiven() || properties["localImageName"].isGiven();
    if (pictured) around.ground.reset();
    url(properties["image"]);
    url(properties["backgroundImage"]);
    const At align = properties["textAlign"];
    if (align.isGiven() && !isOneOf(align.text(), {"left", "center", "right"})) {
      findings_.report(Check::UnknownWord, align, fmt::format("{} aligns the text to the left.", written(align)));
    }
    text(at, type, colour, around);
  }

  void text(const At& at, const std::string& type, const std::optional<CheckedColour>& colour, const Surroundings& around) {
    const At properties = at["properties"], text = properties["text"];
    const bool isEmpty = !text.isGiven() || (text.isText() && text.text().empty());
    if (text.isGiven()) {
      if (!text.isText()) findings_.report(Check::WrongKind, text, fmt::format("{} should be a text.", written(text)));
      placeholder(text);
    }
    const double size = numberOf(properties["font"]);
    if (isOneOf(type, {"label", "link"}) && (isEmpty || size <= 0)) {
      const At& placed = isEmpty ? (text.isPresent() ? text : at) : (properties["font"].isPresent() ? properties["font"] : at);
      findings_.report(Check::NoText, placed,
                       isEmpty ? fmt::format("This {} has no text.", type) : fmt::format("The font of this {} has no size.", type));
    }
    const bool isBlack = !colour && isOneOf(type, {"label", "link"});  // where none is given
    if (isEmpty || !around.ground || (!colour && !isBlack)) return;
    const double needed = size >= kLargeText ? kLargeContrast : kContrast;
    const double reached = contrast(blended(colour.value_or(CheckedColour{0, 0, 0, 1}), *around.ground), *around.ground);
    if (reached < needed) {
      findings_.report(
          Check::Contrast, isBlack ? text : properties["color"],
          fmt::format("The contrast of {} with its ground is {:.1f} to 1; {:.1f} to 1 is needed.", written(text), reached, needed));
    }
  }

  /// What a campaign tool would fill in, had it been told to.
  void placeholder(const At& at) {
    const std::string& text = at.text();
    for (const auto& [open, close] : {std::pair("{{", "}}"), std::pair("${", "}"), std::pair("<%", "%>")}) {
      const auto start = text.find(open), end = text.find(close, start == std::string::npos ? start : start + 2);
      if (start == std::string::npos || end == std::string::npos) continue;
      const std::string found = text.substr(start, end - start + std::string_view(close).size());
      if (isOneOf(found, {"{{base}}", "{{distinct_id}}"})) continue;  // kaleo serve fills these in
      findings_.report(Check::Placeholder, at, fmt::format("The user reads {}.", quoted(found)));
    }
  }

  void url(const At& at) {
    if (!at.isGiven()) return;
    const std::string& text = at.text();
    if (text.starts_with("{{base}}/")) return;  // of a served directory: becomes the server's address
    const auto url = KLURL::parse(text);
    if (url && isOneOf(url->scheme(), {"http", "https"}) && !url->host().empty()) return;
    findings_.report(Check::BadURL, at, fmt::format("{} is no http or https URL.", written(at)));
  }

  void taps(const At& at, const std::string& type) {
    const At action = at["action"];
    const bool isTappable = isOneOf(type, {"image", "button", "image_button", "link"});
    if (action.isGiven() && !isTappable) {
      findings_.report(Check::IdleAction, action, fmt::format("A {} takes no taps.", type == "label" ? "label" : "row or column"));
      return;
    }
    const Actions found = actions(action);
    closes_ = closes_ || found.closes;
    if (!found.any && isOneOf(type, {"button", "image_button", "link"})) {
      findings_.report(Check::IdleAction, action.isPresent() ? action : at, fmt::format("This {} has no action.", type));
    }
  }

  Actions actions(const At& holder) {
    Actions found;
    if (!holder.isGiven()) return found;
    expectObject(holder, findings_);
    for (const At& action : holder["IOS"].elements()) {
      checkKeys(action, {"id", "type", "value", "closeable", "copied_tip"}, findings_);
      found.any = true;
      const std::string& type = action["type"].text();
      const bool closeable = yes(action["closeable"]);
      if (!isOneOf(type, {"close", "openlink", "copy", "customize"})) {
        findings_.report(Check::UnknownAction, action["type"].isPresent() ? action["type"] : action,
                         fmt::format("{} is no action.", written(action["type"])));
        continue;
      }
      found.closes = found.closes || (closeable && type != "copy");
      if (type == "close" && !closeable)
        findings_.report(Check::IdleAction, action, "This close action is not closeable and does nothing.");
      if (isOneOf(type, {"openlink", "copy"}) && (!action["value"].isText() || action["value"].text().empty())) {
        findings_.report(Check::IdleAction, action, fmt::format("This {} action has no value.", type));
      } else if (type == "openlink" && action["value"].text().find(':') == std::string::npos) {
        findings_.report(Check::BadURL, action["value"], fmt::format("{} is no absolute URL.", written(action["value"])));
      }
    }
    return found;
  }

  Findings& findings_;
  bool closes_ = false;
};

}  // namespace

void checkLayout(const At& layout, Findings& findings) { LayoutCheck(findings).document(layout); }

}  // namespace kaleo::tools
