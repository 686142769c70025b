#include "Core/DataStore/KLAESCrypt.h"

#include "Foundation/KLKeyFile.h"
#include "Foundation/KLUTF8.h"

namespace kaleo {

namespace {

KLBytes bytesOf(std::string_view text) { return KLBytes(text.begin(), text.end()); }

std::string_view textOf(const KLBytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

KLBytes member(const std::optional<KLValue>& info, std::string_view name, std::size_t length) {
  const KLValue* value = info ? info->find(name) : nullptr;
  return value && value->asBytes().size() == length ? value->asBytes() : KLBytes();
}

}  // namespace

void KLAESCrypt::setKeyFile(std::filesystem::path path) {
  keyFile_ = std::move(path);
  setupKeyAndIV();
}

bool KLAESCrypt::readKeyFile(const std::filesystem::path& path) {
  const bool complete = loadKeyAndIV(path);
  cipher_.reset();
  if (complete) cipher_.emplace(key_, iv_);
  return complete;
}

bool KLAESCrypt::loadKeyAndIV(const std::filesystem::path& path) {
  const auto info = KLKeyFile::load(path);
  key_ = member(info, "key", kKeyLength);
  iv_ = member(info, "iv", kIVLength);
  return !key_.empty() && !iv_.empty();
}

void KLAESCrypt::setupKeyAndIV() {
  const bool complete = loadKeyAndIV(keyFile_);
  if (key_.empty()) key_ = KLRandomKeyText(random_, kKeyLength);
  if (iv_.empty()) iv_ = random_.bytes(kIVLength);
  cipher_.emplace(key_, iv_);
  // Without the file this run works all the same, and the next one makes a new key.
  if (!complete) KLKeyFile::save(KLObject{{"key", key_}, {"iv", iv_}}, keyFile_);
}

std::optional<KLBytes> KLAESCrypt::encryptData(const KLBytes& plain) const {
  const auto base64 = encrypt(plain);
  return base64 ? std::optional(bytesOf(*base64)) : std::nullopt;
}

std::optional<KLBytes> KLAESCrypt::decryptData(const KLBytes& base64) const { return decrypt(textOf(base64)); }

std::optional<std::string> KLAESCrypt::encryptString(const std::string& plain) const { return encrypt(bytesOf(plain)); }

std::optional<std::string> KLAESCrypt::decryptString(const std::string& base64) const {
  const auto plain = decrypt(base64);
  if (!plain || KLUTF8ErrorOffset(textOf(*plain)) != plain->size()) return std::nullopt;
  return std::string(plain->begin(), plain->end());
}

std::optional<std::string> KLAESCrypt::encrypt(const KLBytes& plain) const {
  if (plain.empty() || !cipher_) return std::nullopt;
  const auto encrypted = cipher_->encrypt(plain);
  if (!encrypted) return std::nullopt;
  KLBytes whole = iv_;
  whole.insert(whole.end(), encrypted->begin(), encrypted->end());
  return KLBase64Encode(whole);
}

std::optional<KLBytes> KLAESCrypt::decrypt(std::string_view base64) const {
  if (base64.empty() || !cipher_) return std::nullopt;
  const auto whole = KLBase64Decode(base64);
  if (!whole || whole->size() <= kIVLength) return std::nullopt;
  auto plain = cipher_->decrypt(whole->data() + kIVLength, whole->size() - kIVLength, whole->data());
  if (plain && plain->empty()) return std::nullopt;
  return plain;
}

}  // namespace kaleo
