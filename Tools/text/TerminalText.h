#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kaleo::tools {

/// `text` from outside as a terminal may show it: one line of valid UTF-8, with '?' for what would steer the terminal or turn the
/// direction of writing.
std::string printable(std::string_view text);

/// The columns that a terminal gives `text`: two for a wide character (Unicode TR 11), none for one that combines.
std::size_t displayWidth(std::string_view text);

/// What a piece of text is about; shown in colour where there are colours.
enum class Tone { Plain, Heading, Good, Bad, Faint };

/// Colours text for a terminal (ECMA-48), or leaves it as it is.
class Painter {
 public:
  explicit Painter(bool coloured) : coloured_(coloured) {}
  std::string operator()(Tone tone, std::string text) const;

 private:
  bool coloured_;
};

/// Whether what is written to `descriptor` may be coloured: it is a terminal that knows colours, and the user has not set NO_COLOR.
bool wantsColour(int descriptor);

}  // namespace kaleo::tools
