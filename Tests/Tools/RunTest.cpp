#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <fstream>

#include "Foundation/KLDescriptor.h"
#include "Foundation/KLFile.h"
#include "Support/Configurations.h"
#include "ToolProcess.h"

namespace kaleo::tools {
namespace {

using kaleo::testing::answer;
using kaleo::testing::plan;
using kaleo::testing::ToolProcess;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
namespace fs = std::filesystem;

/// A layout with every element that takes taps, and one that does not.
constexpr const char* kLayout = R"({"properties": {"maskCloseEnabled": true, "maskActionId": "m"},
  "template": {"type": "column", "layout": {"width": "300"}, "subviews": [
    {"type": "label", "layout": {"width": "1"}, "properties": {"text": "Hello", "font": "20", "msgType": "title"},
     "action": {"IOS": [{"type": "close", "closeable": true}]}},
    {"type": "image", "layout": {"width": "100", "height": "50"}, "properties": {"image": "{{base}}/images/none.png"},
     "action": {"IOS": [{"id": "c", "type": "copy", "value": "CODE", "copied_tip": "Copied", "closeable": true}]}},
    {"type": "link", "layout": {"width": "0.5", "height": "20"}, "properties": {"text": "More", "font": "12"},
     "action": {"IOS": [{"id": "l", "type": "customize", "value": {"page": 7}}]}},
    {"type": "button", "layout": {"width": "1", "height": "40"}, "properties": {"text": "Go", "font": "16"},
     "action": {"IOS": [{"id": "b", "type": "openlink", "value": "https://x", "closeable": true}]}}]}})";

/// The whole of `member` of an output line that has it; null otherwise.
const KLValue& at(const KLValue& line, const char* member) {
  static const KLValue null;
  const KLValue* const found = line.find(member);
  return found ? *found : null;
}

std::string textOf(const KLValue& line, const char* member) { return at(line, member).asString(); }

/// A script of `kaleo run` beside a real server, both in processes of their own.
class RunTest : public ::testing::Test {
 protected:
  RunTest() {
    serve({shown(1, "Pay"), shown(2, "Custom", R"({"popup_window_content": {"popup_type": "CUSTOMIZED", "content": "own"}})")});
    server_ = std::make_unique<ToolProcess>(std::vector<std::string>{"serve", campaigns_.path().string(), "--port", "0"});
    const std::string line = server_->line().value_or("");
    url_ = line.substr(std::min(line.find("http"), line.size()));
  }

  KLObject shown(int id, const std::string& event, const std::string& more = "{}") const {
    KLObject object = plan(id, event);
    object.set("popup_window_content", KLObject{{"content", kLayout}});
    kaleo::testing::merge(object, more);
    return object;
  }
  void serve(std::vector<KLObject> plans) const {
    write("user_popup_configs.json", answer(std::move(plans), R"({"user_id": "id-of-{{distinct_id}}"})"));
  }
  void write(const std::string& name, const KLValue& document) const {
    fs::create_directories((campaigns_ / name).parent_path());
    std::ofstream(campaigns_ / name, std::ios::binary) << KLJSON::serialize(document);
  }
  std::vector<std::string> arguments(std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"run", "--server", url_});
    return more;
  }
  void stopServer() {
    server_->signal(SIGTERM);
    EXPECT_EQ(server_->status(), 0);
  }

  TemporaryDirectory campaigns_, data_;
  std::unique_ptr<ToolProcess> server_;
  std::string url_;
};

/// A run whose output is read as it comes.
class Script : public ToolProcess {
 public:
  explicit Script(const std::vector<std::string>& arguments) : ToolProcess(arguments) {}

