#include "Foundation/KLSystem.h"

#include <openssl/rand.h>
#include <sys/random.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "Foundation/KLCipher.h"

namespace kaleo {
namespace {

constexpr std::size_t kUUIDBytes = 16;

/// Fills from the kernel, for the case that OpenSSL has no generator to offer. Requests of up to 256 bytes are never cut short.
void fillFromKernel(KLBytes& bytes) {
  constexpr std::size_t kWholeRequest = 256;
  for (std::size_t filled = 0; filled < bytes.size();) {
    const auto got = getrandom(bytes.data() + filled, std::min(kWholeRequest, bytes.size() - filled), 0);
    if (got > 0) filled += static_cast<std::size_t>(got);
  }
}

}  // namespace

double KLSystemClock::now() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

KLBytes KLSystemRandom::bytes(std::size_t count) {
  KLBytes bytes(count);
  if (count == 0) return bytes;
  const bool fits = count <= static_cast<std::size_t>(std::numeric_limits<int>::max());
  if (!fits || RAND_bytes(bytes.data(), static_cast<int>(count)) != 1) fillFromKernel(bytes);
  return bytes;
}

std::uint32_t KLSystemRandom::below(std::uint32_t bound) {
  if (bound == 0) return 0;
  // Of the 2^32 values the first (2^32 mod bound) are drawn again, so that every remainder is equally likely.
  const std::uint32_t rejected = (0u - bound) % bound;
  for (;;) {
    const KLBytes drawn = bytes(sizeof(std::uint32_t));
    std::uint32_t value = 0;
    std::copy(drawn.begin(), drawn.end(), reinterpret_cast<std::uint8_t*>(&value));
    if (value >= rejected) return value % bound;
  }
}

std::string KLSystemRandom::uuid() {
  KLBytes bits = bytes(kUUIDBytes);
  bits[6] = static_cast<std::uint8_t>((bits[6] & 0x0F) | 0x40);  // version 4
  bits[8] = static_cast<std::uint8_t>((bits[8] & 0x3F) | 0x80);  // variant of RFC 9562
  std::string text = KLHexUpper(bits);
  for (const std::size_t dash : {20, 16, 12, 8}) text.insert(dash, 1, '-');
  return text;
}

}  // namespace kaleo
