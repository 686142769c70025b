#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>
#include <ostream>

#include "Support/Application.h"
#include "Support/Gate.h"
#include "Support/ImpatientSession.h"
#include "Support/LoopbackServer.h"

namespace kaleo {
namespace {

using testing::answer;
using testing::Application;
using testing::Gate;
using testing::ImpatientSession;
using testing::Installation;
using testing::layout;
using testing::popupPlan;

constexpr const char* kPath = "/klo/user_popup_configs";
constexpr std::size_t kHugeBytes = 100u << 20;
/// Enough for 100 MB; the slow server never answers.
constexpr double kPatienceSeconds = 10, kImpatienceSeconds = 0.3;

constexpr const char* kFailed = "Fetch popup config failed";
constexpr const char* kNoObject = "The popup configuration's answer is no JSON object; going on with a configuration without plans";
constexpr const char* kTaken = "Fetch popup config success";

std::string goodAnswer() { return KLJSON::serialize(answer({popupPlan(1, "Pay", layout())})); }

using Reply = std::function<void(const httplib::Request&, httplib::Response&)>;

Reply body(const std::string& text, const char* type = "application/json") {
  return [=](const auto&, httplib::Response& response) { response.set_content(text, type); };
}

/// Zeros without end, of an announced length or of none.
Reply huge(bool announced) {
  return [announced](const auto&, httplib::Response& response) {
    static const std::string piece(64 << 10, '0');
    if (announced) {
      response.set_content_provider(kHugeBytes, "application/json", [](std::size_t, std::size_t length, httplib::DataSink& sink) {
        return sink.write(piece.data(), std::min(length, piece.size()));
      });
    } else {
      response.set_chunked_content_provider("application/json", [](std::size_t offset, httplib::DataSink& sink) {
        if (offset < kHugeBytes) return sink.write(piece.data(), piece.size());
        sink.done();
        return true;
      });
    }
  };
}

struct BadServer {
  const char* name;
  Reply reply;       ///< none: nobody listens there
  const char* said;  ///< what the log says of it
  const char* why;   ///< what the log says besides
  /// An answer of status 200 is taken as it is, even when nothing can be read from it; anything else leaves the plans alone.
  bool keepsPlans = true;
};

std::ostream& operator<<(std::ostream& out, const BadServer& server) { return out << server.name; }

std::vector<BadServer> badServers() {
  const std::string nested = std::string(100'000, '[') + std::string(100'000, ']');
  const std::string deepPlan = R"({"popup_plans": [{"plan_id": )" + nested + "}]}";
  const std::string wrongTypes =
      R"({"user_id": [], "popup_plans": {"plan_id": 1}, "msg_limit_global": "x", "popup_interval_global": [1],
          "config_pull_interval_ms": {}, "server_current_time": false, "min_sdk_version_required": 7e99, "diagnose_config": 0})";
  const std::string wrongPlans =
      R"({"user_id": "server-user", "popup_plans": [null, 5, "x", [], {"plan_id": {}, "is_audience": "yes", "status": 1,
          "expire_at": [], "pattern_popup": [], "re_enter": "x", "popup_window_content": 3, "window_update": [1]}]})";
  return {
      {"Down", nullptr, kFailed, "onnect"},
      {"Slow", nullptr, kFailed, "imed out"},
      {"InternalError", [](const auto&, auto& response) { response.status = 500; }, kFailed, "status other than 200"},
      {"BreaksOff",
       [](const auto&, httplib::Response& response) {
         response.set_content_provider(1000, "application/json", [](std::size_t offset, std::size_t, httplib::DataSink& sink) {
           return offset == 0 && sink.write("{\"user_id\": \"a", 13);
         });
       },
       kFailed, "remaining"},
      {"Huge", huge(true), kFailed, "ize"},
      {"RedirectsForEver", [](const httplib::Request& request, auto& response) { response.set_redirect(request.path); }, kFailed,
       "redirects"},
      {"GarbageJSON", body("{\"popup_plans\": [tru"), kTaken, kNoObject, false},
      {"HTML", body("<html><body>Please log in</body></html>", "text/html"), kTaken, kNoObject, false},
      {"Nested", body(nested), kTaken, kNoObject, false},
      {"NestedPlan", body(deepPlan), kTaken, kNoObject, false},
      {"Empty", body(""), kTaken, kNoObject, false},
      {"List", body("[1, 2]"), kTaken, kNoObject, false},
      {"WrongTypes", body(wrongTypes), kTaken, "user_id", false},
      {"WrongPlans", body(wrongPlans), kTaken, "popup_plans", false},
  };
}

