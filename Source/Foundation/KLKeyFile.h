#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "kaleo/KLClock.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The characters that keys and salts are made of; all printable ASCII.
inline constexpr std::string_view kKLKeyAlphabet =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!#$%&()*+,-./:;<=>?@[]^_{}|~";

/// `length` characters drawn at random from the alphabet.
KLBytes KLRandomKeyText(KLRandom& random, std::size_t length);

/// Key files: an object with the bytes "key" and "iv", as a keyed archive, in base64, archived again. Readable by the owner alone
/// and replaced in one step. Both touch the disk. Threads: any.
namespace KLKeyFile {

/// The object; nothing when there is no such file or it is damaged.
std::optional<KLValue> load(const std::filesystem::path& path);
bool save(const KLValue& info, const std::filesystem::path& path);
/// As `save`, but only where there is no file yet.
bool create(const KLValue& info, const std::filesystem::path& path);

}  // namespace KLKeyFile
}  // namespace kaleo
