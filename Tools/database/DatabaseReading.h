#pragma once

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Core/DataStore/KLAESCrypt.h"
#include "Foundation/KLSystem.h"
#include "database/DatabaseCopy.h"

namespace kaleo::tools {

/// What the subcommands that read a user's databases are asked for.
struct ReadingArguments {
  std::filesystem::path file;
  std::filesystem::path key;  ///< the library's key file; empty: none
  std::string user;           ///< a user id or distinct id; empty: all
  std::string timeZone;       ///< IANA name; empty: the machine's
  bool json = false;          ///< one document for programs
};

/// Where they speak, and the time. Lifetime: borrowed.
struct ReadingOutput {
  std::ostream& out;
  std::ostream& err;
  double now = 0;         ///< seconds since 1970
  bool coloured = false;  ///< whether `out` shows colours
};

/// The exit statuses.
inline constexpr int kRead = 0;
inline constexpr int kPartlyRead = 1;  ///< something in the file could not be read
inline constexpr int kCannotRead = 2;

/// What could not be read of a database.
struct ReadingFaults {
  std::size_t lockedValues = 0;   ///< encrypted, and not under the key at hand
  std::size_t damagedValues = 0;  ///< not what they should be
  std::string damage;             ///< what SQLite could not read; empty: everything was read

  bool any() const { return lockedValues > 0 || damagedValues > 0 || !damage.empty(); }
};

/// A user's database, opened for reading with the key that was given. Threads: one.
class DatabaseReading {
 public:
  /// `usualName`: what the file is called where the library made it. On failure answers null and `error` says why, for people.
  static std::unique_ptr<DatabaseReading> open(const ReadingArguments& arguments, const std::string& usualName, std::string& error);
  DatabaseReading(const DatabaseReading&) = delete;
  DatabaseReading& operator=(const DatabaseReading&) = delete;

  DatabaseCopy& database() { return *database_; }
  /// Null when none was given.
  const KLAESCrypt* key() const { return keyFile_.empty() ? nullptr : &key_; }
  /// What whoever reads on has to know; each a sentence.
  std::vector<std::string> remarks(const ReadingFaults& faults) const;

 private:
  explicit DatabaseReading(const ReadingArguments& arguments) : file_(arguments.file), keyFile_(arguments.key) {}

  const std::filesystem::path file_, keyFile_;
  KLSystemRandom random_;  // of no use: the cipher only decrypts
  KLAESCrypt key_{random_};
  std::unique_ptr<DatabaseCopy> database_;
};

}  // namespace kaleo::tools
