#include "check/LayoutRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLURL.h"
#include "check/ActionRules.h"
#include "check/BoundRules.h"
#include "check/Colours.h"
#include "check/FrameRules.h"
#include "check/KnownKeys.h"

namespace kaleo::tools {
namespace {

constexpr double kLargeText = 24, kContrast = 4.5, kLargeContrast = 3;  // WCAG 2.1, 1.4.3, in points of the design canvas
constexpr double kSmallestText = 6;                                     // points; of smaller ones nobody makes out the letters

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
    const At root = layout["template"], properties = layout["properties"];
    if (!root.isObject()) {
      const bool isElement = layout["type"].isGiven() || layout["subviews"].isGiven();
      findings_.report(Check::NoTemplate, root,
                       isElement ? "This is an element; it belongs under \"template\"." : "The layout has no element.");
      return;
    }
    checkKeys(layout, {"cname", "id", "properties", "template"}, findings_);
    if (properties.isGiven()) expectObject(properties, findings_);
    checkKeys(properties, {"maskColor", "maskCloseEnabled", "maskActionId", "maskAction"}, findings_);
    checkColour(properties["maskColor"], findings_);
    element(root, {});
    checkElementBounds(root, findings_);
    const bool maskCloses = closesByMask(properties);
    checkFrames(layout, findings_);
    if (!maskCloses && !closes_) findings_.report(Check::NoWayOut, layout, "No element and not even the mask closes the popup.");
  }

 private:
  struct Surroundings {
    std::optional<CheckedColour> ground;  ///< opaque colour below the element; nothing when it is not known
    bool inRow = false;
  };

  bool closesByMask(const At& properties) {
    const CheckedActions listed = checkActions(properties["maskAction"], findings_);
    const bool enabled = checkBool(properties["maskCloseEnabled"], findings_);
    if (properties["maskAction"].isGiven() && !listed.any && listed.isList && !enabled) {
      findings_.report(Check::IdleAction, properties["maskAction"],
                       "There is nothing under \"IOS\", and \"maskCloseEnabled\" is not set: a tap beside the popup does nothing.");
    }
    return listed.any ? listed.closes : enabled;
  }

  void element(const At& at, Surroundings around) {
    checkKeys(at, {"type", "layout", "properties", "action", "subviews", "id", "cname"}, findings_);
    const std::string& type = at["type"].text();
    if (at["type"].isGiven() && !isOneOf(type, {"label", "image", "button", "image_button", "link", "column", "row"})) {
      findings_.report(Check::UnknownElement, at["type"],
                       fmt::format("{} is laid out as a row{}", written(at["type"]),
                                   didYouMean(type, {"label", "image", "button", "image_button", "link", "column", "row"})));
    }
    if (!at["type"].isGiven() && (at["properties"]["text"].isGiven() || at["properties"]["image"].isGiven())) {
      findings_.report(Check::UnknownElement, at,
                       "This element has no type: it is laid out as a row, without its text or picture.");
    }
    if (at["isHidden"].isGiven()) findings_.report(Check::MisplacedHidden, at["isHidden"], "The element is shown all the same.");
    box(at, type, around.inRow);
    properties(at, type, around);
    taps(at, type);
    expectArray(at["subviews"], findings_);
    const auto subviews = at["subviews"].elements();
    const bool isLeaf = isOneOf(type, {"label", "image", "button", "image_button", "link"});
    if (isLeaf && !subviews.empty()) {
      findings_.report(Check::LeafSubviews, at["subviews"], fmt::format("What is in this {} is not laid out.", type));
      return;
    }
    const auto shown = std::ranges::count_if(subviews, [](const At& entry) { return !yes(entry["properties"]["isHidden"]); });
    around.inRow = (type == "row" || !at["type"].isGiven()) && shown > 1;
    for (const At& entry : subviews) {
      if (expectEntry(entry, findings_) && !checkBool(entry["properties"]["isHidden"], findings_)) element(entry, around);
    }
  }

