#pragma once

#include <sys/types.h>
#include <cstddef>
#include <map>
#include <string>

namespace kaleo::bench {

/// Bytes that malloc has given out and not taken back.
std::size_t heapInUse();

/// Memory of this process, bytes (proc_pid_smaps(5)).
struct Memory {
  std::size_t resident = 0;
  std::size_t ownDirty = 0;  ///< written to, and shared with no other process
};
Memory processMemory();

/// How often a thread was put on a processor, and how long it ran, seconds (proc_pid_status(5), proc_pid_schedstat(5)).
struct Activity {
  std::string name;
  long switches = 0;
  double seconds = 0;
};
/// By thread, all of this process but the calling one.
std::map<pid_t, Activity> otherThreads();

}  // namespace kaleo::bench
