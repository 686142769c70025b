#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Core/DataStore/KLDatabaseTypes.h"

namespace kaleo {

/// What a write replaces: one column of one row.
struct KLDatabaseCell {
  KLDatabaseTable table;
  int column = 0;
  std::string rowKey;   ///< distinct id or user id
  std::string planKey;  ///< of a plan's window
  friend auto operator<=>(const KLDatabaseCell&, const KLDatabaseCell&) = default;
};

/// The writes that wait for their turn, in order. A write of a cell takes the place of an earlier one of the same cell, unless
/// something that touches whole tables was queued between the two: what reaches the disk is what all writes in order would leave.
/// Bounded: a disk that stands still makes writes be refused, not memory grow.
/// Threads: any.
class KLWriteQueue {
 public:
  using Task = std::function<bool()>;
  enum class Added {
    First,    ///< nothing waited: whoever added it sees to its turn
    Joined,   ///< its turn is seen to already
    Refused,  ///< too much waits
  };

  /// The four windows of ten thousand plans, which one configuration may reset at once, and room for what else happens.
  static constexpr std::size_t kMaxTasks = 1u << 16;
  static constexpr std::size_t kMaxBytes = 64u << 20;

  /// `bytes`: what the task keeps in memory.
  Added addCell(KLDatabaseCell cell, std::size_t bytes, Task task);
  /// A write to whole tables: no write moves past it.
  Added addSweep(Task task);
  /// Empties the queue.
  std::vector<Task> take();

 private:
  struct Entry {
    Task task;
    std::size_t bytes;
  };
  Added append(std::size_t bytes, Task task);

  std::mutex mutex_;  ///< guards what follows
  std::vector<Entry> entries_;
  std::map<KLDatabaseCell, std::size_t> latest_;  ///< position in entries_ of each cell written since the last sweep
  std::size_t bytes_ = 0;
};

}  // namespace kaleo
