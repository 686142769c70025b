#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "files/ScratchDirectory.h"
#include "kaleo/KLPlatform.h"

namespace kaleo::tools {

/// Where the state of a simulation lies: in a scratch directory, in memory where the system has such a place, as every commit of
/// the store waits for its disk. With a file, the state is copied from there at first and back by `save`, so that a run that breaks
/// off leaves the file as it was. Threads: one.
class SimulationStore {
 public:
  /// What follows the file's name in that of the host's key-value store.
  static constexpr const char* kHostSuffix = ".host";

  /// `file` may be empty (nothing is kept) or not yet there. On failure answers null and `error` says why, for people.
  static std::unique_ptr<SimulationStore> open(std::filesystem::path file, std::string& error);
  SimulationStore(const SimulationStore&) = delete;
  SimulationStore& operator=(const SimulationStore&) = delete;

  KLDirectories directories() const { return {scratch_.path(), scratch_.path(), scratch_.path(), {}}; }
  /// The host's key-value store, a file of KLUserDefaults.
  std::filesystem::path hostFile() const;
  /// Keeps the state in the file, if there is one. Once all that used the state has been closed.
  bool save(std::string& error) const;

 private:
  explicit SimulationStore(std::filesystem::path file) : file_(std::move(file)) {}
  std::filesystem::path databaseFile() const;
  std::filesystem::path keptHostFile() const;
  bool load(std::string& error) const;

  const std::filesystem::path file_;
  const ScratchDirectory scratch_;
};

}  // namespace kaleo::tools
