#pragma once

#include <httplib.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace kaleo {

/// A real HTTP server on a loopback port of its own, for as long as it lives. Routes are added in the constructor's callback,
/// before the first connection is taken; handlers run on the server's threads. Lifetime: end the clients first, or the end waits
/// until their idle connections time out.
class LoopbackServer {
 public:
  template <class AddRoutes>
  explicit LoopbackServer(AddRoutes addRoutes) : LoopbackServer(std::make_unique<httplib::Server>(), std::move(addRoutes)) {}
  /// Another kind of server, such as one with TLS.
  template <class AddRoutes>
  LoopbackServer(std::unique_ptr<httplib::Server> server, AddRoutes addRoutes) : server_(std::move(server)) {
    constexpr std::size_t kThreads = 64;
    constexpr std::size_t kRequestsOfAConnection = 1000;
    constexpr time_t kIdleSeconds = 1;
    server_->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    server_->set_keep_alive_timeout(kIdleSeconds);
    server_->set_keep_alive_max_count(kRequestsOfAConnection);
    addRoutes(*server_);
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("no loopback port");
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    while (!server_->is_running()) std::this_thread::yield();  // a stop before that would be missed
  }
  ~LoopbackServer() {
    server_->stop();
    thread_.join();
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  /// The absolute URL of `path`, which begins with "/".
  std::string url(const std::string& path = "") const {
    const bool secure = dynamic_cast<const httplib::SSLServer*>(server_.get()) != nullptr;
    return (secure ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_) + path;
  }

 private:
  const std::unique_ptr<httplib::Server> server_;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace kaleo
