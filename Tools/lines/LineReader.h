#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kaleo::tools {

/// Reads lines of bounded length from a file, a pipe or a terminal, as they come. Threads: one. Lifetime: borrows the descriptor.
class LineReader {
 public:
  enum class Read {
    Line,
    TooLong,  ///< the line was longer than the bound; it has been skipped
    End,
    Failed,       ///< errno says why
    Interrupted,  ///< a signal came while waiting, or `await` gave up
  };
  /// Waits until there is something to read; false gives up.
  using Await = std::function<bool()>;

  /// Without `await` reading itself waits.
  LineReader(int descriptor, std::size_t maxBytes, Await await = {})
      : descriptor_(descriptor), maxBytes_(maxBytes), await_(std::move(await)) {}

  /// The next line without its line feed. The last one needs none.
  Read next(std::string& line);

 private:
  /// Reads on when all has been handed out.
  Read fill();

  const int descriptor_;
  const std::size_t maxBytes_;
  const Await await_;
  std::vector<char> buffer_;
  std::size_t position_ = 0;  ///< of what comes next in buffer_
};

}  // namespace kaleo::tools
