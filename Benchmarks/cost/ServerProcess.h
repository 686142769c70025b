#pragma once

#include <sys/types.h>

#include <string>

namespace kaleo::bench {

/// A popup server in a process of its own, so that nothing of it counts as the library's. Made before the process has threads.
class ServerProcess {
 public:
  /// Answers every path with `answer`: the first `prompt` requests at once, later ones after `slowSeconds`.
  explicit ServerProcess(const std::string& answer, int prompt = 1'000'000, double slowSeconds = 0);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  const std::string& url() const { return url_; }
  /// From now on connections to it are refused.
  void end();

 private:
  pid_t process_ = -1;
  std::string url_;
};

}  // namespace kaleo::bench
