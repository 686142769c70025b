#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kaleo/KLValue.h"

namespace kaleo {

/// AES-128 in CBC mode (NIST SP 800-38A) with PKCS#7 padding, under one key and initialisation vector of 16 bytes each.
/// Contexts are kept between calls. Threads: one at a time.
class KLAESCBC {
 public:
  KLAESCBC(const KLBytes& key, const KLBytes& iv);
  ~KLAESCBC();
  KLAESCBC(KLAESCBC&&) noexcept;
  KLAESCBC& operator=(KLAESCBC&&) noexcept;

  /// False when key or vector have another length than 16.
  bool isValid() const;
  std::optional<KLBytes> encrypt(const KLBytes& plain) const;
  /// `prefix`, then what `encrypt` gives of `length` bytes at `plain`.
  std::optional<KLBytes> encryptBehind(const KLBytes& prefix, const std::uint8_t* plain, std::size_t length) const;
  /// Nothing when the length or the padding is wrong.
  std::optional<KLBytes> decrypt(KLBytes cipher) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// PBKDF2 (RFC 8018) with HMAC-SHA1.
std::optional<KLBytes> KLPBKDF2SHA1(std::string_view password, const KLBytes& salt, int rounds, std::size_t length);

/// MD5 (RFC 1321) as 32 lower-case hexadecimal digits. For file names, not for security.
std::string KLMD5Hex(std::string_view text);

/// Base64 (RFC 4648) with padding, without line breaks.
std::string KLBase64Encode(const KLBytes& bytes);
/// The same in lines of `lineLength` characters, joined by CR LF.
std::string KLBase64EncodeLines(const KLBytes& bytes, std::size_t lineLength);
/// Skips characters outside the alphabet; nothing when what remains is no base64.
std::optional<KLBytes> KLBase64Decode(std::string_view text);

/// Two upper-case hexadecimal digits a byte.
std::string KLHexUpper(const KLBytes& bytes);

}  // namespace kaleo
