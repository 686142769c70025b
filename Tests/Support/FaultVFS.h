#pragma once

#include <atomic>
#include <functional>

#include "Support/LayeredVFS.h"

namespace kaleo::testing {

/// The system's layer below SQLite, with faults on demand.
/// Threads: the faults may be set from any thread.
class FaultVFS : public LayeredVFS {
 public:
  /// What writes of database and log answer: SQLITE_OK lets them through.
  std::atomic<int> writeResult{SQLITE_OK};
  /// Writes that still succeed before `writeResult` counts.
  std::atomic<int> writesBeforeFault{0};
  std::atomic<int> failedWrites{0};
  /// The call, counted from 1, that fails, each with the error of its kind; 0: none.
  std::atomic<int> failingCall{0};
  std::atomic<int> calls{0};
  /// Times that a file was synchronised with the disk.
  std::atomic<int> syncs{0};
  std::atomic<int> sleeps{0};
  /// Runs in place of waiting, each time SQLite waits for another connection's lock.
  std::function<void()> onSleep = [] {};

 protected:
  int before(const VFSCall& call) override {
    if (++calls == failingCall) return errorOf(call.kind);
    if (call.kind == Kind::Sync) ++syncs;
    if (call.kind != Kind::Write || writeResult == SQLITE_OK || writesBeforeFault-- > 0) return SQLITE_OK;
    ++failedWrites;
    return writeResult;
  }

  void wait() override {
    ++sleeps;
    onSleep();
  }

 private:
  static int errorOf(Kind kind) {
    constexpr int errors[] = {SQLITE_CANTOPEN,    SQLITE_IOERR_DELETE,   SQLITE_IOERR_ACCESS, SQLITE_IOERR_READ,
                              SQLITE_IOERR_WRITE, SQLITE_IOERR_TRUNCATE, SQLITE_IOERR_FSYNC,  SQLITE_IOERR_FSTAT,
                              SQLITE_IOERR_LOCK,  SQLITE_IOERR,          SQLITE_IOERR_SHMMAP, SQLITE_IOERR_SHMLOCK};
    return errors[static_cast<int>(kind)];
  }
};

}  // namespace kaleo::testing
