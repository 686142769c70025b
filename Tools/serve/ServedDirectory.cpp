#include "serve/ServedDirectory.h"

#include <algorithm>

#include "Foundation/KLFile.h"

namespace kaleo::tools {
namespace {

bool isPlainSegment(std::string_view segment) {
  return !segment.empty() && segment != "." && segment != ".." && segment.find('\0') == std::string_view::npos &&
         segment.find('\\') == std::string_view::npos;
}

bool isPlainName(std::string_view name) {
  for (std::size_t start = 0; start <= name.size();) {
    const std::size_t end = std::min(name.find('/', start), name.size());
    if (!isPlainSegment(name.substr(start, end - start))) return false;
    start = end + 1;
  }
  return true;
}

}  // namespace

ServedDirectory::ServedDirectory(const std::filesystem::path& root) {
  std::error_code error;
  root_ = std::filesystem::canonical(root, error);
  if (error) root_ = root;
}

std::optional<std::filesystem::path> ServedDirectory::locate(std::string_view name) const {
  if (!isPlainName(name)) return std::nullopt;
  std::error_code error;
  const auto real = std::filesystem::canonical(root_ / name, error);
  if (error) return std::nullopt;
  const auto [rootEnd, rest] = std::mismatch(root_.begin(), root_.end(), real.begin(), real.end());
  return rootEnd == root_.end() && rest != real.end() ? std::optional(real) : std::nullopt;
}

std::optional<std::string> ServedDirectory::read(std::string_view name) const {
  const auto path = locate(name);
  if (!path) return std::nullopt;
  const auto bytes = KLFile::read(*path, kMaxFileBytes);
  return bytes ? std::optional(std::string(bytes->begin(), bytes->end())) : std::nullopt;
}

bool ServedDirectory::write(std::string_view folder, std::string_view name, std::string_view bytes) const {
  if (!isPlainName(folder) || !isPlainName(name)) return false;
  std::error_code error;
  std::filesystem::create_directory(root_ / folder, error);
  const auto real = locate(folder);
  return real && KLFile::writeAtomically(*real / name, KLBytes(bytes.begin(), bytes.end()));
}

}  // namespace kaleo::tools