  /// Reads on until a line in which each of `members` has its value; null at the end.
  KLValue until(const KLObject& members) {
    for (auto text = line(); text; text = line()) {
      auto read = KLJSON::parse(*text);
      EXPECT_TRUE(read && read->isObject()) << *text;
      if (!read) continue;
      lines.push_back(*read);
      const auto matches = [&](const auto& member) { return at(*read, member.first.c_str()) == member.second; };
      if (std::all_of(members.begin(), members.end(), matches)) return *read;
    }
    ADD_FAILURE() << "no line with " << KLJSON::serialize(KLValue(members));
    return {};
  }
  KLValue after(const std::string& command, const KLObject& members) {
    send(command);
    return until(members);
  }
  /// Sends an event and reads on until it is recorded.
  KLValue tracked(const std::string& command) {
    send(command);
    for (auto text = line(); text; text = line()) {
      lines.push_back(KLJSON::parse(*text).value_or(KLValue()));
      if (lines.back().find("tracked")) return *lines.back().find("tracked");
    }
    ADD_FAILURE() << "not tracked: " << command;
    return {};
  }
  void wait(const std::string& what) { after(R"({"wait":")" + what + "\"}", {{"answer", "wait"}}); }
  /// Ends the input and reads the rest.
  int end() {
    closeInput();
    for (auto text = line(); text; text = line()) lines.push_back(KLJSON::parse(*text).value_or(KLValue()));
    return status();
  }
  /// "what plan" of each line about a popup or a callback so far.
  std::vector<std::string> story() const {
    std::vector<std::string> words;
    for (const KLValue& line : lines) {
      const std::string what = textOf(line, "popup") + textOf(line, "callback");
      if (!what.empty()) words.push_back(what + " " + (at(line, "plan_id").isNull() ? "-" : textOf(line, "plan_id")));
    }
    return words;
  }
  std::size_t count(const KLObject& members) const {
    return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const KLValue& line) {
      return std::all_of(members.begin(), members.end(), [&](const auto& m) { return at(line, m.first.c_str()) == m.second; });
    }));
  }

  std::vector<KLValue> lines;
};

constexpr const char* kPay = R"({"track": {"event": "Pay", "properties": {"amount": 42, "when": {"$date": 1700000000}}}})";
const KLObject kShown1{{"popup", "shown"}, {"plan_id", "1"}};
const KLObject kClosed1{{"popup", "closed"}, {"plan_id", "1"}};
const KLObject kEnded1{{"callback", "campaignDidEnd"}, {"plan_id", "1"}};

TEST_F(RunTest, ShowsAPopupAndTakesTaps) {
  Script script(arguments());
  script.wait("ready");
  const KLValue tracked = script.tracked(kPay);
  EXPECT_EQ(textOf(tracked, "event"), "Pay");
  EXPECT_EQ(at(at(tracked, "properties"), "amount"), KLValue(42));
  EXPECT_EQ(textOf(at(tracked, "record"), "distinct_id"), "terminal-user");

  const KLValue shown = script.until(kShown1);
  EXPECT_EQ(textOf(shown, "name"), "plan 1");
  std::vector<std::string> elements;
  for (const KLValue& element : at(shown, "elements").asArray()) {
    elements.push_back(textOf(element, "type") + " " + textOf(element, "text") + KLJSON::serialize(at(element, "frame")));
  }
  // A label's height is one line of 1.2 times its font, and 4; text and image may be missing.
  EXPECT_THAT(elements, ElementsAre("column [0,0,300,138]", "label Hello[0,0,300,28]", "image [0,28,100,50]",
                                    "link More[0,78,150,20]", "button Go[0,98,300,40]"));
  const KLValue image = at(shown, "elements").asArray()[2];
  EXPECT_EQ(textOf(image, "image"), url_ + "images/none.png");
  EXPECT_EQ(KLJSON::serialize(at(image, "actions")),
            R"([{"id":"c","value":"CODE","type":"copy","closeable":true,"extra":{"copied_tip":"Copied"}}])");

  const std::string clicked = "popupDidClickWithPlanID";
  const KLValue copied = script.after(R"({"tap": 1})", {{"callback", clicked}});
  EXPECT_EQ(textOf(at(copied, "action"), "value"), "CODE");
  const KLValue more = script.after(R"({"tap": 2})", {{"callback", clicked}});
  EXPECT_EQ(at(at(at(more, "action"), "extra"), "page"), KLValue(7));
  const KLValue gone = script.after(R"({"tap": 3})", kEnded1);
  EXPECT_EQ(textOf(at(gone, "action"), "type"), "openlink");
  script.after(kPay, kShown1);
  script.after(R"({"tap": 0})", kClosed1);
  script.wait("idle");
  EXPECT_EQ(script.end(), 0);
  EXPECT_THAT(script.errors(), IsEmpty());

  std::vector<KLValue> own;
  for (const KLValue& line : script.lines) {
    if (textOf(at(line, "tracked"), "event").starts_with("$")) own.push_back(at(line, "tracked"));
  }
  ASSERT_EQ(own.size(), 6u);  // two displays, four clicks
  EXPECT_EQ(textOf(own[0], "event"), "$PlanPopupDisplay");
  EXPECT_EQ(textOf(at(own[0], "properties"), "$kl_msg_id"), textOf(shown, "uuid"));
  EXPECT_EQ(at(own[0], "properties").find("kl_distinctId"), nullptr);  // moved to the record
  EXPECT_EQ(textOf(at(own[5], "properties"), "$kl_msg_element_type"), "mask");
  EXPECT_EQ(textOf(at(own[5], "properties"), "$kl_close_type"), "POPUP_CLOSE_MASK");
}

