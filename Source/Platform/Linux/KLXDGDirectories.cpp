#include "Platform/Linux/KLXDGDirectories.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace kaleo {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxUserRecord = 16u << 10;
constexpr std::size_t kMaxNameBytes = 128;  // file systems take 255
constexpr const char* kDefaultName = "kaleo";

std::optional<fs::path> absolutePath(const KLEnvironment& environment, const char* name) {
  const auto value = environment(name);
  return value && fs::path(*value).is_absolute() ? std::optional(fs::path(*value)) : std::nullopt;
}

std::optional<fs::path> homeOfUserDatabase() {
  passwd record{};
  passwd* found = nullptr;
  std::vector<char> room(kMaxUserRecord);
  const bool asked = ::getpwuid_r(::getuid(), &record, room.data(), room.size(), &found) == 0;
  if (!asked || !found || !found->pw_dir || !fs::path(found->pw_dir).is_absolute()) return std::nullopt;
  return fs::path(found->pw_dir);
}

fs::path homeDirectory(const KLEnvironment& environment) {
  if (const auto home = absolutePath(environment, "HOME")) return *home;
  if (const auto home = homeOfUserDatabase()) return *home;
  std::error_code failure;
  const fs::path temporary = fs::temp_directory_path(failure);
  return (failure ? fs::path("/tmp") : temporary) / ("kaleo-" + std::to_string(::getuid()));
}

/// One path segment, whatever an application calls itself.
std::string fileName(std::string name) {
  name.resize(std::min(name.size(), kMaxNameBytes));
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '/' || (c >= 0 && c < ' ') || c == 0x7F; }, '_');
  return name.empty() || name == "." || name == ".." ? kDefaultName : name;
}

}  // namespace

std::optional<std::string> KLProcessEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}

KLDirectories KLXDGDirectories(const std::string& applicationName, const KLEnvironment& environment) {
  const std::string name = fileName(applicationName);
  const auto directory = [&](const char* variable, const char* belowHome) {
    const auto base = absolutePath(environment, variable);
    return (base ? *base : homeDirectory(environment) / belowHome) / name;
  };
  return {directory("XDG_DATA_HOME", ".local/share"), directory("XDG_CONFIG_HOME", ".config"),
          directory("XDG_CACHE_HOME", ".cache"), KLResourceDirectory()};
}

fs::path KLResourceDirectory() {
  Dl_info loaded{};
  if (::dladdr(reinterpret_cast<const void*>(&KLResourceDirectory), &loaded) == 0 || !loaded.dli_fname) return {};
  std::error_code failure;
  const fs::path file = fs::canonical(loaded.dli_fname, failure);
  if (failure) return {};
  const fs::path near = file.parent_path().parent_path() / "share" / "kaleo";
  const fs::path far = file.parent_path().parent_path().parent_path() / "share" / "kaleo";
  return !fs::is_directory(near, failure) && fs::is_directory(far, failure) ? far : near;
}

}  // namespace kaleo
