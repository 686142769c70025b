#include "Image/KLDiskImageCache.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <system_error>
#include <vector>

#include "Foundation/KLCipher.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLImageDecoder.h"
#include "Foundation/KLURL.h"

namespace kaleo {
namespace {

namespace fs = std::filesystem;

/// Extensions from this length on would make names that file systems refuse.
constexpr std::size_t kLongestExtension = 223;
/// `st_blocks` counts in these whatever the file system's own blocks are (POSIX.1, <sys/stat.h>).
constexpr std::uint64_t kBytesPerStatBlock = 512;
constexpr double kNanosecondsPerSecond = 1e9;
/// Keeps the directory out of backups (Cache Directory Tagging Specification, https://bford.info/cachedir).
constexpr const char* kTagName = "CACHEDIR.TAG";
constexpr std::string_view kTag =
    "Signature: 8a477f597d28d172789f06886806bc55\n"
    "# Pictures that can be fetched again.\n";

std::string pathExtensionOf(const std::string& key) {
  if (const auto url = KLURL::parse(key)) return url->pathExtension();
  const auto extension = fs::path(key).extension().string();
  return extension.empty() ? extension : extension.substr(1);
}

struct File {
  fs::path path;
  double modified;          ///< seconds since 1970
  std::uint64_t allocated;  ///< bytes
};

double secondsOf(const timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / kNanosecondsPerSecond;
}

std::optional<File> fileAt(const fs::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return std::nullopt;
  return File{path, secondsOf(status.st_mtim), static_cast<std::uint64_t>(status.st_blocks) * kBytesPerStatBlock};
}

/// All but directories, hidden files and the tag.
std::vector<File> filesIn(const fs::path& directory) {
  std::vector<File> files;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    const auto name = entry->path().filename();
    if (name.native().front() == '.' || name == kTagName) continue;
    if (auto file = fileAt(entry->path())) files.push_back(std::move(*file));
  }
  return files;
}

/// The cache's own clock decides about age, so it also dates the files.
void setModificationTime(const fs::path& path, double seconds) {
  const double whole = std::floor(seconds);
  const timespec modified{static_cast<time_t>(whole), static_cast<long>((seconds - whole) * kNanosecondsPerSecond)};
  const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, modified};
  ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
}

void removeOldestUntilBelow(std::vector<File> files, std::uint64_t total, std::uint64_t target) {
  std::ranges::sort(files, {}, &File::modified);
  for (const auto& file : files) {
    if (total < target) return;
    if (KLFile::remove(file.path)) total -= file.allocated;
  }
}

}  // namespace

fs::path KLDiskImageCache::cachePathForKey(const std::string& key) const {
  auto name = KLMD5Hex(key);
  const auto extension = pathExtensionOf(key);
  if (!extension.empty() && extension.size() < kLongestExtension) name += '.' + extension;
  return cachePath_ / name;
}

bool KLDiskImageCache::containsDataForKey(const std::string& key) const {
  const auto path = cachePathForKey(key);
  return KLFile::exists(path) || KLFile::exists(fs::path(path).replace_extension());
}

std::optional<KLBytes> KLDiskImageCache::dataForKey(const std::string& key) const {
  const auto path = cachePathForKey(key);
  constexpr auto kMaxBytes = KLImageDecoder::Limits{}.maxBytes;
  if (auto data = KLFile::read(path, kMaxBytes)) return data;
  return KLFile::read(fs::path(path).replace_extension(), kMaxBytes);
}

void KLDiskImageCache::setData(const KLBytes& data, const std::string& key) {
  const auto path = cachePathForKey(key);
  if (!KLFile::writeAtomically(path, data)) return;
  setModificationTime(path, clock_.now());
  if (const auto tag = cachePath_ / kTagName; !KLFile::exists(tag))
    KLFile::createAtomically(tag, KLBytes(kTag.begin(), kTag.end()));
}

void KLDiskImageCache::removeDataForKey(const std::string& key) { KLFile::remove(cachePathForKey(key)); }

void KLDiskImageCache::removeAllData() {
  std::error_code ignored;
  fs::remove_all(cachePath_, ignored);
  fs::create_directories(cachePath_, ignored);
}

void KLDiskImageCache::removeExpiredData() {
  auto files = filesIn(cachePath_);
  if (const double age = maxDiskAge(); age >= 0) {
    const double expiry = clock_.now() - age;
    std::erase_if(files, [expiry](const File& file) { return file.modified <= expiry && KLFile::remove(file.path); });
  }
  std::uint64_t total = 0;
  for (const auto& file : files) total += file.allocated;
  const auto limit = maxDiskSize();
  if (limit > 0 && total > limit) removeOldestUntilBelow(std::move(files), total, limit / 2);
}

}  // namespace kaleo