TEST_F(RunTest, TellsTheCallbacksInTheirOrder) {
  Script script(arguments());
  script.wait("ready");
  script.after(kPay, kShown1);
  script.until({{"callback", "popupLoadSuccessWithPlanID"}});
  script.after(R"({"tap": 3})", kEnded1);
  script.after(R"({"track": {"event": "Custom"}})", {{"popup", "custom"}, {"plan_id", "2"}, {"content", "own"}});
  EXPECT_EQ(script.end(), 0);
  EXPECT_THAT(script.story(),
              ElementsAre("campaignShouldStart 1", "shown 1", "campaignDidStart 1", "popupLoadSuccessWithPlanID 1",
                          "popupDidClickWithPlanID 1", "campaignDidClick 1", "closed 1", "popupDidCloseWithPlanID 1",
                          "campaignDidEnd 1", "campaignShouldStart 2", "custom 2", "campaignDidStart 2"));
}

TEST_F(RunTest, RefusesEveryCampaign) {
  Script script(arguments({"--delegate", "refuse"}));
  const KLValue failed = script.after(kPay, {{"popup", "failed"}, {"plan_id", "1"}});
  EXPECT_EQ(at(failed, "code"), KLValue(1004));
  EXPECT_EQ(textOf(failed, "message"), "campaignShouldStart 接口返回 false");
  script.after(R"({"track": {"event": "Custom"}})", {{"callback", "campaignFailed"}, {"plan_id", "2"}, {"code", 1004}});
  EXPECT_EQ(script.end(), 0);
  EXPECT_EQ(script.count({{"callback", "campaignShouldStart"}, {"returns", false}}), 2u);
}

TEST_F(RunTest, ImplementsNoCallback) {
  Script script(arguments({"--delegate", "none"}));
  script.after(kPay, kShown1);
  script.after(R"({"tap": 3})", kClosed1);
  script.after(R"({"track": {"event": "Custom"}})", {{"popup", "failed"}, {"plan_id", "2"}, {"code", 1006}});
  EXPECT_EQ(script.end(), 0);
  EXPECT_THAT(script.story(), ElementsAre("shown 1", "closed 1", "failed 2"));
}

/// Whether any file below `directory` holds `text`.
bool holds(const fs::path& directory, const std::string& text) {
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const auto bytes = entry.is_regular_file() ? KLFile::read(entry.path()) : std::nullopt;
    if (bytes && std::search(bytes->begin(), bytes->end(), text.begin(), text.end()) != bytes->end()) return true;
  }
  return false;
}

TEST_F(RunTest, KeepsItsStateWhereItIsTold) {
  for (const bool encrypts : {false, true}) {
    serve({shown(1, "Pay", R"({"re_enter": {"unit": "DAY", "value": 1, "limit": 1}})")});
    const fs::path data = data_ / (encrypts ? "encrypted" : "plain");
    auto given = arguments({"--data", data.string(), "--user", "a-user-of-ours"});
    if (encrypts) given.push_back("--encrypt");
    {
      Script script(given);
      script.after(kPay, kShown1);
      script.after(R"({"tap": 0})", kEnded1);
      EXPECT_EQ(script.end(), 0);
    }
    EXPECT_EQ(holds(data, "a-user-of-ours"), !encrypts);
    Script again(given);
    again.send(kPay);
    again.wait("idle");
    EXPECT_EQ(again.end(), 0);
    EXPECT_THAT(again.story(), IsEmpty());
    const auto refused = std::count_if(again.lines.begin(), again.lines.end(), [](const KLValue& line) {
      return textOf(at(at(line, "record"), "content"), "message") == "not meet reEnter limit count";
    });
    EXPECT_EQ(refused, 1);
  }
}

