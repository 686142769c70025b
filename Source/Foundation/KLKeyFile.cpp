#include "Foundation/KLKeyFile.h"

#include <algorithm>

#include "Foundation/KLCipher.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {
namespace {

constexpr const char* kInfoClass = "KLAESCryptInfo";
constexpr const char* kFileClass = "KLAESCryptFile";
constexpr std::size_t kMaxKeyFileBytes = 64u << 10;  // ours has some 200

KLBytes fileBytes(const KLValue& info) {
  const std::string base64 = KLBase64Encode(KLKeyedArchive::archive(kInfoClass, info));
  return KLKeyedArchive::archive(kFileClass, KLBytes(base64.begin(), base64.end()));
}

}  // namespace

KLBytes KLRandomKeyText(KLRandom& random, std::size_t length) {
  KLBytes text(length);
  std::generate(text.begin(), text.end(), [&] {
    return static_cast<std::uint8_t>(kKLKeyAlphabet[random.below(static_cast<std::uint32_t>(kKLKeyAlphabet.size()))]);
  });
  return text;
}

std::optional<KLValue> KLKeyFile::load(const std::filesystem::path& path) {
  const auto file = KLFile::read(path, kMaxKeyFileBytes);
  const auto outer = file ? KLKeyedArchive::unarchive(*file, kFileClass) : std::nullopt;
  if (!outer) return std::nullopt;
  const KLBytes& base64 = outer->asBytes();
  const auto inner = KLBase64Decode({reinterpret_cast<const char*>(base64.data()), base64.size()});
  return inner ? KLKeyedArchive::unarchive(*inner, kInfoClass) : std::nullopt;
}

bool KLKeyFile::save(const KLValue& info, const std::filesystem::path& path) {
  return KLFile::writeAtomically(path, fileBytes(info), KLFile::Access::OwnerOnly);
}

bool KLKeyFile::create(const KLValue& info, const std::filesystem::path& path) {
  return KLFile::createAtomically(path, fileBytes(info), KLFile::Access::OwnerOnly);
}

}  // namespace kaleo
