#include "simulate/SimulationStore.h"

#include <fmt/format.h>

#include <utility>

#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLFile.h"
#include "database/DatabaseCopy.h"

namespace kaleo::tools {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxStoreBytes = std::size_t{1} << 30;

fs::path with(fs::path path, const char* suffix) { return path += suffix; }

bool copyFile(const fs::path& from, const fs::path& to) {
  const auto bytes = KLFile::read(from, kMaxStoreBytes);
  return bytes && KLFile::writeAtomically(to, *bytes, KLFile::Access::OwnerOnly);
}

}  // namespace

std::unique_ptr<SimulationStore> SimulationStore::open(fs::path file, std::string& error) {
  std::unique_ptr<SimulationStore> store(new SimulationStore(std::move(file)));
  if (store->scratch_.path().empty()) {
    error = "no temporary directory can be made";
    return nullptr;
  }
  return store->load(error) ? std::move(store) : nullptr;
}

fs::path SimulationStore::hostFile() const { return scratch_.path() / "host"; }
fs::path SimulationStore::databaseFile() const { return scratch_.path() / KaleoDataStore::kDatabaseFileName; }
fs::path SimulationStore::keptHostFile() const { return with(file_, kHostSuffix); }

bool SimulationStore::load(std::string& error) const {
  if (file_.empty()) return true;
  if (KLFile::exists(with(file_, "-wal"))) {
    error = fmt::format("{} is in use, or was not closed by who used it last", file_.string());
    return false;
  }
  if (KLFile::exists(file_)) {
    const auto bytes = KLFile::read(file_, kMaxStoreBytes);
    if (!bytes || !(bytes->empty() || isDatabase(*bytes))) {
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
