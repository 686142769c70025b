#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include <sys/stat.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>
#include <thread>

#include "Core/Base/Network/CountingRandom.h"
#include "Core/Base/Network/KLNetwork.h"
#include "Foundation/KLCurlHTTPSession.h"
#include "Foundation/KLJSON.h"
#include "Support/Chromium.h"
#include "Support/TemporaryDirectory.h"
#include "serve/PopupServer.h"

namespace kaleo::tools {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

/// A real server over a directory of its own, with a secret beside the directory.
class ServeTest : public ::testing::Test {
 protected:
  ServeTest() {
    fs::create_directories(root() / "layouts");
    fs::create_directories(root() / "images");
    fs::create_directories(root() / "popup_windows");
    write("../secret.json", R"({"secret": true})");
    server_ = std::make_unique<PopupServer>(PopupServer::Options{.directory = root(), .print = [this](const std::string& line) {
                                                                   const std::lock_guard lock(mutex_);
                                                                   lines_.push_back(line);
                                                                   printed_.notify_all();
                                                                 }});
    std::string error;
    if (!server_->start(error)) throw std::runtime_error(error);
  }

  fs::path root() const { return sandbox_ / "campaigns"; }
  void write(const std::string& name, const std::string& text) const { std::ofstream(root() / name, std::ios::binary) << text; }

  httplib::Response get(const std::string& target, const httplib::Headers& headers = {}) const {
    httplib::Client client("127.0.0.1", server_->port());
    client.set_url_encode(false);
    const auto result = client.Get(target, headers);
    return result ? *result : httplib::Response{};
  }
  KLValue json(const std::string& target) const { return KLJSON::parse(get(target).body).value_or(KLValue()); }

  /// The first printed line that holds `text`; a request's line comes a moment after its reply.
  std::string line(const std::string& text) {
    std::unique_lock lock(mutex_);
    std::string found;
    printed_.wait_for(lock, std::chrono::seconds(10), [&] {
      const auto at = std::find_if(lines_.begin(), lines_.end(), [&](const std::string& l) { return l.find(text) != l.npos; });
      return at != lines_.end() && (found = *at, true);
    });
    return found;
  }

  TemporaryDirectory sandbox_;
  std::mutex mutex_;
  std::condition_variable printed_;
  std::vector<std::string> lines_;  ///< guarded by mutex_
  std::unique_ptr<PopupServer> server_;
};

TEST_F(ServeTest, PutsLayoutsAndPlaceholdersIntoTheConfiguration) {
  write("layouts/sale.json", R"({"image": "{{base}}/images/sale.png", "greeting": "{{distinct_id}}"})");
  write("user_popup_configs.json", R"({"user_id": "{{distinct_id}}", "popup_plans": [
      {"plan_id": 1, "popup_window_content": {"name": "Sale", "layout": "sale.json"}},
      {"plan_id": 2, "popup_window_content": {"content": "as it is"}}, 3]})");
  const KLValue configs = json("/klo/user_popup_configs?distinct_id=a%22b%20%7B&platform=IOS");
  EXPECT_EQ(configs.find("user_id")->asString(), "a\"b {");
  const auto& plans = configs.find("popup_plans")->asArray();
  ASSERT_EQ(plans.size(), 3u);
  const KLValue& content = *plans[0].find("popup_window_content");
  EXPECT_EQ(content.find("layout"), nullptr);
  EXPECT_EQ(content.find("name")->asString(), "Sale");
  const auto layout = KLJSON::parse(content.find("content")->asString());
  ASSERT_TRUE(layout);
  EXPECT_EQ(layout->find("image")->asString(), server_->url() + "/images/sale.png");
  EXPECT_EQ(layout->find("greeting")->asString(), "a\"b {");
  EXPECT_EQ(plans[1].find("popup_window_content")->find("content")->asString(), "as it is");
}

TEST_F(ServeTest, TakesTheBaseFromTheHostHeaderUnlessItIsNoHost) {
  write("user_popup_configs.json", R"({"base": "{{base}}"})");
  EXPECT_EQ(get("/klo/user_popup_configs", {{"Host", "shop.local:8080"}}).body, R"({"base":"http://shop.local:8080"})");
  EXPECT_EQ(get("/klo/user_popup_configs", {{"Host", "evil\", \"x\": \""}}).body, R"({"base":")" + server_->url() + "\"}");
}

