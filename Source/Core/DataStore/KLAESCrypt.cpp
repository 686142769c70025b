#include "Core/DataStore/KLAESCrypt.h"

#include <fcntl.h>
#include <sys/file.h>

#include "Foundation/KLDescriptor.h"
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
  key_.clear();
  iv_.clear();
  cipher_.reset();
  const bool complete = loadKeyAndIV(path);
  if (complete) cipher_.emplace(key_, iv_);
  return complete;
}

bool KLAESCrypt::loadKeyAndIV(const std::filesystem::path& path) {
  const auto info = KLKeyFile::load(path);
  KLBytes key = member(info, "key", kKeyLength);
  KLBytes iv = member(info, "iv", kIVLength);
  const bool complete = !key.empty() && !iv.empty();
  if (!key.empty()) key_ = std::move(key);
  if (!iv.empty()) iv_ = std::move(iv);
  return complete;
}

void KLAESCrypt::setupKeyAndIV() {
  if (readKeyFile(keyFile_)) return;
  if (key_.empty()) key_ = KLRandomKeyText(random_, kKeyLength);
  if (iv_.empty()) iv_ = random_.bytes(kIVLength);
  // A file that is there is another process's of just now, or the incomplete one. Where none can be written this run works all the
  // same, and the next one makes a new key.
  if (!KLKeyFile::create(info(), keyFile_) && !loadKeyAndIV(keyFile_)) replaceIncompleteFile();
  cipher_.emplace(key_, iv_);
}

// Of several processes that find the file incomplete the first replaces it, and the others take what it has written.
void KLAESCrypt::replaceIncompleteFile() {
  const std::filesystem::path place = keyFile_.has_parent_path() ? keyFile_.parent_path() : ".";
  const KLDescriptor directory(::open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) ::flock(directory.get(), LOCK_EX);  // until it is closed; a file system without locks is no reason to fail
  if (!loadKeyAndIV(keyFile_)) KLKeyFile::save(info(), keyFile_);
}

KLValue KLAESCrypt::info() const { return KLObject{{"key", key_}, {"iv", iv_}}; }

std::optional<KLBytes> KLAESCrypt::encryptData(const KLBytes& plain) const {
  const auto base64 = encrypt(textOf(plain));
  return base64 ? std::optional(bytesOf(*base64)) : std::nullopt;
}

std::optional<KLBytes> KLAESCrypt::decryptData(const KLBytes& base64) const { return decrypt(textOf(base64)); }

std::optional<std::string> KLAESCrypt::encryptString(const std::string& plain) const { return encrypt(plain); }

std::optional<std::string> KLAESCrypt::decryptString(const std::string& base64) const {
  const auto plain = decrypt(base64);
  if (!plain || KLUTF8ErrorOffset(textOf(*plain)) != plain->size()) return std::nullopt;
  return std::string(plain->begin(), plain->end());
}

std::optional<std::string> KLAESCrypt::encrypt(std::string_view plain) const {
  if (plain.empty() || !cipher_) return std::nullopt;
  const auto whole = cipher_->encryptBehind(iv_, reinterpret_cast<const std::uint8_t*>(plain.data()), plain.size());
  return whole ? std::optional(KLBase64Encode(*whole)) : std::nullopt;
}

std::optional<KLBytes> KLAESCrypt::decrypt(std::string_view base64) const {
  if (base64.empty() || !cipher_) return std::nullopt;
  auto whole = KLBase64Decode(base64);
  if (!whole) return std::nullopt;
  // In this mode each block needs only the one before it: the vector in front, decrypted with the rest, gives a block of noise, and
  // the plain text comes right even where the value was written under another vector.
  auto plain = cipher_->decrypt(*std::move(whole));
  if (!plain || plain->size() <= kIVLength) return std::nullopt;
  plain->erase(plain->begin(), plain->begin() + kIVLength);
  return plain;
}

}  // namespace kaleo
