#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "Core/Base/Log/KLLog.h"
#include "kaleo/KLGeometry.h"
#include "kaleo/KLPresentation.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// Width of the canvas that popups are designed on, in points: lengths in "px" are scaled from it to the screen.
inline constexpr double kKLPopupDesignWidth = 375.0;
/// What a bare length of 1 becomes: widths between 0 and 1 are fractions of the container, so that 1 is the whole of it.
inline constexpr double kKLPopupWholeContainer = 0.99999999999999;
/// Lengths beyond this, either way, are cut to it, so that sums of them stay finite. In points.
inline constexpr double kKLPopupMaxLength = 1e6;

/// What a popup document is read against. Lifetime: borrows screen and log, for as long as the parsing takes.
struct KLPopupReading {
  const KLScreen& screen;
  const KLLog& log;
  std::filesystem::path bundle;  ///< "Kaleo.bundle"
};

// Look-ups in popup documents. A null or non-object dictionary has no members. Threads: any.

/// The member `key`; null when it is missing or JSON null. Valid as long as `dictionary` is.
const KLValue* dictionary_valueForKey(const KLValue* dictionary, std::string_view key);
/// A colour written as an object with "r", "g", "b" (0 to 255) and "a" (0 to 1); a missing part is 0, parts out of range are cut.
/// Nothing when the member is missing or no object.
std::optional<KLColor> dictionary_colorForKey(const KLValue* dictionary, std::string_view key);
/// A length written as text, in points: with the suffix "px" scaled from the design canvas to the screen's shorter side and rounded
/// up, otherwise as it stands, 1 becoming kKLPopupWholeContainer. A missing length is 0; one that is no text is 0 and logged.
double dictionary_pixelForKey(const KLValue* dictionary, std::string_view key, const KLPopupReading& reading);
/// A text as it stands; nothing when the member is missing or no text.
std::optional<std::string> dictionary_stringForKey(const KLValue* dictionary, std::string_view key);
/// An identifier: a text as it stands, or a number's text.
std::optional<std::string> dictionary_identifierForKey(const KLValue* dictionary, std::string_view key);
bool dictionary_boolForKey(const KLValue* dictionary, std::string_view key);

/// The screen's shorter side, in points.
double KLShorterSide(const KLScreen& screen);

/// The file `name` below `directory`; nothing when there is none, or when the name leads out of the directory.
std::optional<std::string> KLResourcePath(const std::filesystem::path& directory, const std::string& name);

}  // namespace kaleo
