#include "Nimbra/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace nimbra {
namespace {

namespace fs = std::filesystem;

bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file, text.data(), text.size());
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool writeSynchronised(const fs::path& path, std::string_view text) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0) return false;
  const bool written = writeAll(file, text) && ::fsync(file) == 0;
  return ::close(file) == 0 && written;
}

}  // namespace

std::optional<std::string> readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

bool replaceFile(const fs::path& path, std::string_view text) {
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  const fs::path temporary = path.string() + ".new";
  if (!writeSynchronised(temporary, text)) return false;
  fs::rename(temporary, path, error);
  return !error;
}

bool LineFile::append(const std::string& line) {
  const std::lock_guard lock(mutex_);
  std::error_code error;
  fs::create_directories(path_.parent_path(), error);
  if (const auto size = fs::file_size(path_, error); !error && size > kMaxBytes) fs::rename(path_, path_.string() + ".old", error);
  std::ofstream file(path_, std::ios::binary | std::ios::app);
  return static_cast<bool>(file << line << '\n' << std::flush);
}

}  // namespace nimbra
