#pragma once

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "Support/LayeredVFS.h"
#include "kaleo/KLValue.h"

namespace kaleo::testing {

/// The system's layer below SQLite, and a model of a disk whose power may go at any moment.
///
/// What was synchronised is kept. Of each write since then the disk keeps everything, nothing, or any of its sectors, whatever it
/// keeps of the others; of what a file grew by and did not keep, zeros or noise. A truncation, a new name and a removed one may
/// have come to pass or not until the file or its directory was synchronised. Threads: those of the connections.
class PowerCutVFS : public LayeredVFS {
 public:
  /// Runs before each change of the disk.
  std::function<void()> onChange = [] {};

  /// Writes what the disk could hold after a power cut now into the empty `directory`.
  void leave(const std::filesystem::path& directory, std::mt19937& chance) const {
    for (const auto& [path, entry] : entries_) {
      // An old name comes back when the directory was not synchronised since.
      const bool lasts = entry.size() == 1 || chance() % 2;
      const std::shared_ptr<File>& file = lasts ? entry.back() : entry[chance() % entry.size()];
      if (!file) continue;
      const KLBytes bytes = file->left(chance);
      std::ofstream(directory / std::filesystem::path(path).filename(), std::ios::binary)
          .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
  }

 protected:
  int before(const VFSCall& call) override {
    switch (call.kind) {
      case Kind::Open:
        if (call.flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_WAL)) open(call.path);
        break;
      case Kind::Write:
        onChange();
        if (File* file = find(call.path)) file->pending.push_back(Change(call));
        break;
      case Kind::Truncate:
        onChange();
        if (File* file = find(call.path)) file->pending.push_back(Change(call));
        break;
      case Kind::Sync:
        onChange();
        sync(call.path);
        break;
      case Kind::Delete:
        onChange();
        if (find(call.path)) entries_[call.path].push_back(nullptr);
        if (call.flags) syncDirectory();
        break;
      default:
        break;
    }
    return SQLITE_OK;
  }

 private:
  struct Change {
    explicit Change(const VFSCall& call)
        : isTruncation(call.kind == VFSCall::Kind::Truncate), offset(static_cast<std::size_t>(call.offset)) {
      if (isTruncation) return;
      const auto* const data = static_cast<const std::uint8_t*>(call.data);
      bytes.assign(data, data + call.length);
    }

    void apply(KLBytes& to) const {
      if (isTruncation || offset + bytes.size() > to.size()) to.resize(isTruncation ? offset : offset + bytes.size());
      std::copy(bytes.begin(), bytes.end(), to.begin() + static_cast<std::ptrdiff_t>(offset));
    }

    void applyTorn(KLBytes& to, std::mt19937& chance) const {
      constexpr std::size_t kSector = 512;
      const unsigned kept = chance() % 3;  // all of it, nothing, some
      if (kept == 0) return apply(to);
      if (kept == 1 || isTruncation) return;
      for (std::size_t at = 0; at < bytes.size(); at += kSector) {
        if (chance() % 2) continue;
        const std::size_t length = std::min(kSector, bytes.size() - at);
        const std::size_t size = to.size();
        if (offset + at + length > size) {
          to.resize(offset + at + length);
          if (chance() % 2) std::fill(to.begin() + static_cast<std::ptrdiff_t>(size), to.end(), std::uint8_t(chance()));
        }
        std::memcpy(to.data() + offset + at, bytes.data() + at, length);
      }
    }

    bool isTruncation;
    std::size_t offset;
    KLBytes bytes;
  };

  struct File {
    KLBytes left(std::mt19937& chance) const {
      KLBytes bytes = synced;
      for (const Change& change : pending) change.applyTorn(bytes, chance);
      return bytes;
    }

    KLBytes synced;
    std::vector<Change> pending;  ///< since the last synchronisation
    bool isNamed = false;         ///< its name has been synchronised with it
  };

  void open(const std::string& path) {
    if (!find(path)) entries_[path].push_back(std::make_shared<File>());
  }

  File* find(const std::string& path) {
    const auto found = entries_.find(path);
    return found == entries_.end() ? nullptr : found->second.back().get();
  }

  void sync(const std::string& path) {
    File* const file = find(path);
    if (!file) return;
    for (const Change& change : file->pending) change.apply(file->synced);
    file->pending.clear();
    // SQLite synchronises the directory with the first synchronisation of a log or journal.
    if (!std::exchange(file->isNamed, true) && (path.ends_with("-wal") || path.ends_with("-journal"))) syncDirectory();
  }

  void syncDirectory() {
    for (auto& [path, entry] : entries_) entry.erase(entry.begin(), entry.end() - 1);
  }

  /// By path: what it named since the directory was synchronised, null for nothing; the last is what it names now.
  std::map<std::string, std::vector<std::shared_ptr<File>>> entries_;
};

}  // namespace kaleo::testing
