#include "lines/LineWriter.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Foundation/KLJSON.h"

namespace kaleo::tools {

void LineWriter::write(const KLValue& line) {
  const std::string text = KLJSON::serialize(line) + '\n';
  const std::lock_guard lock(mutex_);
  if (isBroken_ || writeAll(text)) return;
  isBroken_ = true;
  broken_.raise();
}

bool LineWriter::isBroken() const {
  const std::lock_guard lock(mutex_);
  return isBroken_;
}

bool LineWriter::awaitRoom() {
  pollfd files[] = {{descriptor_, POLLOUT, 0}, {hurried_.descriptor(), POLLIN, 0}};
  while (::poll(files, std::size(files), -1) < 0) {
    if (errno != EINTR) return false;
  }
  return files[0].revents != 0;  // an error there shows when writing
}

// Of a pipe with room at all, as many bytes as PIPE_BUF are taken without waiting (POSIX, write).
bool LineWriter::writeAll(std::string_view text) {
  while (!text.empty()) {
    if (!awaitRoom()) return false;
    const ssize_t count = ::write(descriptor_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR && errno != EAGAIN) return false;
  }
  return true;
}

}  // namespace kaleo::tools
