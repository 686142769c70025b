#include "system/EndSignals.h"

#include <signal.h>
#include <sys/signalfd.h>

namespace kaleo::tools {
namespace {

sigset_t endSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

int heldBack() {
  const sigset_t signals = endSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

}  // namespace

EndSignals::EndSignals() : descriptor_(heldBack()) {}

int EndSignals::take() const {
  const sigset_t signals = endSignals();
  int signal = 0;
  sigwait(&signals, &signal);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  return signal;
}

}  // namespace kaleo::tools
