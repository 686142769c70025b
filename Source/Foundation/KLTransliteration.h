#pragma once

#include <string>
#include <string_view>

namespace kaleo {

bool KLIsASCII(std::string_view text);

/// `text` (UTF-8) in ASCII letters that come close: other scripts by their romanisation, accents dropped, what remains left out.
/// `text` itself when ICU's data lacks the rules. Threads: any.
std::string KLTransliteratedToASCII(const std::string& text);

}  // namespace kaleo