class BadServerTest : public ::testing::TestWithParam<BadServer> {
 protected:
  ~BadServerTest() override { gate.open(); }

  Application::Setup good() { return {.server = server.url(), .installation = installation}; }
  Application::Setup bad() {
    Application::Setup setup{.server = GetParam().reply ? server.url("/bad") : server.url("/slow"), .installation = installation};
    if (is("Down")) setup.server = "http://127.0.0.1:" + std::to_string(closedPort());
    setup.adjust = [seconds = is("Slow") ? kImpatienceSeconds : kPatienceSeconds](KLPlatform& platform) {
      platform.session = std::make_shared<ImpatientSession>(seconds);
    };
    return setup;
  }
  static bool is(const std::string& name) { return GetParam().name == name; }
  static int closedPort() {
    return LoopbackServer([](auto&) {}).port();
  }
  /// An application that has decided its first event.
  static std::unique_ptr<Application> start(const Application::Setup& setup) {
    auto application = std::make_unique<Application>(setup);
    application->start();
    EXPECT_TRUE(application->ignores("Other"));
    return application;
  }
  static void expectSaid(Application& application) {
    EXPECT_TRUE(application.log().waitFor(GetParam().said));
    EXPECT_TRUE(application.log().waitFor(GetParam().why));
  }

  std::shared_ptr<Installation> installation = std::make_shared<Installation>();
  Gate gate;
  LoopbackServer server{[this](httplib::Server& routes) {
    routes.Get(kPath, body(goodAnswer()));
    routes.Get("/slow/klo/user_popup_configs", [this](const auto&, auto&) { gate.pass(); });
    if (GetParam().reply) routes.Get("/bad/klo/user_popup_configs", GetParam().reply);
  }};
};

TEST_P(BadServerTest, AtTheFirstStartShowsNothingAndSaysWhy) {
  Application application(bad());
  application.start();
  EXPECT_TRUE(application.ignores("Pay"));
  expectSaid(application);
  EXPECT_THAT(application.delegates->calls(), ::testing::IsEmpty());
}

TEST_P(BadServerTest, AfterAGoodStartLeavesWhatIsStored) {
  start(good());
  Application application(bad());
  application.start();
  EXPECT_TRUE(GetParam().keepsPlans ? application.shows("Pay", 1) : application.ignores("Pay"));
  expectSaid(application);
}

class UnreadableAnswerTest : public BadServerTest {};

TEST_P(UnreadableAnswerTest, TheNextGoodAnswerServesAgain) {
  start(good());
  start(bad());
  const auto running = start(good());
  EXPECT_TRUE(
      running->log().contains("Load data for plan: 1, include reEnter window, convert window, interval window, trigger windows"));
}

std::vector<BadServer> unreadableAnswers() {
  auto servers = badServers();
  std::erase_if(servers, [](const BadServer& server) { return server.keepsPlans; });
  return servers;
}

std::string nameOf(const ::testing::TestParamInfo<BadServer>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(Every, BadServerTest, ::testing::ValuesIn(badServers()), nameOf);
INSTANTIATE_TEST_SUITE_P(Every, UnreadableAnswerTest, ::testing::ValuesIn(unreadableAnswers()), nameOf);

/// Bytes of memory that this process holds now.
std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t size = 0, resident = 0;
  statm >> size >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(HugeAnswerTest, IsRefusedBeforeItFillsTheMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr std::size_t kBound = 400u << 20;  // freed memory is kept back, and every byte has its shadow
#else
  constexpr std::size_t kBound = 60u << 20;
#endif
  LoopbackServer server([](httplib::Server& routes) {
    routes.Get("/said/klo/user_popup_configs", huge(true));
    routes.Get("/unsaid/klo/user_popup_configs", huge(false));
  });
  for (const char* path : {"/said", "/unsaid"}) {
    Application application({.server = server.url(path)});
    const std::size_t before = residentBytes();
    application.start();
    ASSERT_TRUE(application.log().waitFor(kFailed)) << path;
    ASSERT_TRUE(application.ignores("Pay"));
    const std::size_t after = residentBytes();
    const std::size_t growth = after > before ? after - before : 0;
    std::cout << path << ": " << (growth >> 20) << " MB more\n";
    EXPECT_LT(growth, kBound);
  }
}

}  // namespace
}  // namespace kaleo
