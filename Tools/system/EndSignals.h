#pragma once

#include "Foundation/KLDescriptor.h"

namespace kaleo::tools {

/// The signals that ask a command to end (SIGINT, SIGTERM), held back from this thread and those it starts, so that one place can
/// wait for them. Before any other thread is started.
class EndSignals {
 public:
  EndSignals();

  /// Readable once a signal has come.
  int descriptor() const { return descriptor_.get(); }
  /// Takes the signal that has come, or waits for it, and answers its number. From then on a further one ends the process at once.
  int take() const;

 private:
  KLDescriptor descriptor_;
};

}  // namespace kaleo::tools
