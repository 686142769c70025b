#include "Foundation/KLThreadStart.h"

#include <pthread.h>
#include <signal.h>

#include <string>

namespace kaleo {
namespace {

constexpr std::size_t kMaxThreadName = 15;

/// Blocks every signal on the calling thread for its lifetime: a thread started meanwhile inherits the mask from its first moment.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

std::thread KLStartThread(std::string_view name, std::function<void()> body) {
  const SignalsBlocked blocked;
  return std::thread([name = std::string(name.substr(0, kMaxThreadName)), body = std::move(body)] {
    pthread_setname_np(pthread_self(), name.c_str());
    body();
  });
}

}  // namespace kaleo
