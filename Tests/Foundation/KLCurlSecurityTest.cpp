#include <curl/curl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <latch>
#include <mutex>

#include "Foundation/KLCurlHTTPSession.h"
#include "Support/Certificates.h"
#include "Support/Fetch.h"
#include "Support/LoopbackServer.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

using testing::CertificateAuthority;
using testing::codeOf;
using testing::fetch;
using testing::Identity;
using testing::textOf;

constexpr const char* kHere = "IP:127.0.0.1,DNS:localhost";

std::unique_ptr<httplib::SSLServer> secureServer(const Identity& identity) {
  return std::make_unique<httplib::SSLServer>(identity.certificate.get(), identity.key.get());
}

/// A server with TLS that answers "secret" at /.
class SecureServer : public LoopbackServer {
 public:
  explicit SecureServer(const Identity& identity)
      : LoopbackServer(secureServer(identity), [](httplib::Server& routes) {
          routes.Get("/", [](const auto&, httplib::Response& response) { response.set_content("secret", "text/plain"); });
        }) {}
};

class KLCurlSecurityTest : public ::testing::Test {
 protected:
  KLCurlSecurityTest() {
    authority.save(caFile);
    CertificateAuthority().save(otherCAFile);
  }

  /// What a session with these settings makes of GET `url`.
  static KLHTTPResult get(const KLHTTPSettings& settings, const std::string& url) {
    KLCurlHTTPSession session(settings);
    return fetch(session, {.url = url});
  }

  TemporaryDirectory files;
  const std::string caFile = files / "ca.pem";
  const std::string otherCAFile = files / "other.pem";
  const CertificateAuthority authority;
};

