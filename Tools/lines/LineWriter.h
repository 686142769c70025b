#pragma once

#include <mutex>
#include <string>

#include "kaleo/KLValue.h"
#include "system/EventFlag.h"

namespace kaleo::tools {

/// Writes JSON objects, one a line, each at once and whole. A reader that is slow holds the writers up; one that is gone breaks the
/// output, and nothing more is written. The process must ignore SIGPIPE. Threads: any. Lifetime: borrows the descriptor.
class LineWriter {
 public:
  explicit LineWriter(int descriptor) : descriptor_(descriptor) {}

  void write(const KLValue& line);
  /// Waits for the reader no longer: what it does not take at once is lost, and breaks the output.
  void hurry() { hurried_.raise(); }

  /// Readable once the output is broken.
  int brokenDescriptor() const { return broken_.descriptor(); }
  bool isBroken() const;

 private:
  bool writeAll(std::string_view text);
  /// Waits until some bytes can be written without waiting.
  bool awaitRoom();

  const int descriptor_;
  EventFlag hurried_, broken_;
  mutable std::mutex mutex_;  ///< one line at a time
  bool isBroken_ = false;     ///< guarded by mutex_
};

}  // namespace kaleo::tools
