#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "Foundation/KLCipher.h"
#include "kaleo/KLClock.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// Encrypts what goes into the database: AES-128-CBC under the one key and initialisation vector of this installation. Equal input
/// gives equal output, so that an encrypted id is found again by equality.
///
/// An encrypted value is the base64 text of the vector followed by the cipher text. Nothing comes out for empty input, without a
/// key, and for what was not encrypted under this key.
///
/// The key file is one of KLKeyFile.
/// Threads: one at a time. Lifetime: borrows the random source.
class KLAESCrypt {
 public:
  static constexpr std::size_t kKeyLength = 16;
  static constexpr std::size_t kIVLength = 16;

  explicit KLAESCrypt(KLRandom& random) : random_(random) {}

  /// Takes key and vector from the file. What is missing or has another length is made anew and the file rewritten: after a loss
  /// of the file earlier values can no longer be read. Processes that make the file at the same time end with the same key. Touches
  /// the disk.
  void setKeyFile(std::filesystem::path path);
  /// Takes both from the file as it is. False when it lacks one of them: then there is no key.
  bool readKeyFile(const std::filesystem::path& path);
  const KLBytes& key() const { return key_; }
  const KLBytes& iv() const { return iv_; }

  std::optional<KLBytes> encryptData(const KLBytes& plain) const;
  std::optional<KLBytes> decryptData(const KLBytes& base64) const;
  std::optional<std::string> encryptString(const std::string& plain) const;
  std::optional<std::string> decryptString(const std::string& base64) const;

 private:
  void setupKeyAndIV();
  void replaceIncompleteFile();
  /// What the file holds.
  KLValue info() const;
  /// Takes what the file holds of the two; true when that is both.
  bool loadKeyAndIV(const std::filesystem::path& path);
  std::optional<std::string> encrypt(std::string_view plain) const;
  std::optional<KLBytes> decrypt(std::string_view base64) const;

  KLRandom& random_;
  std::filesystem::path keyFile_;
  KLBytes key_;
  KLBytes iv_;
  std::optional<KLAESCBC> cipher_;
};

}  // namespace kaleo
