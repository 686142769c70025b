#pragma once

#include <unistd.h>

#include <utility>

namespace kaleo {

/// Owns a file descriptor and closes it; negative means none, as the system's calls answer.
class KLDescriptor {
 public:
  explicit KLDescriptor(int fd) : fd_(fd) {}
  ~KLDescriptor() { close(); }
  KLDescriptor(const KLDescriptor&) = delete;
  KLDescriptor& operator=(const KLDescriptor&) = delete;

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  /// Closes before the end; false when that fails or there is nothing to close.
  bool close() {
    const int fd = std::exchange(fd_, -1);
    return fd >= 0 && ::close(fd) == 0;
  }

 private:
  int fd_;
};

}  // namespace kaleo
