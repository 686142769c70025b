#pragma once

#include <string>

#include "Campaign/Popup/Model/KLPopupElementModel.h"

namespace kaleo::tools {

/// The frames of a laid out element and those inside it, depth first, each as one line of JSON: "type" (the word of the document;
/// "row" for every word that is none of the known ones, and for none), "frame" ([x, y, width, height] in points, relative to the
/// parent), and "text" where the element has one.
std::string frameLines(const KLPopupElementModel& element);

}  // namespace kaleo::tools
