#include "Foundation/KLTransliteration.h"

#include <unicode/translit.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>

namespace kaleo {
namespace {

constexpr const char* kToASCII = "Any-Latin; Latin-ASCII; [:^ASCII:] Remove";

}  // namespace

bool KLIsASCII(std::string_view text) {
  return std::ranges::all_of(text, [](unsigned char byte) { return byte < 0x80; });
}

std::string KLTransliteratedToASCII(const std::string& text) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::Transliterator> rules(icu::Transliterator::createInstance(kToASCII, UTRANS_FORWARD, status));
  if (U_FAILURE(status) || !rules) return text;
  auto transliterated = icu::UnicodeString::fromUTF8(text);
  rules->transliterate(transliterated);
  std::string result;
  return transliterated.toUTF8String(result);
}

}  // namespace kaleo
