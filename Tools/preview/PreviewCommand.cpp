#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>

#include "options/CommandArguments.h"
#include "preview/Preview.h"

namespace kaleo::tools {
namespace {

constexpr double kMostPoints = 4096;  ///< of a screen's side
constexpr double kMostScale = 8;

/// "375x812" as a size; nothing when it is none.
std::optional<KLSize> sizeFrom(const std::string& text) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  KLSize size;
  char by = 0;
  if (!(stream >> size.width >> by >> size.height) || by != 'x' || !stream.eof()) return std::nullopt;
  const auto isSide = [](double side) { return side >= 1 && side <= kMostPoints; };
  return isSide(size.width) && isSide(size.height) ? std::optional(size) : std::nullopt;
}

std::string faultOfScreen(const std::string& text) {
  return sizeFrom(text) ? "" : "a screen is WIDTHxHEIGHT in points, such as 375x812";
}

}  // namespace

Command previewCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<PreviewArguments>();
  CommandArguments app(
      kaleo, "preview",
      "Shows a popup's layout in a window that follows the file, or writes a picture of it, or prints its frames.");
  app.add("LAYOUT", arguments->file, "JSON file: a layout, a whole plan, or a popup window answer").called("").required();
  app.add("--out", arguments->out, "Writes a picture (PNG) instead of opening a window").called("FILE.png");
  app.add(
         "--screen", [arguments](const std::string& text) { arguments->screen = sizeFrom(text).value_or(KLSize{}); },
         "The screen's size in points; default: 375x812")
      .checkedBy(faultOfScreen)
      .called("WxH");
  app.add("--scale", arguments->scale, "Pixels a point; default: 1").within(0.1, kMostScale).called("SCALE");
  app.flag("--frames", arguments->frames, "Prints the frames, one JSON object a line, instead of opening a window");
  app.add(
         "--metrics", [arguments](const std::string&) { arguments->fixedMetrics = true; },
         "How texts are measured. fixed: without fonts, the same on every machine: a character is half the font size\n"
         "wide, a line 1.2 times the font size high. Default: in the font that they are drawn in")
      .oneOf({"fixed"});
  app.footer(
      R"(Pictures are read from paths (relative to the layout's file), file: URLs, and http(s) URLs. "{{base}}" stands for the
directory that kaleo serve would serve. The window shows the popup anew when the layout or one of its pictures is saved;
faults in the JSON and pictures that do not come are shown in it and on standard error.

Examples:
  kaleo preview welcome.json
  kaleo preview welcome.json --out welcome.png --screen 375x667 --scale 2

Exit status: 0, 2 when there is nothing to show (see standard error).)");
  return app.running([arguments] { return preview(*arguments, {std::cout, std::cerr}); });
}

}  // namespace kaleo::tools