TEST_F(ServeTest, ReadsTheFilesAnewAtEachRequest) {
  EXPECT_EQ(get("/klo/user_popup_configs").status, 404);
  write("user_popup_configs.json", R"({"v": 1})");
  EXPECT_EQ(get("/klo/user_popup_configs").body, R"({"v":1})");
  write("user_popup_configs.json", R"({"v": 2})");
  EXPECT_EQ(get("/klo/user_popup_configs").body, R"({"v":2})");
}

TEST_F(ServeTest, SaysWhereAFileIsFaulty) {
  struct Case {
    const char* text;
    const char* place;
  };
  const Case cases[] = {
      {"{\"a\": 1,\n  \"ü\": tru}", ":2:8: expected a value"},
      {"{\"a\": 1,}", ":1:9: expected a member's name"},
      {"{\"a\": [1 2]}", ":1:10: expected ',' or ']'"},
      {"{\"a\": \"x\ny\"}", ":1:9: a line break"},
      {"{\"a\": 01}", ":1:7: a number begins with 0"},
      {"{\"a\": \"\\q\"}", ":1:9: unknown escape"},
      {"{\"a\": \"\xC0\x80\"}", ":1:8: this is no UTF-8"},
      {"{\"a\": 1", ":1:8: expected ',' or '}', but the text ends here"},
      {"{} {}", ":1:4: expected the end"},
      {"", ":1:1: expected a value"},
  };
  for (const Case& c : cases) {
    write("user_popup_configs.json", c.text);
    const auto reply = get("/klo/user_popup_configs");
    EXPECT_EQ(reply.status, 500) << c.text;
    EXPECT_THAT(reply.body, HasSubstr(std::string("user_popup_configs.json") + c.place)) << c.text;
  }
  EXPECT_NE(line("user_popup_configs.json:2:8: expected a value"), "");
  write("user_popup_configs.json", std::string(2000, '['));
  EXPECT_THAT(get("/klo/user_popup_configs").body, HasSubstr("nested too deeply"));
}

TEST_F(ServeTest, SaysWhichLayoutIsFaultyOrMissing) {
  write("user_popup_configs.json", R"({"popup_plans": [{"popup_window_content": {"layout": "sale.json"}}]})");
  EXPECT_EQ(get("/klo/user_popup_configs").status, 500);
  EXPECT_THAT(get("/klo/user_popup_configs").body, HasSubstr("layouts/sale.json is not there"));
  write("layouts/sale.json", "{\n\"a\": }");
  EXPECT_THAT(get("/klo/user_popup_configs").body, HasSubstr("layouts/sale.json:2:6: expected a value"));
}

TEST_F(ServeTest, GivesPopupWindowsByTheirId) {
  write("layouts/hello.json", R"({"type": 1})");
  write("popup_windows/12.json", R"({"name": "Hello", "layout": "hello.json"})");
  EXPECT_EQ(get("/klo/popup_windows/12?project=default").body, R"({"name":"Hello","content":"{\"type\": 1}"})");
  EXPECT_EQ(get("/klo/popup_windows/13").status, 404);
}

TEST_F(ServeTest, TellsConversionsOfTheDisplaysAskedFor) {
  EXPECT_EQ(get("/klo/popup_displays?popup_display_uuids=A").body, "[]");
  write("popup_displays.json", R"({"A": "2026-01-02 03:04:05", "B": ""})");
  const KLValue known = json("/klo/popup_displays?distinct_id=u&popup_display_uuids=A%2CB,C");
  ASSERT_EQ(known.asArray().size(), 2u);
  EXPECT_EQ(known.asArray()[0],
            KLValue(KLObject{
                {"distinct_id", "u"}, {"popup_display_uuid", "A"}, {"display_time", ""}, {"convert_time", "2026-01-02 03:04:05"}}));
  EXPECT_EQ(known.asArray()[1].find("convert_time")->asString(), "");
  write("popup_displays.json", R"({"A": "", "*": "later"})");
  const KLValue all = json("/klo/popup_displays?popup_display_uuids=A,Z");
  EXPECT_EQ(all.asArray()[0].find("convert_time")->asString(), "");
  EXPECT_EQ(all.asArray()[1].find("convert_time")->asString(), "later");
}

