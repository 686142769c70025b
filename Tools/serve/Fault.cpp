#include "serve/Fault.h"

#include <fmt/ranges.h>

#include <string_view>
#include <vector>

#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "Foundation/KLSystem.h"
#include "serve/DocumentError.h"

namespace kaleo::tools {
namespace {

constexpr const char* kFile = "faults.json";
constexpr std::string_view kQueryPrefix = "fault_";
constexpr int kMinStatus = 200;
constexpr int kMaxStatus = 599;
constexpr std::size_t kKeyBytes = 16;
constexpr std::size_t kMaterialDigits = 4 * kKeyBytes;
constexpr int kDerivationRounds = 100;

std::optional<KLBytes> bytesOfHex(std::string_view digits) {
  KLBytes bytes;
  for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
    constexpr int kHexadecimal = 16;
    const std::string pair(digits.substr(at, 2));
    if (pair.find_first_not_of("0123456789abcdefABCDEF") != pair.npos) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(pair, nullptr, kHexadecimal)));
  }
  return bytes;
}

bool isMaterial(const std::string& text) { return text.size() == kMaterialDigits && bytesOfHex(text).has_value(); }

/// The number in `value` if it lies within the bounds.
std::optional<double> numberIn(const KLValue& value, double least, double most) {
  if (value.isBool() || !value.isNumber() || !(value.asDouble() >= least && value.asDouble() <= most)) return std::nullopt;
  return value.asDouble();
}

bool setDelay(Fault& fault, const KLValue& value) {
  const auto seconds = numberIn(value, 0, Fault::kMaxDelay);
  fault.delay = seconds.value_or(0);
  return seconds.has_value();
}

bool setStatus(Fault& fault, const KLValue& value) {
  const auto status = numberIn(value, kMinStatus, kMaxStatus);
  if (status) fault.status = static_cast<int>(*status);
  return status.has_value();
}

bool setCut(Fault& fault, const KLValue& value) {
  const auto bytes = numberIn(value, 0, ServedDirectory::kMaxFileBytes);
  if (bytes) fault.cut = static_cast<std::size_t>(*bytes);
  return bytes.has_value();
}

bool setGarbage(Fault& fault, const KLValue& value) {
  fault.garbage = value.asBool();
  return value.isBool();
}

bool setEncrypted(Fault& fault, const KLValue& value) {
  fault.encrypted = value.isString() || value.asBool();
  fault.material = value.isString() ? std::optional(value.asString()) : std::nullopt;
  return value.isBool() || isMaterial(value.asString());
}

struct Member {
  std::string_view name;
  bool (*set)(Fault& fault, const KLValue& value);
  const char* meaning;
};
constexpr Member kMembers[] = {
    {"delay", setDelay, "seconds from 0 to 3600"},
    {"status", setStatus, "an HTTP status from 200 to 599"},
    {"cut", setCut, "a number of bytes"},
    {"garbage", setGarbage, "true or false"},
    {"encrypted", setEncrypted, "true, false, or 64 hexadecimal digits of salt and vector"},
};

void set(Fault& fault, std::string_view name, const KLValue& value, const std::string& place) {
  for (const Member& member : kMembers) {
    if (member.name != name) continue;
    if (!member.set(fault, value)) throw DocumentError(500, fmt::format("{}: \"{}\" takes {}", place, name, member.meaning));
    return;
  }
  throw DocumentError(500, fmt::format("{}: there is no fault \"{}\"", place, name));
}

/// A query's text as the value that a file would hold: "fault_garbage" and "fault_garbage=true" mean true.
KLValue valueOf(const std::string& text) {
  if (text.empty() || isMaterial(text)) return text.empty() ? KLValue(true) : KLValue(text);
  const auto value = KLJSON::parse("[" + text + "]");
  return value && value->asArray().size() == 1 ? value->asArray().front() : KLValue(text);
}

bool fits(std::string_view pattern, std::string_view path) {
  return pattern.ends_with('*') ? path.starts_with(pattern.substr(0, pattern.size() - 1)) : path == pattern;
}

/// The member of the file that counts for `path`; null when none fits.
const KLValue* memberFor(const KLValue& file, const std::string& path) {
  std::string_view longest;
  const KLValue* found = nullptr;
  for (const auto& [pattern, value] : file.asObject()) {
    if (!fits(pattern, path) || (found && pattern.size() < longest.size())) continue;
    longest = pattern;
    found = &value;
  }
  return found;
}

}  // namespace

std::string Fault::description() const {
  std::vector<std::string> parts;
  if (delay > 0) parts.push_back(fmt::format("delay {:g} s", delay));
  if (encrypted) parts.push_back("encrypted");
  if (garbage) parts.push_back("garbage");
  if (status) parts.push_back(fmt::format("status {}", *status));
  if (cut) parts.push_back(fmt::format("cut after {} bytes", *cut));
  return fmt::format("{}", fmt::join(parts, ", "));
}

std::string encryptedBody(const std::string& body, const std::optional<std::string>& material) {
  const KLBytes bytes = material ? *bytesOfHex(*material) : KLSystemRandom().bytes(2 * kKeyBytes);
  const KLBytes salt(bytes.begin(), bytes.begin() + kKeyBytes);
  const KLBytes vector(bytes.begin() + kKeyBytes, bytes.end());
  const auto key = KLPBKDF2SHA1("", salt, kDerivationRounds, kKeyBytes);
  const auto encrypted = KLAESCBC(key.value(), vector).encrypt(KLBytes(body.begin(), body.end()));
  return KLJSON::serialize(KLObject{{"payload", KLBase64Encode(encrypted.value())}});
}

Fault faultFor(const ServedDirectory& directory, const std::string& path, const Query& query) {
  Fault fault;
  if (const auto text = directory.read(kFile)) {
    refuseJSONFaults(kFile, *text);
    const KLValue file = KLJSON::parse(*text).value_or(KLValue());
    if (const KLValue* const member = memberFor(file, path)) {
      for (const auto& [name, value] : member->asObject()) set(fault, name, value, kFile);
    }
  }
  for (const auto& [name, text] : query) {
    if (name.starts_with(kQueryPrefix)) set(fault, std::string_view(name).substr(kQueryPrefix.size()), valueOf(text), "the query");
  }
  return fault;
}

}  // namespace kaleo::tools
