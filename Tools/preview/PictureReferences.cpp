#include "preview/PictureReferences.h"

#include <fmt/format.h>

#include <string_view>

#include "Foundation/KLURL.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFileScheme = "file://";
constexpr std::string_view kPathCharacters = "/-._~";

/// Where a picture lies on this machine; an empty path when it is somewhere else, or nowhere.
fs::path pathOf(const std::string& reference, const fs::path& directory) {
  if (reference.empty()) return {};
  if (reference.starts_with(kFileScheme)) {
    const std::string path = reference.substr(kFileScheme.size());
    return KLPercentDecode(std::string_view(path).substr(0, path.find('#')));
  }
  if (reference.find("://") != std::string::npos || KLURL::parse(reference)) return {};
  return directory / reference;
}

/// Changes when the file does.
std::string versionOf(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  if (error) return "missing";
  return fmt::format("{}-{}", size, fs::last_write_time(path, error).time_since_epoch().count());
}

class Rewriter {
 public:
  Rewriter(const fs::path& directory, std::vector<fs::path>& files) : directory_(directory), files_(files) {}

  KLValue rewritten(const KLValue& value) const {
    if (value.isArray()) {
      KLValue::Array elements;
      for (const KLValue& element : value.asArray()) elements.push_back(rewritten(element));
      return elements;
    }
    if (!value.isObject()) return value;
    KLObject members;
    for (const auto& [key, member] : value.asObject()) {
      members.set(key, key == "properties" ? withPictures(member) : rewritten(member));
    }
    return members;
  }

 private:
  KLValue withPictures(const KLValue& properties) const {
    if (!properties.isObject()) return properties;
    KLObject changed = properties.asObject();
    for (const char* key : {"image", "backgroundImage"}) {
      const KLValue* reference = properties.find(key);
      const fs::path path = reference ? pathOf(reference->asString(), directory_) : fs::path();
      if (path.empty()) continue;
      files_.push_back(path);
      changed.set(key, fileURL(path) + "#" + versionOf(path));
    }
    return changed;
  }

  const fs::path& directory_;
  std::vector<fs::path>& files_;
};

}  // namespace

std::string fileURL(const fs::path& path) { return std::string(kFileScheme) + KLPercentEncode(path.string(), kPathCharacters); }

KLValue withPictureURLs(const KLValue& layout, const fs::path& directory, std::vector<fs::path>& files) {
  return Rewriter(directory, files).rewritten(layout);
}

}  // namespace kaleo::tools
