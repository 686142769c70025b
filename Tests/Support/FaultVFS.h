#pragma once

#include <sqlite3.h>

#include <atomic>
#include <functional>
#include <string>

namespace kaleo::testing {

/// The system's layer below SQLite, with faults on demand. Registered under `name()` for the object's life.
/// Threads: the faults may be set from any thread.
class FaultVFS {
 public:
  FaultVFS()
      : real_(sqlite3_vfs_find(nullptr)), vfs_(*real_), name_("fault-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))) {
    vfs_.zName = name_.c_str();
    vfs_.pAppData = this;
    vfs_.pNext = nullptr;
    vfs_.szOsFile = static_cast<int>(sizeof(File)) + real_->szOsFile;
    vfs_.xOpen = open;
    vfs_.xSleep = sleep;
    sqlite3_vfs_register(&vfs_, 0);
  }
  ~FaultVFS() { sqlite3_vfs_unregister(&vfs_); }
  FaultVFS(const FaultVFS&) = delete;
  FaultVFS& operator=(const FaultVFS&) = delete;

  const std::string& name() const { return name_; }

  /// What writes of database and log answer: SQLITE_OK lets them through.
  std::atomic<int> writeResult{SQLITE_OK};
  /// Writes that still succeed before `writeResult` counts.
  std::atomic<int> writesBeforeFault{0};
  std::atomic<int> failedWrites{0};
  /// Times that a file was synchronised with the disk.
  std::atomic<int> syncs{0};
  std::atomic<int> sleeps{0};
  /// Runs in place of waiting, each time SQLite waits for another connection's lock.
  std::function<void()> onSleep = [] {};

 private:
  struct File {
    sqlite3_file base;
    FaultVFS* owner;
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
  };

  static FaultVFS& self(sqlite3_vfs* vfs) { return *static_cast<FaultVFS*>(vfs->pAppData); }
  static File* file(sqlite3_file* f) { return reinterpret_cast<File*>(f); }
  static sqlite3_file* real(sqlite3_file* f) { return file(f)->real(); }
  static const sqlite3_io_methods* methods(sqlite3_file* f) { return real(f)->pMethods; }

  static int sleep(sqlite3_vfs* vfs, int microseconds) {
    ++self(vfs).sleeps;
    self(vfs).onSleep();
    return microseconds;
  }

  static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* f, int flags, int* outFlags) {
    f->pMethods = nullptr;
    file(f)->owner = &self(vfs);
    const int code = self(vfs).real_->xOpen(self(vfs).real_, path, real(f), flags, outFlags);
    if (code == SQLITE_OK) f->pMethods = &kMethods;
    return code;
  }

  static int write(sqlite3_file* f, const void* data, int length, sqlite3_int64 offset) {
    FaultVFS& owner = *file(f)->owner;
    if (owner.writeResult != SQLITE_OK && owner.writesBeforeFault-- <= 0) {
      ++owner.failedWrites;
      return owner.writeResult;
    }
    return methods(f)->xWrite(real(f), data, length, offset);
  }

  static int close(sqlite3_file* f) { return methods(f)->xClose(real(f)); }
  static int read(sqlite3_file* f, void* to, int n, sqlite3_int64 at) { return methods(f)->xRead(real(f), to, n, at); }
  static int truncate(sqlite3_file* f, sqlite3_int64 size) { return methods(f)->xTruncate(real(f), size); }
  static int sync(sqlite3_file* f, int flags) {
    ++file(f)->owner->syncs;
    return methods(f)->xSync(real(f), flags);
  }
  static int fileSize(sqlite3_file* f, sqlite3_int64* size) { return methods(f)->xFileSize(real(f), size); }
  static int lock(sqlite3_file* f, int level) { return methods(f)->xLock(real(f), level); }
  static int unlock(sqlite3_file* f, int level) { return methods(f)->xUnlock(real(f), level); }
  static int checkReserved(sqlite3_file* f, int* out) { return methods(f)->xCheckReservedLock(real(f), out); }
  static int control(sqlite3_file* f, int op, void* arg) { return methods(f)->xFileControl(real(f), op, arg); }
  static int sectorSize(sqlite3_file* f) { return methods(f)->xSectorSize(real(f)); }
  static int characteristics(sqlite3_file* f) { return methods(f)->xDeviceCharacteristics(real(f)); }
  static int shmMap(sqlite3_file* f, int page, int size, int extend, void volatile** out) {
    return methods(f)->xShmMap(real(f), page, size, extend, out);
  }
  static int shmLock(sqlite3_file* f, int offset, int n, int flags) { return methods(f)->xShmLock(real(f), offset, n, flags); }
  static void shmBarrier(sqlite3_file* f) { methods(f)->xShmBarrier(real(f)); }
  static int shmUnmap(sqlite3_file* f, int remove) { return methods(f)->xShmUnmap(real(f), remove); }

  static constexpr sqlite3_io_methods kMethods = {
      2,          close,           read,   write,   truncate,   sync,    fileSize, lock, unlock, checkReserved, control,
      sectorSize, characteristics, shmMap, shmLock, shmBarrier, shmUnmap};

  sqlite3_vfs* real_;
  sqlite3_vfs vfs_;
  std::string name_;
};

}  // namespace kaleo::testing
