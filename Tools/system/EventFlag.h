#pragma once

#include <sys/eventfd.h>

#include <cstdint>

#include "Foundation/KLDescriptor.h"

namespace kaleo::tools {

/// A flag that a thread can wait for together with other descriptors. Threads: any.
class EventFlag {
 public:
  EventFlag() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

  /// Readable while the flag is raised.
  int descriptor() const { return descriptor_.get(); }
  void raise() { (void)::eventfd_write(descriptor_.get(), 1); }
  void lower() {
    eventfd_t ignored;
    (void)::eventfd_read(descriptor_.get(), &ignored);
  }

 private:
  KLDescriptor descriptor_;
};

}  // namespace kaleo::tools