  /// Whether the length is there and above 0.
  bool length(const At& at) {
    if (!at.isGiven()) return false;
    const std::string& text = at.text();
    if (!beginsWithNumber(text)) {
      findings_.report(Check::BadLength, at, fmt::format("{} is no length and reads as 0.", written(at)));
    } else if (!text.ends_with("px") && !isWholeNumberText(text)) {
      findings_.report(Check::LengthUnit, at, fmt::format("{} reads as {:g} points.", written(at), numberOf(at)));
    }
    return numberOf(at) > 0;
  }

  /// The same of one that is no fraction of anything.
  bool fixedLength(const At& at) {
    const bool isPositive = length(at);
    if (isPositive && numberOf(at) <= 1 && isWholeNumberText(at.text())) {
      findings_.report(Check::Fraction, at, fmt::format("{} is {:g} points.", written(at), numberOf(at)));
    }
    return isPositive;
  }

  void box(const At& at, const std::string& type, bool inRow) {
    const At layout = at["layout"];
    if (!layout.isObject()) {
      findings_.report(Check::NoLayout, layout,
                       layout.isGiven() ? fmt::format("{} should be an object.", written(layout)) : "This element has no layout.");
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
    const At width = layout["width"];
    const bool hasWidth = length(width), hasHeight = fixedLength(layout["height"]), hasMost = fixedLength(layout["maxHeight"]);
    if (numberOf(width) < 0) {
      findings_.report(Check::BadLength, width, fmt::format("A width of {} is below 0: nobody sees the element.", written(width)));
    } else if (!hasWidth && beginsWithNumber(width.text())) {
      findings_.report(Check::ZeroWidth, width, fmt::format("A width of {} is the whole width.", written(width)));
    }
    const bool takesHeight = isOneOf(type, {"image", "button", "image_button", "link", "column"});
    if (hasHeight && !takesHeight) {
      findings_.report(Check::IdleHeight, layout["height"],
                       fmt::format("This {} is as high as what is in it.", type == "label" ? type : "row"));
    }
    if (inRow && !hasWidth) findings_.report(Check::WholeWidthInRow, layout, "This element of a row has no width.");
    if (!hasHeight && takesHeight && type != "column" && (!layout["height"].isGiven() || layout["height"].isText())) {
      findings_.report(Check::NoHeight, layout["height"], fmt::format("This {} has no height.", type));
    }
    if (type == "label" && yes(at["properties"]["scrollableY"]) && !hasMost) {
      findings_.report(Check::ScrollsWithoutHeight, layout["maxHeight"], "This label scrolls within no height.");
    }
  }

  void properties(const At& at, const std::string& type, Surroundings& around) {
    const At properties = at["properties"];
    if (properties.isGiven()) expectObject(properties, findings_);
    checkKeys(properties,
              {"backgroundColor", "borderWidth", "borderColor", "color", "cornerRadius", "font", "image", "backgroundImage",
               "localImageName", "msgType", "text", "scrollableY", "textAlign", "isHidden"},
              findings_);
    for (const char* key : {"borderWidth", "cornerRadius"}) length(properties[key]);
    fixedLength(properties["font"]);
    checkBool(properties["scrollableY"], findings_);
    checkColour(properties["borderColor"], findings_);
    const auto ground = checkColour(properties["backgroundColor"], findings_);
    const auto colour = checkColour(properties["color"], findings_);
    if (ground && ground->alpha >= 1) around.ground = ground;
    if (ground && ground->alpha < 1 && around.ground) around.ground = blended(*ground, *around.ground);
    const bool pictured =
        properties["backgroundImage"].isGiven() || properties["image"].isGiven() || properties["localImageName"].isGiven();
    if (pictured) around.ground.reset();
    pictures(at, type);
    const At align = properties["textAlign"];
    if (align.isGiven() && !isOneOf(align.text(), {"left", "center", "right"})) {
      findings_.report(Check::UnknownWord, align, fmt::format("{} aligns the text to the left.", written(align)));
    }
    text(at, type, colour, around);
  }

  void text(const At& at, const std::string& type, const std::optional<CheckedColour>& colour, const Surroundings& around) {
    const At properties = at["properties"], text = properties["text"];
    const bool isEmpty = !text.isGiven() || (text.isText() && text.text().empty());
    if (text.isGiven() && !text.isText()) {
      findings_.report(Check::WrongKind, text, fmt::format("{} should be a text.", written(text)));
    }
    placeholder(text);
    if (!isOneOf(type, {"label", "link", "button", "image_button"})) return;
    if (!isEmpty) {
      fontSize(properties["font"], type);
      readability(properties, colour, around);
    } else if (isOneOf(type, {"label", "link"})) {
      findings_.report(Check::NoText, text, fmt::format("This {} has no text.", type));
    }
  }

  void fontSize(const At& font, const std::string& type) {
    const double size = numberOf(font);
    const bool isRead = !font.isGiven() || beginsWithNumber(font.text());  // else it has its own finding,
    const bool isFraction = size <= 1 && isWholeNumberText(font.text());   // and so does this
    if (size <= 0 && isRead) {
      findings_.report(Check::NoText, font, fmt::format("The font of this {} has no size.", type));
    } else if (size > 0 && size < kSmallestText && !isFraction) {
      findings_.report(Check::TinyText, font, fmt::format("This text is {:g} points high.", size));
    }
  }

  void readability(const At& properties, const std::optional<CheckedColour>& colour, const Surroundings& around) {
    const At text = properties["text"], given = properties["color"];
    if (!around.ground || (!colour && given.isGiven())) return;
    const double needed = numberOf(properties["font"]) >= kLargeText ? kLargeContrast : kContrast;
    const CheckedColour black{0, 0, 0, 1};  // where none is given
    const double reached = contrast(blended(colour.value_or(black), *around.ground), *around.ground);
    if (reached >= needed) return;
    findings_.report(
        Check::Contrast, given.isGiven() ? given : text,
        fmt::format("The contrast of {} with its ground is {:.1f} to 1; {:.1f} to 1 is needed.", written(text), reached, needed));
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

  void pictures(const At& at, const std::string& type) {
    const At properties = at["properties"], local = properties["localImageName"];
    url(properties["image"]);
    url(properties["backgroundImage"]);
    if (type == "image" && !properties["image"].isGiven()) findings_.report(Check::NoPicture, at, "This image names no picture.");
    if (local.isGiven() && !isOneOf(local.text(), {"close", "placeholder"})) {
      findings_.report(Check::UnknownPicture, local,
                       fmt::format("{} is no picture that the library brings along.", written(local)));
    }
  }

  void url(const At& at) {
    if (!at.isGiven()) return;
    const std::string& text = at.text();
    if (text.starts_with("{{base}}/")) return;  // of a served directory: becomes the server's address
    const auto url = KLURL::parse(text);
    if (!url || !isOneOf(url->scheme(), {"http", "https"}) || url->host().empty()) {
      findings_.report(Check::BadURL, at, fmt::format("{} is no http or https URL.", written(at)));
    } else if (isOneOf(url->pathExtension(),
                       {"svg", "webp", "avif", "heic", "heif", "bmp", "tif", "tiff", "pdf", "ico", "mp4", "webm"})) {
      findings_.report(Check::PictureFormat, at, fmt::format("The library draws no {} pictures.", url->pathExtension()));
    }
  }

  void taps(const At& at, const std::string& type) {
    const At action = at["action"];
    const bool isTappable = isOneOf(type, {"image", "button", "image_button", "link"});
    if (action.isGiven() && !isTappable) {
      findings_.report(Check::IdleAction, action, fmt::format("A {} takes no taps.", type == "label" ? "label" : "row or column"));
      return;
    }
    const CheckedActions found = checkActions(action, findings_);
    closes_ = closes_ || found.closes;
    if (!found.any && found.isList && isOneOf(type, {"button", "image_button", "link"})) {
      findings_.report(Check::IdleAction, action,
                       action.isGiven() ? fmt::format("The action of this {} lists nothing under \"IOS\".", type)
                                        : fmt::format("This {} has no action.", type));
    }
  }

  Findings& findings_;
  bool closes_ = false;
};

}  // namespace

void checkLayout(const At& layout, Findings& findings) { LayoutCheck(findings).document(layout); }

}  // namespace kaleo::tools
