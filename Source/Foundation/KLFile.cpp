#include "Foundation/KLFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

#include "Foundation/KLDescriptor.h"

namespace kaleo::KLFile {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOwnerOnlyFile = 0600;
constexpr mode_t kOwnerOnlyDirectory = 0700;
constexpr mode_t kDefaultFile = 0666;  // the process's mask takes its bits off
constexpr mode_t kDefaultDirectory = 0777;
constexpr int kTemporaryNameTries = 100;
constexpr std::size_t kReadStep = 1u << 20;

/// The next `count` bytes at most; -1 on failure.
ssize_t readSome(int fd, std::uint8_t* to, std::size_t count) {
  ssize_t got = 0;
  do {
    got = ::read(fd, to, count);
  } while (got < 0 && errno == EINTR);
  return got;
}

bool writeAll(int fd, const KLBytes& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t wrote = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (wrote < 0 && errno != EINTR) return false;
    if (wrote > 0) done += static_cast<std::size_t>(wrote);
  }
  return true;
}

/// A new file in the directory of `path`, so that the renaming stays within one file system.
int makeTemporary(const fs::path& path, mode_t mode, fs::path& temporary) {
  static std::atomic<unsigned> counter = 0;
  for (int i = 0; i < kTemporaryNameTries; ++i) {
    temporary = path;
    temporary += ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

/// Makes a renaming in `directory` last. A file system that cannot do it is no reason to fail: the file is whole either way.
void synchronizeDirectory(const fs::path& directory) {
  const KLDescriptor opened(::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened) ::fsync(opened.get());
}

bool replace(const fs::path& temporary, const fs::path& path) { return ::rename(temporary.c_str(), path.c_str()) == 0; }

bool moveWhereNothingIs(const fs::path& temporary, const fs::path& path) {
  if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL) return false;
  // A file system that cannot do both in one. A second name fails where there is one already; without such names, as on a memory
  // card, there is nothing better than to look first.
  if (::link(temporary.c_str(), path.c_str()) == 0) return ::unlink(temporary.c_str()) == 0;
  return errno == EPERM && !KLFile::exists(path) && replace(temporary, path);
}

bool fill(KLDescriptor& file, const KLBytes& bytes) {
  const bool whole = writeAll(file.get(), bytes) && ::fsync(file.get()) == 0;
  return file.close() && whole;
}

using Move = bool (*)(const fs::path& temporary, const fs::path& path);

bool writeBeside(const fs::path& path, const KLBytes& bytes, Access access, Move move) {
  if (!makeDirectories(path.parent_path(), access)) return false;
  fs::path temporary;
  KLDescriptor file(makeTemporary(path, access == Access::OwnerOnly ? kOwnerOnlyFile : kDefaultFile, temporary));
  if (!file) return false;
  if (!fill(file, bytes) || !move(temporary, path)) {
    ::unlink(temporary.c_str());
    return false;
  }
  synchronizeDirectory(path.parent_path());
  return true;
}

}  // namespace

std::optional<KLBytes> read(const fs::path& path, std::size_t maxBytes) {
  // Without O_NONBLOCK the opening of a pipe would wait for a writer.
  const KLDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (static_cast<std::size_t>(status.st_size) > maxBytes) return std::nullopt;
  KLBytes bytes(static_cast<std::size_t>(status.st_size) + 1);  // one more, to see the end
  std::size_t length = 0;
  for (ssize_t got = -1; got != 0;) {
    if (length > maxBytes) return std::nullopt;
    if (length == bytes.size()) bytes.resize(length + kReadStep);  // it grew meanwhile
    got = readSome(file.get(), bytes.data() + length, bytes.size() - length);
    if (got < 0) return std::nullopt;
    length += static_cast<std::size_t>(got);
  }
  bytes.resize(length);
  return bytes;
}

bool writeAtomically(const fs::path& path, const KLBytes& bytes, Access access) {
  return writeBeside(path, bytes, access, replace);
}

bool createAtomically(const fs::path& path, const KLBytes& bytes, Access access) {
  return writeBeside(path, bytes, access, moveWhereNothingIs);
}

bool makeDirectories(const fs::path& directory, Access access) {
  std::error_code failure;
  if (directory.empty() || fs::is_directory(directory, failure)) return true;
  if (directory.has_relative_path() && !makeDirectories(directory.parent_path(), access)) return false;
  const mode_t mode = access == Access::OwnerOnly ? kOwnerOnlyDirectory : kDefaultDirectory;
  if (::mkdir(directory.c_str(), mode) != 0) return errno == EEXIST;
  synchronizeDirectory(directory.parent_path());
  return true;
}

bool exists(const fs::path& path) {
  std::error_code failure;
  return fs::exists(path, failure);
}

bool remove(const fs::path& path) {
  std::error_code failure;
  return fs::remove(path, failure);
}

}  // namespace kaleo::KLFile
