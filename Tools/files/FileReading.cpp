#include "files/FileReading.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "Foundation/KLDescriptor.h"
#include "Foundation/KLJSON.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

std::string systemReason() { return fmt::format("cannot be read: {}", std::strerror(errno)); }

std::string tooLong(std::size_t maxBytes) { return fmt::format("is longer than {} bytes", maxBytes); }

std::nullopt_t refuse(std::string reason, std::string& error) {
  error = std::move(reason);
  return std::nullopt;
}

}  // namespace

std::string whyUnreadable(const fs::path& file, std::size_t maxBytes) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::is_directory(status)) return "is a directory";
  if (fs::exists(status) && !fs::is_regular_file(status)) return "is no regular file";
  const KLDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!opened) return systemReason();
  return fs::file_size(file, error) > maxBytes ? tooLong(maxBytes) : "";
}

std::optional<std::string> readText(const fs::path& file, std::string& error) {
  constexpr std::size_t kStep = std::size_t{1} << 16;
  std::error_code ignored;
  if (fs::is_directory(file, ignored)) return refuse("is a directory", error);
  const KLDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (!opened) return refuse(systemReason(), error);
  std::string text;
  for (std::size_t length = 0;;) {
    text.resize(length + kStep);
    const ssize_t count = ::read(opened.get(), text.data() + length, kStep);
    if (count < 0 && errno != EINTR) return refuse(systemReason(), error);
    if (count > 0) length += static_cast<std::size_t>(count);
    if (count == 0) {
      text.resize(length);
      return text;
    }
    if (length > KLJSON::kMaxBytes) return refuse(tooLong(KLJSON::kMaxBytes), error);
  }
}

}  // namespace kaleo::tools