TEST_F(RunTest, RunsOnWhatIsStoredWhileTheServerIsDown) {
  const auto given = arguments({"--data", data_.path().string()});
  EXPECT_EQ(Script(given).end(), 0);
  stopServer();
  Script script(given);
  script.wait("ready");
  script.after(kPay, kShown1);
  script.after(R"({"tap": 3})", kEnded1);
  const KLValue fetched = script.after(R"({"fetch": true})", {{"answer", "fetch"}});
  EXPECT_EQ(at(fetched, "success"), KLValue(false));
  EXPECT_THAT(textOf(fetched, "message"), HasSubstr("connect"));
  EXPECT_EQ(script.end(), 0);
  EXPECT_THAT(script.errors(), IsEmpty());
}

TEST_F(RunTest, SwitchesUsersInEveryWay) {
  Script script(arguments());
  script.wait("ready");
  for (const std::string how : {"login", "logout", "identify", "reset", "server_url"}) {
    const std::string user = "user of " + how;
    script.send(R"({"user": {"distinct_id": ")" + user + R"(", "login_id": "l", "anonymous_id": "a"}, "how": ")" + how + "\"}");
    script.wait("idle");
    const KLValue record = at(script.tracked(kPay), "record");
    EXPECT_EQ(textOf(record, "distinct_id"), user);
    EXPECT_EQ(textOf(record, "login_id"), "l");
    script.until(kShown1);
    script.after(R"({"tap": 3})", kEnded1);
  }
  EXPECT_EQ(script.end(), 0);
}

TEST_F(RunTest, GivesTheDisplayToTheUserOfTheConfiguration) {
  Script script(arguments());
  script.wait("ready");
  script.send(kPay);
  script.send(R"({"user": {"distinct_id": "next"}, "how": "login"})");
  script.until(kShown1);
  script.after(R"({"tap": 3})", kEnded1);
  script.wait("idle");
  EXPECT_EQ(script.end(), 0);
  std::vector<std::string> users;
  for (const KLValue& line : script.lines) {
    const KLValue& tracked = at(line, "tracked");
    const std::string event = textOf(tracked, "event");
    if (event.starts_with("$")) users.push_back(event + " " + textOf(at(tracked, "record"), "distinct_id"));
  }
  EXPECT_THAT(users, ElementsAre("$PlanPopupDisplay terminal-user", "$PlanPopupClick next"));
}

TEST_F(RunTest, FetchesAnewAfterTheBackgroundAndOnDemand) {
  Script script(arguments());
  script.wait("ready");
  serve({shown(7, "Later")});
  script.send(R"({"app": "background"})");
  script.send(R"({"app": "active"})");
  script.until(
      {{"record",
        KLObject{
            {"state", 1}, {"type", 0}, {"entity_id", KLValue()}, {"content", KLObject{{"message", "fetched campaign config"}}}}}});
  script.after(R"({"track": {"event": "Later"}})", {{"popup", "shown"}, {"plan_id", "7"}});
  script.after(R"({"tap": 0})", {{"popup", "closed"}});
  serve({shown(8, "Last")});
  const KLValue fetched = script.after(R"({"fetch": true})", {{"answer", "fetch"}});
  EXPECT_EQ(at(fetched, "success"), KLValue(true));
  EXPECT_TRUE(at(fetched, "code").isNull());
  script.wait("idle");
  script.after(R"({"track": {"event": "Last"}})", {{"popup", "shown"}, {"plan_id", "8"}});
  EXPECT_EQ(script.end(), 0);
}

