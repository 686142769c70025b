#include "Foundation/KLCipher.h"

#include <openssl/evp.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace kaleo {
namespace {

constexpr std::size_t kBlockBytes = 16;
/// OpenSSL counts in int.
constexpr std::size_t kMaxInput = static_cast<std::size_t>(std::numeric_limits<int>::max()) - 2 * kBlockBytes;

struct ContextDeleter {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter>;

enum class Direction : int { Decrypt = 0, Encrypt = 1 };

Context makeContext(const KLBytes& key, Direction direction) {
  Context context(EVP_CIPHER_CTX_new());
  const bool ready = context && EVP_CipherInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key.data(), nullptr,
                                                  static_cast<int>(direction)) == 1;
  return ready ? std::move(context) : nullptr;
}

/// Runs the whole input through `context`, whose key schedule is kept, under `iv`, and answers the length of what comes out.
/// `output` may be `input`, or has room for another block.
std::optional<std::size_t> transform(EVP_CIPHER_CTX* context, const std::uint8_t* input, std::size_t length, const std::uint8_t* iv,
                                     std::uint8_t* output) {
  constexpr int kKeepDirection = -1;
  if (length > kMaxInput) return std::nullopt;
  if (EVP_CipherInit_ex(context, nullptr, nullptr, nullptr, iv, kKeepDirection) != 1) return std::nullopt;
  int written = 0;
  int last = 0;
  if (EVP_CipherUpdate(context, output, &written, input, static_cast<int>(length)) != 1) return std::nullopt;
  if (EVP_CipherFinal_ex(context, output + written, &last) != 1) return std::nullopt;
  return static_cast<std::size_t>(written + last);
}

}  // namespace

struct KLAESCBC::State {
  KLBytes iv;
  Context encryption;
  Context decryption;
};

KLAESCBC::KLAESCBC(const KLBytes& key, const KLBytes& iv) {
  if (key.size() != kBlockBytes || iv.size() != kBlockBytes) return;
  auto state = std::make_unique<State>(State{iv, makeContext(key, Direction::Encrypt), makeContext(key, Direction::Decrypt)});
  if (state->encryption && state->decryption) state_ = std::move(state);
}

KLAESCBC::~KLAESCBC() = default;
KLAESCBC::KLAESCBC(KLAESCBC&&) noexcept = default;
KLAESCBC& KLAESCBC::operator=(KLAESCBC&&) noexcept = default;

bool KLAESCBC::isValid() const { return state_ != nullptr; }

std::optional<KLBytes> KLAESCBC::encrypt(const KLBytes& plain) const {
  return encryptBehind(KLBytes(), plain.data(), plain.size());
}

std::optional<KLBytes> KLAESCBC::encryptBehind(const KLBytes& prefix, const std::uint8_t* plain, std::size_t length) const {
  if (!state_) return std::nullopt;
  KLBytes whole(prefix.size() + length + kBlockBytes);
  std::copy(prefix.begin(), prefix.end(), whole.begin());
  const auto written = transform(state_->encryption.get(), plain, length, state_->iv.data(), whole.data() + prefix.size());
  if (!written) return std::nullopt;
  whole.resize(prefix.size() + *written);
  return whole;
}

std::optional<KLBytes> KLAESCBC::decrypt(KLBytes cipher) const {
  if (!state_ || cipher.empty() || cipher.size() % kBlockBytes != 0) return std::nullopt;
  const auto written = transform(state_->decryption.get(), cipher.data(), cipher.size(), state_->iv.data(), cipher.data());
  if (!written) return std::nullopt;
  cipher.resize(*written);
  return cipher;
}

std::optional<KLBytes> KLPBKDF2SHA1(std::string_view password, const KLBytes& salt, int rounds, std::size_t length) {
  if (rounds < 1 || length == 0 || length > kMaxInput || password.size() > kMaxInput || salt.size() > kMaxInput)
    return std::nullopt;
  KLBytes key(length);
  // An empty view may have no address, which OpenSSL would not take for an empty password.
  const char* text = password.empty() ? "" : password.data();
  const int done = PKCS5_PBKDF2_HMAC(text, static_cast<int>(password.size()), salt.data(), static_cast<int>(salt.size()), rounds,
                                     EVP_sha1(), static_cast<int>(length), key.data());
  return done == 1 ? std::optional(std::move(key)) : std::nullopt;
}

std::string KLMD5Hex(std::string_view text) {
  KLBytes digest(EVP_MAX_MD_SIZE);
  unsigned int length = 0;
  EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_md5(), nullptr);
  digest.resize(length);
  std::string hex = KLHexUpper(digest);
  for (char& digit : hex) {
    if (digit >= 'A') digit = static_cast<char>(digit - 'A' + 'a');
  }
  return hex;
}

}  // namespace kaleo