TEST_F(KLCurlSecurityTest, ACertificateCountsOnlyUnderAnAuthorityThatIsTrusted) {
  const SecureServer server(authority.issue(kHere));
  EXPECT_EQ(textOf(get({.caFile = caFile}, server.url("/"))), "secret");
  EXPECT_EQ(codeOf(get({}, server.url("/"))), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(codeOf(get({.caFile = otherCAFile}, server.url("/"))), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_EQ(codeOf(get({.caFile = files / "missing.pem"}, server.url("/"))), CURLE_SSL_CACERT_BADFILE);
}

TEST_F(KLCurlSecurityTest, ACertificateOfAnotherHostOrTimeIsRefused) {
  const SecureServer otherHost(authority.issue("DNS:popups.example,IP:127.0.0.2"));
  EXPECT_EQ(codeOf(get({.caFile = caFile}, otherHost.url("/"))), CURLE_PEER_FAILED_VERIFICATION);
  const SecureServer expired(authority.issue(kHere, -60));
  EXPECT_EQ(codeOf(get({.caFile = caFile}, expired.url("/"))), CURLE_PEER_FAILED_VERIFICATION);
  const LoopbackServer redirecting([&](httplib::Server& routes) {
    routes.Get("/", [&](const auto&, httplib::Response& response) { response.set_redirect(expired.url("/")); });
  });
  const auto redirected = get({.caFile = caFile}, redirecting.url("/"));
  EXPECT_EQ(codeOf(redirected), CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_FALSE(redirected.response);
}

/// Answers as a proxy would, and keeps what it was asked for.
class Proxy {
 public:
  explicit Proxy(std::unique_ptr<httplib::Server> server)
      : server_(std::move(server), [this](httplib::Server& routes) {
          routes.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            const std::lock_guard lock(mutex_);
            asked_ = request.method + " " + request.target + " " + request.get_header_value("Proxy-Authorization");
            response.status = request.method == "CONNECT" ? 403 : 200;
            response.set_content("by proxy", "text/plain");
            return httplib::Server::HandlerResponse::Handled;
          });
        }) {}
  /// The last request: method, target, credentials.
  std::string asked() const {
    const std::lock_guard lock(mutex_);
    return asked_;
  }
  /// With the credentials "me:key".
  std::string url() const {
    std::string url = server_.url();
    return url.insert(url.find("//") + 2, "me:key@");
  }

 private:
  mutable std::mutex mutex_;
  std::string asked_;  ///< guarded by mutex_
  LoopbackServer server_;
};

TEST_F(KLCurlSecurityTest, RequestsGoThroughTheProxyWithItsCredentials) {
  const Proxy plain(std::make_unique<httplib::Server>());
  EXPECT_EQ(textOf(get({.proxy = plain.url()}, "http://popups.invalid/a?b=c")), "by proxy");
  EXPECT_EQ(plain.asked(), "GET http://popups.invalid/a?b=c Basic bWU6a2V5");
  const auto refused = get({.proxy = plain.url()}, "https://popups.invalid/");
  EXPECT_FALSE(refused.response) << "the proxy's word against a tunnel is no answer of the server";
  EXPECT_EQ(codeOf(refused), CURLE_RECV_ERROR);
  EXPECT_EQ(plain.asked(), "CONNECT popups.invalid:443 Basic bWU6a2V5");

  const Proxy secure(secureServer(authority.issue(kHere)));
  EXPECT_EQ(textOf(get({.proxy = secure.url(), .caFile = caFile}, "http://popups.invalid/")), "by proxy");
  EXPECT_EQ(codeOf(get({.proxy = secure.url(), .caFile = otherCAFile}, "http://popups.invalid/")), CURLE_PEER_FAILED_VERIFICATION);
}

int freePort() {
  return LoopbackServer([](httplib::Server&) {}).port();
}

/// Connections of this machine to a loopback port (proc_net(5)).
int connectionsTo(int port) {
  constexpr const char* kEstablished = "01";
  char remote[32];
  std::snprintf(remote, sizeof remote, "0100007F:%04X", static_cast<unsigned>(port));
  std::ifstream table("/proc/net/tcp");
  int count = 0;
  for (std::string number, local, peer, state, rest; table >> number >> local >> peer >> state;) {
    count += peer == remote && state == kEstablished;
    std::getline(table, rest);
  }
  return count;
}

/// nghttpd, which speaks nothing but HTTP/2, serving a directory over TLS.
class HTTP2Server {
 public:
  HTTP2Server(const std::filesystem::path& root, const std::string& key, const std::string& certificate) : port_(freePort()) {
    const std::string port = std::to_string(port_), directory = "--htdocs=" + root.string();
    const char* const arguments[] = {
        "nghttpd", "--address=127.0.0.1", directory.c_str(), port.c_str(), key.c_str(), certificate.c_str(), nullptr};
    if (posix_spawnp(&process_, "nghttpd", nullptr, nullptr, const_cast<char**>(arguments), environ) != 0) process_ = -1;
  }
  ~HTTP2Server() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  HTTP2Server(const HTTP2Server&) = delete;
  HTTP2Server& operator=(const HTTP2Server&) = delete;

  bool isThere() const { return process_ > 0; }
  std::string url(const std::string& path) const { return "https://127.0.0.1:" + std::to_string(port_) + path; }
  int port() const { return port_; }
  /// False when it ended or did not open its port within 20 seconds.
  bool waitUntilOpen() const {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!opens()) {
      if (std::chrono::steady_clock::now() > limit || waitpid(process_, nullptr, WNOHANG) != 0) return false;
      std::this_thread::yield();
    }
    return true;
  }

 private:
  bool opens() const {
    const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port_));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool open = ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(probe);
    return open;
  }

  const int port_;
  pid_t process_ = -1;
};

TEST_F(KLCurlSecurityTest, SpeaksHTTP2WithAServerThatOffersIt) {
  constexpr int kExchanges = 20;
  const std::string certificate = files / "server.pem", key = files / "server.key";
  authority.issue(kHere).save(certificate, key);
  const std::string text(100'000, 'x');
  std::ofstream(files / "page.txt") << text;
  const HTTP2Server server(files.path(), key, certificate);
  if (!server.isThere()) GTEST_SKIP() << "nghttpd is not here (Debian package nghttp2-server)";
  ASSERT_TRUE(server.waitUntilOpen());
  KLCurlHTTPSession session({.caFile = caFile});
  for (int i = 0; i < kExchanges; ++i) ASSERT_EQ(textOf(fetch(session, {.url = server.url("/page.txt")})), text);
  EXPECT_EQ(connectionsTo(server.port()), 1) << "one connection, used again";

  // A burst of answers of many frames each: none may be left waiting.
  std::atomic<int> whole = 0;
  std::latch answers(kExchanges);
  for (int i = 0; i < kExchanges; ++i) {
    session.dataTask({.url = server.url("/page.txt")}, [&](KLHTTPResult result) {
      whole += textOf(result) == text;
      answers.count_down();
    });
  }
  answers.wait();
  EXPECT_EQ(whole, kExchanges);
}

}  // namespace
}  // namespace kaleo
