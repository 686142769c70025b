#include "text/TerminalText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "Foundation/KLUTF8.h"

namespace kaleo::tools {
namespace {

/// Hands each code point of `text`, which is valid UTF-8, to `take` with the bytes that it stands in.
template <class Take>
void eachCharacter(std::string_view text, Take&& take) {
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t position = 0; position < length;) {
    const std::int32_t start = position;
    UChar32 character = 0;
    U8_NEXT(text.data(), position, length, character);
    take(character, text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(position - start)));
  }
}

bool isHarmless(UChar32 character) {
  switch (u_charType(character)) {
    case U_CONTROL_CHAR:
    case U_FORMAT_CHAR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
    case U_SURROGATE:
    case U_UNASSIGNED:
      return false;
    default:
      return true;
  }
}

std::size_t widthOf(UChar32 character) {
  const auto type = u_charType(character);
  if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR) return 0;
  const auto width = static_cast<UEastAsianWidth>(u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH));
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

const char* colourOf(Tone tone) {
  switch (tone) {
    case Tone::Heading:
      return "\x1b[1m";
    case Tone::Good:
      return "\x1b[32m";
    case Tone::Bad:
      return "\x1b[31m";
    case Tone::Faint:
      return "\x1b[2m";
    default:
      return nullptr;
  }
}

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  eachCharacter(KLUTF8Repaired(text), [&](UChar32 character, std::string_view bytes) {
    if (isHarmless(character)) {
      shown += bytes;
    } else {
      shown += '?';
    }
  });
  return shown;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  eachCharacter(KLUTF8Repaired(text), [&](UChar32 character, std::string_view) { width += widthOf(character); });
  return width;
}

std::string Painter::operator()(Tone tone, std::string text) const {
  const char* const colour = coloured_ && !text.empty() ? colourOf(tone) : nullptr;
  return colour ? colour + text + "\x1b[0m" : text;
}

bool wantsColour(int descriptor) {
  const char* const refused = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  if ((refused && *refused) || !terminal || std::string_view(terminal) == "dumb") return false;
  return isatty(descriptor) != 0;
}

}  // namespace kaleo::tools