TEST_F(RunTest, OpensTestPopups) {
  write("popup_windows/12.json", KLObject{{"name", "Trial"}, {"content", kLayout}});
  Script script(arguments());
  script.wait("ready");
  EXPECT_EQ(at(script.after(R"({"open": "app://elsewhere?kl_popup_test=true"})", {{"answer", "open"}}), "result"), KLValue(false));
  script.send(R"({"open": "app://popupwindow?kl_popup_test=true&popup_window_id=12"})");
  EXPECT_EQ(at(script.until({{"answer", "open"}}), "result"), KLValue(true));
  const KLValue shown = script.until({{"popup", "shown"}});
  EXPECT_TRUE(at(shown, "plan_id").isNull());
  EXPECT_EQ(textOf(shown, "name"), "Trial");
  script.after(R"({"tap": 3})", {{"popup", "closed"}});
  script.send(R"({"open": "app://popupwindow?kl_popup_test=true&popup_window_id=12"})");
  EXPECT_EQ(script.end(), 0);  // shows the last one, too, and takes it down
  EXPECT_EQ(script.count({{"popup", "shown"}}), 2u);
  EXPECT_EQ(script.count({{"popup", "closed"}}), 2u);
}

TEST_F(RunTest, FinishesWhatWasAskedForAtTheEnd) {
  Script script(arguments());
  for (int i = 0; i < 3; ++i) script.send(kPay);
  script.send(R"({"track": {"event": "Custom"}})");
  EXPECT_EQ(script.end(), 0);
  EXPECT_EQ(script.count(kShown1), 3u);
  EXPECT_EQ(script.count(kEnded1), 3u);
  EXPECT_EQ(script.story().back(), "campaignDidStart 2");
}

TEST_F(RunTest, ReportsLinesThatAreNoCommand) {
  const char* const bad[] = {"no JSON",
                             "[1]",
                             "{}",
                             R"({"Track": {}})",
                             R"({"track": 1})",
                             R"({"track": {}, "wait": 1})",
                             R"({"user": {"distinct_id": "x"}})",
                             R"({"user": {"distinct_id": "x"}, "how": "fly"})",
                             R"({"user": {}, "how": "login"})",
                             R"({"tap": -1})",
                             R"({"tap": 1.5})",
                             R"({"app": "asleep"})",
                             R"({"open": 1})",
                             R"({"fetch": false})",
                             R"({"wait": "never"})",
                             R"({"wait": -1})"};
  Script script(arguments());
  for (const char* line : bad) script.send(line);
  script.send("");
  script.wait("ready");
  EXPECT_EQ(script.end(), 1);
  const std::string errors = script.errors();
  EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), static_cast<std::ptrdiff_t>(std::size(bad))) << errors;
  EXPECT_THAT(errors, HasSubstr("kaleo run: line 1: column 1: "));
  EXPECT_EQ(script.count({{"answer", "wait"}}), 1u);

  Script tap(arguments());
  tap.send(R"({"tap": 1})");
  EXPECT_EQ(tap.end(), 0);  // a command all the same
  EXPECT_THAT(tap.errors(), HasSubstr("line 1: no popup is on screen"));
}

TEST_F(RunTest, EndsCleanlyOnASignalAndWithoutAReader) {
  {
    Script script(arguments({"--data", (data_ / "signalled").string()}));
    script.after(kPay, kShown1);
    script.send(R"({"wait": 3600})");
    script.signal(SIGTERM);
    EXPECT_EQ(script.status(), 128 + SIGTERM);
  }
  Script again(arguments({"--data", (data_ / "signalled").string()}));
  again.wait("ready");
  again.closeOutput();
  again.send(kPay);
  EXPECT_EQ(again.status(), 2);
  EXPECT_THAT(again.errors(), HasSubstr("the output cannot be written"));
}

/// A port that takes connections and never answers.
class SilentServer {
 public:
  SilentServer() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    if (::bind(socket_.get(), raw, size) != 0 || ::listen(socket_.get(), 8) != 0) throw std::runtime_error("no port");
    ::getsockname(socket_.get(), raw, &size);
    port_ = ntohs(address.sin_port);
  }
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }

 private:
  KLDescriptor socket_;
  int port_ = 0;
};

TEST_F(RunTest, TakesCommandsWhileTheStartWaits) {
  const SilentServer silent;
  Script script({"run", "--server", silent.url()});
  const KLValue fetched = script.after(R"({"fetch": true})", {{"answer", "fetch"}});
  EXPECT_EQ(at(fetched, "code"), KLValue(1007));
  EXPECT_EQ(textOf(fetched, "message"), "You should not invoke this function before SDK init");
  EXPECT_EQ(textOf(script.tracked(kPay), "event"), "Pay");
  script.send(R"({"wait": "ready"})");
  script.signal(SIGINT);
  EXPECT_EQ(script.status(), 128 + SIGINT);
}

TEST_F(RunTest, SaysWhyItCannotRun) {
  EXPECT_EQ(Script({"run", "--server", "nowhere"}).end(), 2);
  std::ofstream(data_ / "file") << "x";
  EXPECT_EQ(Script(arguments({"--data", (data_ / "file").string()})).end(), 2);
  Script first(arguments({"--data", (data_ / "shared").string()}));
  first.wait("ready");
  Script second(arguments({"--data", (data_ / "shared").string()}));
  EXPECT_EQ(second.end(), 2);
  EXPECT_THAT(second.errors(), HasSubstr("is in use by another run"));
  EXPECT_EQ(first.end(), 0);
}

}  // namespace
}  // namespace kaleo::tools