TEST_F(ServeTest, ServesPicturesWithTheirType) {
  const std::string bytes("\x89PNG\0\xFF", 6);
  write("images/a b.PNG", bytes);
  const auto reply = get("/images/a%20b.PNG");
  EXPECT_EQ(reply.body, bytes);
  EXPECT_EQ(reply.get_header_value("Content-Type"), "image/png");
  EXPECT_EQ(get("/images/missing.png").status, 404);
}

TEST_F(ServeTest, NeverLeavesItsDirectory) {
  fs::create_symlink(sandbox_ / "secret.json", root() / "images/out.json");
  fs::create_directory_symlink(sandbox_.path(), root() / "images/up");
  fs::create_symlink("../images/in.json", root() / "popup_windows/in.json");
  write("images/in.json", "{}");
  write("popup_windows/7.json", R"({"layout": "../../secret.json"})");
  mkfifo((root() / "images/pipe").c_str(), 0600);
  const char* targets[] = {
      "/images/../../secret.json",
      "/images/%2e%2e/%2e%2e/secret.json",
      "/images/..%2f..%2fsecret.json",
      "/images/..%5c..%5csecret.json",
      "/images//etc/passwd",
      "/images/%2fetc%2fpasswd",
      "/images/in.json%00.png",
      "/images/%00",
      "/images/.",
      "/images/in.json/",
      "/images/out.json",
      "/images/up/secret.json",
      "/images/pipe",
      "/klo/popup_windows/..%2f..%2fsecret",
      "/klo/popup_windows/../../secret",
      "/klo/popup_windows/..",
      "/klo/popup_windows/7",
      "/klo/popup_windows/7%00",
      "/klo/popup_windows/%0a",
  };
  for (const char* target : targets) {
    const auto reply = get(target);
    EXPECT_TRUE(reply.status == 404 || reply.status == 500 || reply.status == 400) << target << " " << reply.status;
    EXPECT_THAT(reply.body, ::testing::Not(HasSubstr("\"secret\""))) << target;
  }
  EXPECT_EQ(get("/klo/popup_windows/in").status, 200);  // a link that stays inside
}

