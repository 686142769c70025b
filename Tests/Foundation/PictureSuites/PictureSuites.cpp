#include "Foundation/PictureSuites/PictureSuites.h"

#include <algorithm>
#include <cstdlib>

#include "Foundation/KLFile.h"

namespace kaleo::testing::PictureSuites {

namespace fs = std::filesystem;

fs::path directory() {
  if (const char* const named = std::getenv("KALEO_PICTURE_SUITES")) return named;
  if (const char* const caches = std::getenv("XDG_CACHE_HOME")) return fs::path(caches) / "kaleo" / "picture-suites";
  const char* const home = std::getenv("HOME");
  return fs::path(home ? home : "/") / ".cache" / "kaleo" / "picture-suites";
}

std::vector<fs::path> filesOf(const std::string& suite, const std::string& extension) {
  std::vector<fs::path> files;
  std::error_code none;
  for (const auto& entry : fs::recursive_directory_iterator(directory() / suite, none)) {
    if (entry.is_regular_file() && entry.path().extension() == extension) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

std::string nameOf(const fs::path& file) { return file.lexically_relative(directory()).string(); }

KLBytes bytesOf(const fs::path& file) { return KLFile::read(file).value_or(KLBytes{}); }

}  // namespace kaleo::testing::PictureSuites
