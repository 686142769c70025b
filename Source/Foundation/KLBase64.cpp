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

std::uint8_t digitOf(char c) { return kDigits[static_cast<std::uint8_t>(c)]; }

/// The lowest `count` of the three bytes in `group`, from the highest on.
std::uint8_t* putBytes(std::uint8_t* to, std::uint32_t group, int count) {
  for (int i = 0; i < count; ++i) *to++ = static_cast<std::uint8_t>(group >> (16 - 8 * i));
  return to;
}

}  // namespace

std::string KLBase64Encode(const KLBytes& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, kPad);
  char* to = text.data();
  const auto put = [&to](std::uint32_t group, int digits) {
    for (int i = 0; i < digits; ++i) *to++ = kAlphabet[group >> (18 - 6 * i) & 0x3F];
  };
  std::size_t at = 0;
  for (; at + 3 <= bytes.size(); at += 3)
    put(std::uint32_t{bytes[at]} << 16 | std::uint32_t{bytes[at + 1]} << 8 | bytes[at + 2], 4);
  if (bytes.size() - at == 1) put(std::uint32_t{bytes[at]} << 16, 2);
  if (bytes.size() - at == 2) put(std::uint32_t{bytes[at]} << 16 | std::uint32_t{bytes[at + 1]} << 8, 3);
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
  KLBytes bytes(text.size() / 4 * 3 + 3);
  std::uint8_t* to = bytes.data();
  std::uint32_t group = 0;
  std::size_t digits = 0;
  std::size_t pads = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (digits % 4 == 0 && pads == 0 && text.size() - at >= 4) {  // nearly always: four digits on end
      const std::uint8_t four[] = {digitOf(text[at]), digitOf(text[at + 1]), digitOf(text[at + 2]), digitOf(text[at + 3])};
      if ((four[0] | four[1] | four[2] | four[3]) != kNoDigit) {
        to = putBytes(to, std::uint32_t{four[0]} << 18 | std::uint32_t{four[1]} << 12 | std::uint32_t{four[2]} << 6 | four[3], 3);
        digits += 4;
        at += 4;
        continue;
      }
    }
    const char c = text[at++];
    if (digitOf(c) == kNoDigit) {
      pads += c == kPad;
      continue;
    }
    if (pads > 0) return std::nullopt;
    group = group << 6 | digitOf(c);
    if (++digits % 4 == 0) to = putBytes(to, group, 3);
  }
  if (pads > 2 || (digits + pads) % 4 != 0) return std::nullopt;
  if (digits % 4 == 2) to = putBytes(to, group << 12, 1);
  if (digits % 4 == 3) to = putBytes(to, group << 6, 2);
  bytes.resize(static_cast<std::size_t>(to - bytes.data()));
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