TEST_F(ServeTest, KeepsReports) {
  httplib::Client client("127.0.0.1", server_->port());
  ASSERT_EQ(client.Post("/klo/user_diagnose_logs", R"([{"state": 1}])", "application/json")->status, 200);
  ASSERT_EQ(client.Post("/klo/user_diagnose_logs", R"([{"state": 2}])", "application/json")->status, 200);
  std::vector<std::string> kept;
  for (const auto& entry : fs::directory_iterator(root() / "user_diagnose_logs")) {
    std::ifstream file(entry.path());
    kept.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  EXPECT_THAT(kept, ::testing::UnorderedElementsAre(R"([{"state": 1}])", R"([{"state": 2}])"));
}

TEST_F(ServeTest, KeepsADiagnosisRecordThatComesTwiceOnce) {
  httplib::Client client("127.0.0.1", server_->port());
  const auto post = [&](const char* installation, const char* records) {
    const std::string page = fmt::format(R"({{"installation_id":"{}","records":[{}]}})", installation, records);
    const auto answer = client.Post("/klo/user_diagnose_logs", page, "application/json");
    return answer && answer->status == 200 ? answer->body : "refused";
  };
  EXPECT_THAT(post("A", R"({"record_id":1},{"record_id":2})"), HasSubstr("kept"));
  EXPECT_EQ(post("A", R"({"record_id":1},{"record_id":2})"), R"({"known":2})");
  EXPECT_THAT(post("A", R"({"record_id":2},{"record_id":3})"), HasSubstr("kept"));
  EXPECT_THAT(post("B", R"({"record_id":1})"), HasSubstr("kept"));
  std::vector<std::string> kept;
  for (const auto& entry : fs::directory_iterator(root() / "user_diagnose_logs")) {
    std::ifstream file(entry.path());
    kept.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  EXPECT_THAT(kept, ::testing::UnorderedElementsAre(R"({"installation_id":"A","records":[{"record_id":1},{"record_id":2}]})",
                                                    R"({"installation_id":"A","records":[{"record_id":3}]})",
                                                    R"({"installation_id":"B","records":[{"record_id":1}]})"));
}

TEST_F(ServeTest, KeepsNoReportOutsideItsDirectory) {
  fs::create_directory(sandbox_ / "elsewhere");
  fs::create_directory_symlink(sandbox_ / "elsewhere", root() / "user_diagnose_logs");
  httplib::Client client("127.0.0.1", server_->port());
  EXPECT_EQ(client.Post("/klo/user_diagnose_logs", "[]", "application/json")->status, 507);
  EXPECT_TRUE(fs::is_empty(sandbox_ / "elsewhere"));
}

TEST_F(ServeTest, PrintsOneLineForEachRequest) {
  write("images/a.gif", "GIF89a");
  get("/images/a.gif?x=1%1b");
  EXPECT_THAT(line("/images/a.gif"),
              ContainsRegex("^[0-9][0-9]:[0-9][0-9]:[0-9][0-9]  GET  /images/a.gif\\?x=1%1b  200  6 bytes$"));
  get("/nothing");
  EXPECT_THAT(line("/nothing"), HasSubstr("  404  "));
}

TEST_F(ServeTest, StartsNoSecondServerOnTheSamePort) {
  PopupServer second({.directory = root(), .port = server_->port(), .print = {}});
  std::string error;
  EXPECT_FALSE(second.start(error));
  EXPECT_THAT(error, HasSubstr(std::to_string(server_->port())));
  const int port = server_->port();
  server_->stop();
  PopupServer third({.directory = root(), .port = port, .print = {}});
  EXPECT_TRUE(third.start(error)) << error;
  EXPECT_EQ(third.port(), port);
}

TEST_F(ServeTest, MakesAnswersGoWrongAsTheFileAndTheQuerySay) {
  write("user_popup_configs.json", R"({"v": 1})");
  write("images/a.png", std::string(1000, 'p'));
  write("faults.json", R"({"*": {"status": 418}, "/images/*": {"garbage": true}, "/images/b*": {"cut": 1},
                           "/klo/user_popup_configs": {"status": 503, "delay": 0.01}})");
  const auto refused = get("/klo/user_popup_configs");
  EXPECT_EQ(refused.status, 503);
  EXPECT_EQ(refused.body, R"({"v":1})");
  EXPECT_EQ(refused.get_header_value("X-Kaleo-Fault"), "delay 0.01 s, status 503");
  EXPECT_THAT(line("status 503"), HasSubstr("  503  7 bytes  (delay 0.01 s, status 503)"));
  EXPECT_EQ(get("/klo/user_popup_configs?fault_status=200").status, 200) << "the query comes first";
  EXPECT_EQ(get("/klo/popup_displays?popup_display_uuids=A").status, 418);
  EXPECT_EQ(get("/klo/popup_windows/none").status, 418) << "what is not there goes wrong the same way";
  const auto garbage = get("/images/a.png");
  EXPECT_EQ(garbage.status, 200);
  EXPECT_EQ(garbage.body.size(), 1000u);
  EXPECT_FALSE(KLJSON::parse(get("/klo/user_popup_configs?fault_garbage").body));
  EXPECT_EQ(get("/live").status, 200) << "the page itself stays whole";

  httplib::Client client("127.0.0.1", server_->port());
  std::string received;
  const auto cut = client.Get("/klo/user_popup_configs?fault_cut=3&fault_status=200", [&](const char* data, std::size_t length) {
    received.append(data, length);
    return true;
  });
  EXPECT_FALSE(cut);
  EXPECT_EQ(received, R"({"v)");
}

TEST_F(ServeTest, SaysWhichFaultItDoesNotUnderstand) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"*": {"dely": 1}})", "faults.json: there is no fault \"dely\""},
      {R"({"*": {"delay": -1}})", "faults.json: \"delay\" takes seconds from 0 to 3600"},
      {R"({"*": {"delay": true}})", "faults.json: \"delay\" takes"},
      {R"({"*": {"status": 100}})", "faults.json: \"status\" takes an HTTP status from 200 to 599"},
      {R"({"*": {"encrypted": "12"}})", "faults.json: \"encrypted\" takes"},
      {R"({"*": {"cut": })", "faults.json:1:15: expected a value"},
  };
  for (const auto& [file, message] : cases) {
    write("faults.json", file);
    const auto reply = get("/klo/popup_displays");
    EXPECT_EQ(reply.status, 500) << file;
    EXPECT_THAT(reply.body, HasSubstr(message));
  }
  fs::remove(root() / "faults.json");
  EXPECT_THAT(get("/klo/popup_displays?fault_cut=all").body, HasSubstr("the query: \"cut\" takes a number of bytes"));
}

TEST_F(ServeTest, ADelayDoesNotHoldUpTheEnd) {
  write("user_popup_configs.json", "{}");
  write("faults.json", R"({"/klo/user_popup_configs": {"delay": 3600}})");
  std::thread waiting([this] { get("/klo/user_popup_configs"); });
  get("/klo/popup_displays?fault_delay=0.05");
  server_->stop();
  waiting.join();
}

/// The library's own client, with the key material that it would send with an encrypted request.
TEST_F(ServeTest, EncryptsForTheClientWhoseMaterialItIsGiven) {
  write("user_popup_configs.json", R"({"user_id": "17"})");
  const KLHostRegistry nobody;
  const KLLog log(nobody);
  kaleo::testing::CountingRandom random, sameRandom;
  KLHttpCryptor twin(sameRandom);
  twin.setupKeyAndIV();
  const KLBytes request = twin.envelope({'{', '}'}).value();
  const std::string material = KLJSON::parse(request)->find("payload")->asString().substr(0, 64);

  KLCurlHTTPSession session({});
  KLNetwork network(session, log, random);
  const auto answered = [&](const std::string& query) {
    std::promise<std::optional<KLValue>> answer;
    network.GET(
        server_->url() + "/klo/user_popup_configs" + query, nullptr,
        [&](std::optional<KLValue> response) { answer.set_value(std::move(response)); },
        [&](const auto&) { answer.set_value(KLValue("failure")); });
    return answer.get_future().get();
  };
  EXPECT_EQ(answered("?fault_encrypted=" + material), KLValue(KLObject{{"user_id", "17"}}));
  EXPECT_EQ(answered("?fault_encrypted"), std::nullopt) << "under a key that it does not have";
  EXPECT_EQ(answered(""), KLValue(KLObject{{"user_id", "17"}}));
}

TEST_F(ServeTest, SetsTheConversionOfOnePopup) {
  write("popup_displays.json", R"({"A": "", "B": "by file"})");
  httplib::Client client("127.0.0.1", server_->port());
  const auto convert = [&](const httplib::Params& form, const httplib::Headers& headers = {}) {
    return client.Post("/live/conversions", headers, form)->status;
  };
  EXPECT_EQ(convert({{"uuid", "A"}, {"time", "today"}}), 200);
  EXPECT_EQ(convert({{"uuid", "B"}, {"time", ""}}), 200);
  EXPECT_EQ(convert({{"uuid", "C"}}, {{"Origin", server_->url()}}), 200);
  EXPECT_EQ(convert({{"uuid", "D"}}, {{"Origin", "http://elsewhere.example"}}), 403);
  EXPECT_EQ(convert({}), 400);
  const auto records = json("/klo/popup_displays?popup_display_uuids=A,B,C,D").asArray();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].find("convert_time")->asString(), "today");
  EXPECT_EQ(records[1].find("convert_time")->asString(), "");
  EXPECT_THAT(records[2].find("convert_time")->asString(), ContainsRegex("^20[0-9-]+ [0-9:]+$"));
}

TEST_F(ServeTest, TellsWhatItHasSeenToThePage) {
  write("user_popup_configs.json", R"({"popup_plans": []})");
  write("faults.json", "{}");
  get("/klo/user_popup_configs?distinct_id=alice");
  line("alice");  // noted a moment after the reply
  get("/klo/popup_displays?project=default&popup_display_uuids=A,B");
  line("A,B");
  get("/klo/popup_displays?project=default&popup_display_uuids=A&fault_status=500");
  line("fault_status");
  const KLValue state = json("/live?after=1");
  EXPECT_EQ(state.find("next")->asInteger(), 3);
  const auto& requests = state.find("requests")->asArray();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[1].find("fault")->asString(), "status 500");
  EXPECT_EQ(state.find("configuration")->find("distinct_id")->asString(), "alice");
  EXPECT_EQ(get("/live/configuration").body, R"({"popup_plans":[]})");
  const auto& popups = state.find("popups")->asArray();
  ASSERT_EQ(popups.size(), 2u);
  EXPECT_EQ(popups[0].find("times")->asInteger(), 2);
  EXPECT_EQ(state.find("faults")->asString(), "{}");
  for (int i = 0; i < 500; ++i) get("/images/none");
  EXPECT_LE(json("/live?after=0").find("requests")->asArray().size(), 200u);
}

/// The page as Chromium renders it.
TEST_F(ServeTest, ThePageShowsItAllAndTakesNothingForMarkup) {
  write("user_popup_configs.json",
        R"({"popup_plans": [{"plan_id": 7, "cname": "<b>Spring</b> sale", "status": "ACTIVE", "is_audience": true,
      "pattern_popup": {"matcher_list": [{"event_name": "ViewShop"}]}},
      {"plan_id": 8, "cname": {}, "pattern_popup": {"matcher_list": {"event_name": "Pay"}}}, null]})");
  write("faults.json", R"({"/images/*": {"status": 404}})");
  get("/klo/user_popup_configs?distinct_id=alice");
  get("/klo/popup_displays?project=default&popup_display_uuids=UUID-1,UUID-2");
  get("/images/%3Cscript%3Ealert(1)%3C/script%3E");
  get("/klo/popup_windows/none", {{"Accept-Encoding", "gzip"}});
  line("popup_windows");
  httplib::Client client("127.0.0.1", server_->port());
  client.Post("/live/conversions", httplib::Params{{"uuid", "UUID-2"}, {"time", "today"}});
  client.Post("/klo/user_diagnose_logs", R"({"installation_id": "A", "records": [
      {"record_id": 1, "time": 1700000000000, "distinct_id": "bob", "plan_id": "7", "state": 8, "event": "<i>Pay</i>",
       "content": {"message": "not meet reEnter limit count", "current_campaign_count": 1, "reEnter_limit_count": 1}},
      {"record_id": 2, "state": "10", "content": {"message": "campaign finished"}}, {"record_id": 3}, 4]})",
              "application/json");
  const auto page = renderedByChromium(server_->url() + "/", sandbox_ / "profile");
  if (!page) GTEST_SKIP() << kNoChromium;
  for (const char* const text :
       {"class=\"on\">live<", "/klo/user_popup_configs", "&lt;b&gt;Spring&lt;/b&gt; sale", "listens to ViewShop", "to alice at",
        "UUID-1", "converted today", "Undo", "&lt;script&gt;alert(1)&lt;/script&gt;", "status 404", "5 so far", "Plan 8",
        "popup_windows/none.json: there is no such file", "Refused: re-entry, 1 of 1 popups shown.", "&lt;i&gt;Pay&lt;/i&gt;",
        "bob", "plan 7", "was handed on to be shown", "Something was recorded that cannot be read."}) {
    EXPECT_THAT(*page, HasSubstr(text));
  }
  EXPECT_THAT(*page, ::testing::Not(HasSubstr("<b>Spring")));
}

TEST(Serve, NeedsADirectory) {
  PopupServer server({.directory = "/nowhere/at/all", .print = {}});
  std::string error;
  EXPECT_FALSE(server.start(error));
  EXPECT_EQ(error, "/nowhere/at/all is no directory");
}

}  // namespace
}  // namespace kaleo::tools
