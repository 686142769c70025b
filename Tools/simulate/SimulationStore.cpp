#include "simulate/SimulationStore.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLFile.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMemoryDirectory = "/dev/shm";
constexpr std::size_t kMaxStoreBytes = std::size_t{1} << 30;
/// What every database begins with (SQLite's file format).
constexpr std::string_view kDatabaseHeader = "SQLite format 3";

fs::path with(fs::path path, const char* suffix) { return path += suffix; }

fs::path makeDirectoryIn(const fs::path& parent) {
  std::string pattern = (parent / "kaleo-simulate-XXXXXX").string();
  return mkdtemp(pattern.data()) ? fs::path(pattern) : fs::path();
}

fs::path makeScratch() {
  if (fs::path scratch = makeDirectoryIn(kMemoryDirectory); !scratch.empty()) return scratch;
  std::error_code ignored;
  return makeDirectoryIn(fs::temp_directory_path(ignored));
}

bool isDatabase(const KLBytes& bytes) {
  return bytes.empty() || (bytes.size() > kDatabaseHeader.size() &&
                           std::ranges::equal(kDatabaseHeader, std::string_view(reinterpret_cast<const char*>(bytes.data()),
                                                                                kDatabaseHeader.size())));
}

bool copyFile(const fs::path& from, const fs::path& to) {
  const auto bytes = KLFile::read(from, kMaxStoreBytes);
  return bytes && KLFile::writeAtomically(to, *bytes, KLFile::Access::OwnerOnly);
}

}  // namespace

SimulationStore::SimulationStore(fs::path file, fs::path scratch) : file_(std::move(file)), scratch_(std::move(scratch)) {}

std::unique_ptr<SimulationStore> SimulationStore::open(fs::path file, std::string& error) {
  fs::path scratch = makeScratch();
  if (scratch.empty()) {
    error = "no temporary directory can be made";
    return nullptr;
  }
  std::unique_ptr<SimulationStore> store(new SimulationStore(std::move(file), std::move(scratch)));
  return store->load(error) ? std::move(store) : nullptr;
}

SimulationStore::~SimulationStore() {
  std::error_code ignored;
  fs::remove_all(scratch_, ignored);
}

fs::path SimulationStore::hostFile() const { return scratch_ / "host"; }
fs::path SimulationStore::databaseFile() const { return scratch_ / KaleoDataStore::kDatabaseFileName; }
fs::path SimulationStore::keptHostFile() const { return with(file_, kHostSuffix); }

bool SimulationStore::load(std::string& error) const {
  if (file_.empty()) return true;
  if (KLFile::exists(with(file_, "-wal"))) {
    error = fmt::format("{} is in use, or was not closed by who used it last", file_.string());
    return false;
  }
  if (KLFile::exists(file_)) {
    const auto bytes = KLFile::read(file_, kMaxStoreBytes);
    if (!bytes || !isDatabase(*bytes)) {
      error = fmt::format("{} {}", file_.string(), bytes ? "is no store of this library" : "cannot be read");
      return false;
    }
    if (!KLFile::writeAtomically(databaseFile(), *bytes, KLFile::Access::OwnerOnly)) {
      error = fmt::format("{} cannot be written", databaseFile().string());
      return false;
    }
  }
  if (KLFile::exists(keptHostFile()) && !copyFile(keptHostFile(), hostFile())) {
    error = fmt::format("{} cannot be read", keptHostFile().string());
    return false;
  }
  return true;
}

bool SimulationStore::save(std::string& error) const {
  if (file_.empty()) return true;
  const std::pair<fs::path, fs::path> kept[] = {{databaseFile(), file_}, {hostFile(), keptHostFile()}};
  for (const auto& [from, to] : kept) {
    if (!KLFile::exists(from) || copyFile(from, to)) continue;
    error = fmt::format("{} cannot be written", to.string());
    return false;
  }
  return true;
}

}  // namespace kaleo::tools
