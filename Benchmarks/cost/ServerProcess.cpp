#include "cost/ServerProcess.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "Support/LoopbackServer.h"

namespace kaleo::bench {
namespace {

[[noreturn]] void serve(const std::string& answer, int prompt, double slowSeconds, int portPipe) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::atomic<int> left = prompt;
  const LoopbackServer server([&](httplib::Server& routes) {
    routes.Get(".*", [&](const httplib::Request&, httplib::Response& response) {
      if (left-- <= 0) std::this_thread::sleep_for(std::chrono::duration<double>(slowSeconds));
      // As a type that the server does not compress: that would take it more than a second.
      response.set_content(answer, "application/octet-stream");
    });
  });
  const int port = server.port();
  if (::write(portPipe, &port, sizeof port) != sizeof port) _exit(1);
  for (;;) ::pause();
}

}  // namespace

ServerProcess::ServerProcess(const std::string& answer, int prompt, double slowSeconds) {
  int ends[2];
  if (::pipe(ends) != 0 || (process_ = ::fork()) < 0) throw std::runtime_error("no process for the server");
  if (process_ == 0) serve(answer, prompt, slowSeconds, ends[1]);
  ::close(ends[1]);
  int port = 0;
  const bool told = ::read(ends[0], &port, sizeof port) == sizeof port;
  ::close(ends[0]);
  if (!told) throw std::runtime_error("the server did not start");
  url_ = "http://127.0.0.1:" + std::to_string(port);
}

ServerProcess::~ServerProcess() { end(); }

void ServerProcess::end() {
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  process_ = -1;
}

}  // namespace kaleo::bench
