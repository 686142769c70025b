#include "files/ScratchDirectory.h"

#include <stdlib.h>

#include <string>

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMemoryDirectory = "/dev/shm";

fs::path makeDirectoryIn(const fs::path& parent) {
  std::string pattern = (parent / "kaleo-XXXXXX").string();
  return mkdtemp(pattern.data()) ? fs::path(pattern) : fs::path();
}

}  // namespace

ScratchDirectory::ScratchDirectory() : path_(makeDirectoryIn(kMemoryDirectory)) {
  std::error_code ignored;
  if (path_.empty()) path_ = makeDirectoryIn(fs::temp_directory_path(ignored));
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  if (!path_.empty()) fs::remove_all(path_, ignored);
}

}  // namespace kaleo::tools
