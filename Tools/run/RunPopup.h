#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Platform/Headless/KLHeadlessWindow.h"
#include "kaleo/KLCampaign.h"
#include "kaleo/KLPresentation.h"

namespace kaleo::tools {

/// The elements of a campaign's layout, depth first, containers before what is in them: objects with "type" (a row for
/// words that are none), "text", "image", "frame" (x, y, width, height in points as laid out, relative to the parent) and "actions"
/// (as the layout writes them). Laid out as the library does it for that screen.
KLValue elementsOf(const KLCampaign& campaign, const KLPresentation& presentation, const std::filesystem::path& resources);

/// An action as the layout writes it.
KLValue valueOf(const KaleoActionModel& action);

/// Taps what is on screen in `window` (null: nothing is): the `number`-th view that takes taps, depth first from 1, at its middle
/// or, where that is covered or cut away, at another point of it; 0 taps the mask beside the popup. Answers why it cannot be
/// tapped; "" when it was. Main thread.
std::string tapElement(KLHeadlessWindow* window, std::size_t number);

}  // namespace kaleo::tools
