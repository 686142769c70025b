#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include "Foundation/KLCipher.h"
#include "kaleo/KLClock.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The payload cipher of requests and answers: AES-128-CBC under a key derived from a password and a salt. Salt, key and vector are
/// made once and live as long as this object; equal input gives equal output. Nothing comes out for empty input, before the
/// material is set up, and for what was not encrypted under it.
///
/// Threads: any. Lifetime: borrows the random source.
class KLHttpCryptor {
 public:
  static constexpr std::size_t kKeyLength = 16;
  static constexpr std::size_t kIVLength = 16;
  static constexpr std::size_t kSaltLength = 16;
  static constexpr int kDerivationRounds = 100;

  explicit KLHttpCryptor(KLRandom& random) : random_(random) {}

  /// Notes the path and makes what is missing of salt, key and vector. The file is neither read nor written.
  void setKeyFile(std::filesystem::path path);
  std::filesystem::path keyFile() const;
  /// The password of the key derivation; empty unless it is set before the key is made.
  void setInput(std::string input);
  void setupKeyAndIV();

  /// Key material in a file: an object with the bytes "key" and "iv", in the form of KLKeyFile. Nothing calls these two, so that
  /// the material lives no longer than this object. Both touch the disk; nothing or false when that fails.
  static std::optional<KLValue> loadEncryptInfoAtPath(const std::filesystem::path& path);
  static bool saveEncryptInfo(const KLValue& info, const std::filesystem::path& atPath);

  KLBytes key() const;
  KLBytes iv() const;
  KLBytes salt() const;

  /// The base64 text of the cipher text, without the vector.
  std::optional<KLBytes> encryptData(const KLBytes& plain) const;
  std::optional<KLBytes> decryptData(const KLBytes& base64) const;
  std::optional<std::string> encryptString(const std::string& plain) const;
  /// Nothing, too, when the plain text is no valid UTF-8.
  std::optional<std::string> decryptString(const std::string& base64) const;

  /// The body that carries `body` encrypted: {"payload": P}, where P is the salt and the vector in upper-case hexadecimal followed
  /// by the base64 cipher text.
  std::optional<KLBytes> envelope(const KLBytes& body) const;

 private:
  std::optional<KLBytes> derivedKeyLocked() const;
  std::optional<std::string> encrypt(const KLBytes& plain) const;
  std::optional<KLBytes> decrypt(std::string_view base64) const;

  KLRandom& random_;
  mutable std::mutex mutex_;  ///< guards what follows
  std::filesystem::path keyFile_;
  std::string input_;
  KLBytes salt_;
  KLBytes key_;
  KLBytes iv_;
  std::optional<KLAESCBC> cipher_;
};

}  // namespace kaleo
