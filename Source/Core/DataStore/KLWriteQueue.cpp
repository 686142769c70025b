#include "Core/DataStore/KLWriteQueue.h"

#include <utility>

namespace kaleo {

KLWriteQueue::Added KLWriteQueue::addCell(KLDatabaseCell cell, std::size_t bytes, Task task) {
  std::lock_guard lock(mutex_);
  const auto earlier = latest_.find(cell);
  if (earlier == latest_.end()) {
    const Added added = append(bytes, std::move(task));
    if (added != Added::Refused) latest_.emplace(std::move(cell), entries_.size() - 1);
    return added;
  }
  Entry& entry = entries_[earlier->second];
  if (bytes_ - entry.bytes + bytes > kMaxBytes) return Added::Refused;
  bytes_ = bytes_ - entry.bytes + bytes;
  entry = {std::move(task), bytes};
  return Added::Joined;
}

KLWriteQueue::Added KLWriteQueue::addSweep(Task task) {
  std::lock_guard lock(mutex_);
  const Added added = append(0, std::move(task));
  if (added != Added::Refused) latest_.clear();
  return added;
}

KLWriteQueue::Added KLWriteQueue::append(std::size_t bytes, Task task) {
  if (entries_.size() >= kMaxTasks || bytes_ + bytes > kMaxBytes) return Added::Refused;
  entries_.push_back({std::move(task), bytes});
  bytes_ += bytes;
  return entries_.size() == 1 ? Added::First : Added::Joined;
}

std::vector<KLWriteQueue::Task> KLWriteQueue::take() {
  std::vector<Entry> entries;
  {
    std::lock_guard lock(mutex_);
    entries.swap(entries_);
    latest_.clear();
    bytes_ = 0;
  }
  std::vector<Task> tasks;
  tasks.reserve(entries.size());
  for (Entry& entry : entries) tasks.push_back(std::move(entry.task));
  return tasks;
}

}  // namespace kaleo
