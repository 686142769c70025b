#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include "kaleo/KLValue.h"

namespace kaleo {

/// A small persistent dictionary for one application: a keyed archive of class "KLUserDefaults" in one file, read on first use,
/// written by `synchronize`. Threads: any.
class KLUserDefaults {
 public:
  explicit KLUserDefaults(std::filesystem::path file);

  std::optional<KLValue> objectForKey(const std::string& key) const;
  std::optional<KLBytes> dataForKey(const std::string& key) const;
  void setObject(const KLValue& value, const std::string& key);
  void removeObjectForKey(const std::string& key);
  /// Writes what has changed. Touches the disk.
  bool synchronize();

 private:
  void loadLocked() const;

  std::filesystem::path file_;
  mutable std::mutex mutex_;  ///< guards what follows
  mutable bool loaded_ = false;
  mutable KLObject values_;
  bool changed_ = false;
};

}  // namespace kaleo
