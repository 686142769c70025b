#pragma once

#include <sqlite3.h>

#include <string>

namespace kaleo::testing {

/// What SQLite asks of the layer below it.
struct VFSCall {
  enum class Kind { Open, Delete, Access, Read, Write, Truncate, Sync, FileSize, Lock, Control, ShmMap, ShmLock };

  Kind kind;
  const std::string& path;     ///< of the file
  const void* data = nullptr;  ///< of a write
  int length = 0;              ///< of a write
  sqlite3_int64 offset = 0;    ///< of a write; the new size of a truncation
  int flags = 0;               ///< of an opening, a synchronisation; of a deletion: whether its directory is synchronised, too
};

/// The system's layer below SQLite, every call of which passes by `before`. Registered under `name()` for the object's life.
/// What may not fail (closing, unlocking, waiting) does not pass by it. Nothing waits for the real disk: no power is cut here.
class LayeredVFS {
 public:
  LayeredVFS()
      : real_(sqlite3_vfs_find(nullptr)), vfs_(*real_), name_("test-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))) {
    vfs_.zName = name_.c_str();
    vfs_.pAppData = this;
    vfs_.pNext = nullptr;
    vfs_.szOsFile = static_cast<int>(sizeof(File)) + real_->szOsFile;
    vfs_.xOpen = open;
    vfs_.xDelete = remove;
    vfs_.xAccess = access;
    vfs_.xSleep = sleep;
    sqlite3_vfs_register(&vfs_, 0);
  }
  virtual ~LayeredVFS() { sqlite3_vfs_unregister(&vfs_); }
  LayeredVFS(const LayeredVFS&) = delete;
  LayeredVFS& operator=(const LayeredVFS&) = delete;

  const std::string& name() const { return name_; }

 protected:
  using Kind = VFSCall::Kind;

  /// Anything but SQLITE_OK is answered in place of the call.
  virtual int before(const VFSCall& call) = 0;
  /// In place of waiting for another connection's lock.
  virtual void wait() {}

 private:
  struct File {
    sqlite3_file base;
    LayeredVFS* owner;
    std::string* path;
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
  };

  static LayeredVFS& self(sqlite3_vfs* vfs) { return *static_cast<LayeredVFS*>(vfs->pAppData); }
  static sqlite3_vfs* system(sqlite3_vfs* vfs) { return self(vfs).real_; }
  static File* file(sqlite3_file* f) { return reinterpret_cast<File*>(f); }
  static sqlite3_file* real(sqlite3_file* f) { return file(f)->real(); }
  static const sqlite3_io_methods* methods(sqlite3_file* f) { return real(f)->pMethods; }

  template <class Go>
  static int ask(sqlite3_file* f, Kind kind, const Go& go) {
    const int code = file(f)->owner->before({kind, *file(f)->path});
    return code == SQLITE_OK ? go() : code;
  }

  static int sleep(sqlite3_vfs* vfs, int microseconds) {
    self(vfs).wait();
    return microseconds;
  }

  static int open(sqlite3_vfs* vfs, const char* path, sqlite3_file* f, int flags, int* outFlags) {
    f->pMethods = nullptr;
    const std::string name = path ? path : "";
    int code = self(vfs).before({Kind::Open, name, nullptr, 0, 0, flags});
    if (code == SQLITE_OK) code = system(vfs)->xOpen(system(vfs), path, real(f), flags, outFlags);
    if (code != SQLITE_OK) return code;
    *file(f) = {{&kMethods}, &self(vfs), new std::string(name)};
    return SQLITE_OK;
  }

  static int close(sqlite3_file* f) {
    delete file(f)->path;
    return methods(f)->xClose(real(f));
  }

  static int remove(sqlite3_vfs* vfs, const char* path, int syncDirectory) {
    const int code = self(vfs).before({Kind::Delete, path, nullptr, 0, 0, syncDirectory});
    return code == SQLITE_OK ? system(vfs)->xDelete(system(vfs), path, 0) : code;
  }

  static int access(sqlite3_vfs* vfs, const char* path, int flags, int* out) {
    const int code = self(vfs).before({Kind::Access, path});
    return code == SQLITE_OK ? system(vfs)->xAccess(system(vfs), path, flags, out) : code;
  }

  static int write(sqlite3_file* f, const void* data, int length, sqlite3_int64 offset) {
    const int code = file(f)->owner->before({Kind::Write, *file(f)->path, data, length, offset});
    return code == SQLITE_OK ? methods(f)->xWrite(real(f), data, length, offset) : code;
  }

  static int truncate(sqlite3_file* f, sqlite3_int64 size) {
    const int code = file(f)->owner->before({Kind::Truncate, *file(f)->path, nullptr, 0, size});
    return code == SQLITE_OK ? methods(f)->xTruncate(real(f), size) : code;
  }

  static int read(sqlite3_file* f, void* to, int n, sqlite3_int64 at) {
    return ask(f, Kind::Read, [&] { return methods(f)->xRead(real(f), to, n, at); });
  }
  static int sync(sqlite3_file* f, int flags) { return file(f)->owner->before({Kind::Sync, *file(f)->path, nullptr, 0, 0, flags}); }
  static int fileSize(sqlite3_file* f, sqlite3_int64* size) {
    return ask(f, Kind::FileSize, [&] { return methods(f)->xFileSize(real(f), size); });
  }
  static int lock(sqlite3_file* f, int level) {
    return ask(f, Kind::Lock, [&] { return methods(f)->xLock(real(f), level); });
  }
  static int unlock(sqlite3_file* f, int level) { return methods(f)->xUnlock(real(f), level); }
  static int checkReserved(sqlite3_file* f, int* out) {
    return ask(f, Kind::Lock, [&] { return methods(f)->xCheckReservedLock(real(f), out); });
  }
  static int control(sqlite3_file* f, int op, void* arg) { return methods(f)->xFileControl(real(f), op, arg); }
  static int sectorSize(sqlite3_file* f) { return methods(f)->xSectorSize(real(f)); }
  static int characteristics(sqlite3_file* f) { return methods(f)->xDeviceCharacteristics(real(f)); }
  static int shmMap(sqlite3_file* f, int page, int size, int extend, void volatile** out) {
    return ask(f, Kind::ShmMap, [&] { return methods(f)->xShmMap(real(f), page, size, extend, out); });
  }
  static int shmLock(sqlite3_file* f, int offset, int n, int flags) {
    if (flags & SQLITE_SHM_UNLOCK) return methods(f)->xShmLock(real(f), offset, n, flags);
    return ask(f, Kind::ShmLock, [&] { return methods(f)->xShmLock(real(f), offset, n, flags); });
  }
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
