#include <algorithm>
#include <array>

#include "Foundation/KLCipher.h"

namespace kaleo {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPad = '=';
constexpr std::uint8_t kNoDigit = 0xFF;

constexpr auto kDigits = [] {
  std::array<std::uint8_t, 256> digits{};
  digits.fill(kNoDigit);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) digits[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  return digits;
}();

/// The digits of `text`; `pads` counts the padding. Nothing when a digit comes after padding.
std::optional<KLBytes> digitsOf(std::string_view text, std::size_t& pads) {
  KLBytes digits;
  digits.reserve(text.size());
  for (const char c : text) {
    const std::uint8_t digit = kDigits[static_cast<std::uint8_t>(c)];
    if (c == kPad) {
      ++pads;
    } else if (digit != kNoDigit) {
      if (pads > 0) return std::nullopt;
      digits.push_back(digit);
    }
  }
  return digits;
}

}  // namespace

std::string KLBase64Encode(const KLBytes& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (i < count ? bytes[at + i] : 0u);
    for (std::size_t i = 0; i < 4; ++i) text += i <= count ? kAlphabet[group >> (18 - 6 * i) & 0x3F] : kPad;
  }
  return text;
}

std::string KLBase64EncodeLines(const KLBytes& bytes, std::size_t lineLength) {
  const std::string whole = KLBase64Encode(bytes);
  if (lineLength == 0) return whole;
  std::string lines;
  lines.reserve(whole.size() + whole.size() / lineLength * 2);
  for (std::size_t at = 0; at < whole.size(); at += lineLength) {
    if (at > 0) lines += "\r\n";
    lines.append(whole, at, lineLength);
  }
  return lines;
}

std::optional<KLBytes> KLBase64Decode(std::string_view text) {
  std::size_t pads = 0;
  const auto digits = digitsOf(text, pads);
  if (!digits || pads > 2 || (digits->size() + pads) % 4 != 0) return std::nullopt;
  KLBytes bytes;
  bytes.reserve(digits->size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  int held = 0;
  for (const std::uint8_t digit : *digits) {
    bits = bits << 6 | digit;
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> held & 0xFF));
  }
  return bytes;
}

std::string KLHexUpper(const KLBytes& bytes) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0xF];
  }
  return text;
}

}  // namespace kaleo
