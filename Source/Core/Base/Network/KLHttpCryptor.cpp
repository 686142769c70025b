#include "Core/Base/Network/KLHttpCryptor.h"

#include <algorithm>

#include "Foundation/KLJSON.h"
#include "Foundation/KLKeyFile.h"
#include "Foundation/KLUTF8.h"

namespace kaleo {
namespace {

KLBytes bytesOf(std::string_view text) { return KLBytes(text.begin(), text.end()); }
std::string_view textOf(const KLBytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

/// The number of UTF-16 code units of UTF-8 text.
std::size_t utf16Length(std::string_view text) {
  const auto isLead = [](char c) { return (static_cast<std::uint8_t>(c) & 0xC0) != 0x80; };
  const auto needsSurrogates = [](char c) { return static_cast<std::uint8_t>(c) >= 0xF0; };
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isLead) +
                                  std::count_if(text.begin(), text.end(), needsSurrogates));
}

}  // namespace

void KLHttpCryptor::setKeyFile(std::filesystem::path path) {
  {
    std::lock_guard lock(mutex_);
    keyFile_ = std::move(path);
  }
  setupKeyAndIV();
}

std::filesystem::path KLHttpCryptor::keyFile() const {
  std::lock_guard lock(mutex_);
  return keyFile_;
}

void KLHttpCryptor::setInput(std::string input) {
  std::lock_guard lock(mutex_);
  input_ = std::move(input);
}

std::optional<KLValue> KLHttpCryptor::loadEncryptInfoAtPath(const std::filesystem::path& path) { return KLKeyFile::load(path); }

bool KLHttpCryptor::saveEncryptInfo(const KLValue& info, const std::filesystem::path& atPath) {
  return KLKeyFile::save(info, atPath);
}

KLBytes KLHttpCryptor::key() const {
  std::lock_guard lock(mutex_);
  return key_;
}

KLBytes KLHttpCryptor::iv() const {
  std::lock_guard lock(mutex_);
  return iv_;
}

KLBytes KLHttpCryptor::salt() const {
  std::lock_guard lock(mutex_);
  return salt_;
}

void KLHttpCryptor::setupKeyAndIV() {
  std::lock_guard lock(mutex_);
  if (salt_.empty()) salt_ = KLRandomKeyText(random_, kSaltLength);
  if (key_.empty()) key_ = derivedKeyLocked().value_or(KLBytes());
  if (iv_.empty()) iv_ = random_.bytes(kIVLength);
  if (!cipher_) cipher_.emplace(key_, iv_);
}

/// The other side of the protocol cuts the password to as many bytes as it has UTF-16 code units; for ASCII that is all of it.
std::optional<KLBytes> KLHttpCryptor::derivedKeyLocked() const {
  const auto password = std::string_view(input_).substr(0, utf16Length(input_));
  return KLPBKDF2SHA1(password, salt_, kDerivationRounds, kKeyLength);
}

std::optional<std::string> KLHttpCryptor::encrypt(const KLBytes& plain) const {
  std::lock_guard lock(mutex_);
  if (plain.empty() || !cipher_) return std::nullopt;
  const auto encrypted = cipher_->encrypt(plain);
  return encrypted ? std::optional(KLBase64Encode(*encrypted)) : std::nullopt;
}

std::optional<KLBytes> KLHttpCryptor::decrypt(std::string_view base64) const {
  if (base64.empty()) return std::nullopt;
  const auto encrypted = KLBase64Decode(base64);
  std::lock_guard lock(mutex_);
  return encrypted && cipher_ ? cipher_->decrypt(*encrypted) : std::nullopt;
}

std::optional<KLBytes> KLHttpCryptor::encryptData(const KLBytes& plain) const {
  const auto base64 = encrypt(plain);
  return base64 ? std::optional(bytesOf(*base64)) : std::nullopt;
}

std::optional<KLBytes> KLHttpCryptor::decryptData(const KLBytes& base64) const { return decrypt(textOf(base64)); }

std::optional<std::string> KLHttpCryptor::encryptString(const std::string& plain) const { return encrypt(bytesOf(plain)); }

std::optional<std::string> KLHttpCryptor::decryptString(const std::string& base64) const {
  const auto plain = decrypt(base64);
  if (!plain || KLUTF8ErrorOffset(textOf(*plain)) != plain->size()) return std::nullopt;
  return std::string(textOf(*plain));
}

std::optional<KLBytes> KLHttpCryptor::envelope(const KLBytes& body) const {
  const auto base64 = encrypt(body);
  if (!base64) return std::nullopt;
  return bytesOf(KLJSON::serialize(KLObject{{"payload", KLHexUpper(salt()) + KLHexUpper(iv()) + *base64}}));
}

}  // namespace kaleo
