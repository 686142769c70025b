#include "inspect/Inspection.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "Foundation/KLJSON.h"
#include "Support/SQLFile.h"
#include "Support/StoreParts.h"
#include "inspect/HoldingBack.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

using kaleo::testing::FakeHost;
using kaleo::testing::SQLFile;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Kind = KLDatabaseProperName;
namespace fs = std::filesystem;

constexpr double kNow = 1'700'000'000;  // 2023-11-14 22:13:20 UTC
constexpr double kHour = 3600;

std::string contentsOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write(const fs::path& file, const std::string& contents) { std::ofstream(file, std::ios::binary) << contents; }

/// Every file of a directory with what is in it.
std::map<std::string, std::string> filesOf(const fs::path& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(directory)) files[entry.path().filename()] = contentsOf(entry.path());
  return files;
}

template <class Window>
Window spanning(double start, double end) {
  Window window;
  window.startTime = start;
  window.endTime = end;
  return window;
}

const char* const kConfiguration = R"({"user_id":"u1","config_pull_interval_ms":600000,
  "msg_limit_global":{"is_in_use":true,"limits":[{"unit":"HOUR","value":2,"limit":2}]},
  "popup_plans":[
    {"plan_id":101,"cname":"Welcome\u001b[31m","status":"ACTIVE","is_audience":true,"expire_at":"9999999999999","absolute_priority":9,
     "re_enter":{"unit":"DAY","value":1,"limit":1},
     "pattern_popup":{"matcher_list":[{"event_name":"Open","params":["3"],"window":{"unit":"DAY","value":1}}]}},
    {"plan_id":102,"cname":"限时优惠","status":"ACTIVE","is_audience":true,"expire_at":"9999999999999","absolute_priority":5,
     "global_msg_limit_enabled":true,"re_enter":{"unit":"DAY","value":1,"limit":9},
     "pattern_popup":{"matcher_list":[{"event_name":"Buy","params":["3"],"window":{"unit":"DAY","value":1}}]}},
    {"plan_id":103,"cname":"Free","status":"ACTIVE","is_audience":true,"expire_at":"9999999999999","absolute_priority":5,
     "re_enter":{"unit":"DAY","value":1,"limit":9},
     "pattern_popup":{"matcher_list":[{"event_name":"Buy","params":["3"],"window":{"unit":"DAY","value":1}}]}}]})";

class InspectTest : public ::testing::Test, protected kaleo::testing::StoreParts {
 protected:
  InspectTest() {
    arguments.file = file;
    arguments.timeZone = "UTC";
  }

  /// A store as the library has it, encrypted when the host has a store plugin.
  std::unique_ptr<KaleoDataStore> makeStore(bool encrypted = false) {
    if (encrypted) usePlugin();
    return std::make_unique<KaleoDataStore>(storeSurroundings());
  }

  /// A user with a window of each kind.
  void fill(KaleoDataStore& store) {
    const KLValue answer = *KLJSON::parse(kConfiguration);
    store.saveUserId("u1", "alice");
    store.savePopupConfig(KLPopupConfig::fromResponseData(&answer, log), "u1");
    auto reEnter = spanning<KLPopupReEnterWindow>(kNow - kHour, kNow + 3 * kHour + 720);
    reEnter.count = 1;
    store.saveWindowData(reEnter.archivedData(), Kind::ReEnterWindow, "u1", "101");
    auto trigger = spanning<KLPopupTriggerWindow>(kNow - kHour, kNow + kHour);
    trigger.count = 2;
    store.saveWindowData(KLArchivedTriggerWindows({{0, trigger}}), Kind::TriggerWindows, "u1", "103");
    store.saveWindowData(spanning<KLPopupIntervalWindow>(kNow - 2 * kHour, kNow - kHour).archivedData(), Kind::IntervalWindow, "u1",
                         "103");
    const KLValue::Array shown{kNow - kHour, kNow - 600};
    store.saveGlobalWindowData(KLKeyedArchive::archive(KLPopupGlobalLimit::kClassName, shown), "u1", Kind::GlobalLimit);
    store.flush();
  }

  int run() {
    out.str("");
    err.str("");
    return inspect(arguments, {out, err, kNow, false});
  }
  KLValue document() {
    arguments.json = true;
    run();
    return KLJSON::parse(out.str()).value_or(KLValue());
  }

  ReadingArguments arguments;
  std::ostringstream out, err;
};

TEST_F(InspectTest, TablesSayWhatIsStoredAndWhatHoldsEachPlanBack) {
  fill(*makeStore());
  EXPECT_EQ(run(), kRead) << err.str();
  EXPECT_EQ(out.str(), R"(Kaleo_Popup.sqlite: 1 user, not encrypted, schema version 0. Read at 2023-11-14 22:13:20 +00:00.
Note: No Kaleo_Popup.sqlite-wal lies beside it. If the application was running when the file was copied, its latest changes are missing here.

User u1, project default
  known as       alice, saved 2023-11-14 22:13:20 +00:00 (now)
  last change    2023-11-14 22:13:20 +00:00 (now)
  configuration  3 plans
  quiet period   none is running
  popups shown   2, the last one at 2023-11-14 22:03:20 +00:00 (10 min ago)
  global limit   2 of 2 in 2 HOUR, until 2023-11-14 23:13:20 +00:00 (in 1 h)

  PLAN  PRIORITY  NAME          CAN SHOW
  101   9         Welcome?[31m  no: re-entry, 1 of 1 popups, until 2023-11-15 01:25:20 +00:00 (in 3 h 12 min)
  103   5         Free          at the next Buy
  102   5         限时优惠      no: global limit, 2 of 2 popups, until 2023-11-14 23:13:20 +00:00 (in 1 h)

  PLAN  WINDOW        START                       END                         COUNT   NOW
  101   re-entry      2023-11-14 21:13:20 +00:00  2023-11-15 01:25:20 +00:00  1 of 1  running, ends in 3 h 12 min
  103   trigger, Buy  2023-11-14 21:13:20 +00:00  2023-11-14 23:13:20 +00:00  2 of 3  running, ends in 1 h
  103   quiet period  2023-11-14 20:13:20 +00:00  2023-11-14 21:13:20 +00:00          ended 1 h ago
)");
}

TEST_F(InspectTest, AnEncryptedFileNeedsItsKey) {
  fill(*makeStore(true));
  const std::string key = contentsOf(keyFile);

  EXPECT_EQ(run(), kPartlyRead);
  EXPECT_THAT(out.str(), AllOf(HasSubstr("give the application's key file with --key"), HasSubstr("User encrypted…"),
                               Not(HasSubstr("alice"))));
  arguments.key = keyFile;
  arguments.user = "alice";
  EXPECT_EQ(run(), kRead) << out.str();
  EXPECT_THAT(out.str(), AllOf(HasSubstr("User u1"), HasSubstr("known as       alice"), HasSubstr("re-entry, 1 of 1 popups")));
  EXPECT_EQ(contentsOf(keyFile), key);

  KLAESCrypt another(random);
  arguments.key = directory / "another";
  another.setKeyFile(arguments.key);
  arguments.user.clear();
  EXPECT_EQ(run(), kPartlyRead);
  EXPECT_THAT(out.str(), HasSubstr("another key than that of"));

  arguments.key = file;
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(), HasSubstr("is none of this library"));
  EXPECT_EQ(fs::file_size(file), contentsOf(file).size());
}

TEST_F(InspectTest, TheDocumentHoldsWhatTheTablesHold) {
  fill(*makeStore());
  const KLValue found = document();
  const KLValue& user = found.find("users")->asArray().at(0);
  EXPECT_EQ(user.find("user_id")->asString(), "u1");
  EXPECT_EQ(*user.find("popups_shown_at"), KLValue(KLValue::Array{kNow - kHour, kNow - 600}));
  const auto& plans = user.find("plans")->asArray();
  EXPECT_EQ(
      *plans.at(0).find("held_back_by"),
      KLValue(KLValue::Array{KLObject{{"reason", "re_entry"}, {"until", kNow + 3 * kHour + 720}, {"count", 1}, {"limit", 1}}}));
  EXPECT_EQ(plans.at(1).find("held_back_by")->asArray().at(0).find("reason")->asString(), "global_limit");
  EXPECT_THAT(plans.at(2).find("held_back_by")->asArray(), IsEmpty());
  EXPECT_EQ(user.find("windows")->asArray().size(), 3u);
}

TEST_F(InspectTest, NothingBesideTheFileIsTouchedWhileTheApplicationRuns) {
  const auto store = makeStore();
  fill(*store);
  ASSERT_GT(fs::file_size(file.string() + "-wal"), 0u);
  const auto before = filesOf(directory.path());
  EXPECT_EQ(document().find("users")->asArray().size(), 1u) << err.str();  // it is in the log alone
  EXPECT_EQ(filesOf(directory.path()), before);

  // Brought along without the log, the file is what its last checkpoint made of it.
  const TemporaryDirectory elsewhere;
  arguments.file = elsewhere / "Kaleo_Popup.sqlite";
  fs::copy(file, arguments.file);
  run();
  EXPECT_THAT(out.str() + err.str(), AnyOf(HasSubstr("No Kaleo_Popup.sqlite-wal lies beside it"), HasSubstr("has no table")));
  EXPECT_EQ(filesOf(elsewhere.path()).size(), 1u);
}

TEST_F(InspectTest, ALockedFileIsReadAllTheSame) {
  fill(*makeStore());
  SQLFile holder(file);
  holder.run("PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE; DELETE FROM Users");
  const auto before = filesOf(directory.path());
  EXPECT_EQ(document().find("users")->asArray().at(0).find("known_as")->asArray().size(), 1u) << err.str();
  EXPECT_EQ(filesOf(directory.path()), before);
}

// A writer that keeps two tables equal, with a checkpoint every few commits: a torn copy would show them different.
TEST_F(InspectTest, ACopyIsOfOneMomentWhateverIsWrittenMeanwhile) {
  SQLFile writer(file);
  writer.run("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=8; PRAGMA synchronous=OFF");
  writer.run("CREATE TABLE a (n, filler); CREATE TABLE b (n, filler); INSERT INTO a VALUES (0, ''); INSERT INTO b VALUES (0, '')");
  writer.run(
      "WITH RECURSIVE c(i) AS (SELECT 1 UNION SELECT i + 1 FROM c WHERE i < 300) INSERT INTO a SELECT 0, hex(randomblob(400)) FROM "
      "c");
  writer.run("INSERT INTO b SELECT n, filler FROM a WHERE filler <> ''");
  std::atomic<bool> ended = false;
  std::thread thread([&] {
    while (!ended) writer.run("BEGIN; UPDATE a SET n = n + 1; UPDATE b SET n = n + 1; COMMIT");
  });
  int copied = 0;
  for (int i = 0; i < 60; ++i) {
    std::string error;
    const auto copy = DatabaseCopy::take(file, error);
    if (!copy) continue;  // written to without a pause
    ++copied;
    EXPECT_EQ(copy->damage(), "");
    auto sums = copy->connection().prepare("SELECT (SELECT sum(n) FROM a), (SELECT sum(n) FROM b), (SELECT min(n) FROM a)");
    ASSERT_EQ(sums.step(), KLSQLiteStatement::Step::Row);
    EXPECT_EQ(sums.integer(0), sums.integer(1));
    EXPECT_EQ(sums.integer(0), sums.integer(2) * 301);
  }
  ended = true;
  thread.join();
  EXPECT_GT(copied, 0);
}

TEST_F(InspectTest, FilesOfEarlierReleasesAreRead) {
  const auto reEnter = spanning<KLPopupReEnterWindow>(kNow - kHour, kNow + kHour);
  std::string hex;
  for (const auto byte : reEnter.archivedData()) hex += fmt::format("{:02X}", byte);
  SQLFile(file).run(
      "CREATE TABLE Users (distinct_id TEXT PRIMARY KEY, user_id TEXT, update_time REAL);"
      "CREATE TABLE PopupConfig (user_id TEXT PRIMARY KEY, popup_config BLOB, global_limit BLOB, global_interval BLOB, update_time "
      "REAL);"
      "CREATE TABLE PlanWindows (user_id TEXT, plan_id TEXT, trigger_windows BLOB, convert_window BLOB, reEnter_window BLOB, "
      "interval_window BLOB, update_time REAL);"
      "INSERT INTO Users VALUES ('d1', 'u1', 1699990000);"
      "INSERT INTO PlanWindows VALUES ('u1', '7', NULL, NULL, x'" +
      hex + "', x'00', 1699990000);");
  EXPECT_EQ(run(), kPartlyRead) << err.str();
  EXPECT_THAT(out.str(), AllOf(HasSubstr("known as       d1"), HasSubstr("7 *   re-entry"), HasSubstr("running, ends in 1 h"),
                               HasSubstr("1 value is damaged")));
}

TEST_F(InspectTest, AFileThatIsNoneOfOursIsNamedInPlainWords) {
  const fs::path closed = directory / "closed.sqlite", foreign = directory / "foreign.sqlite", cut = directory / "cut.sqlite";
  fill(*makeStore());
  SQLFile(foreign).run("CREATE TABLE Songs (title)");
  write(closed, contentsOf(file));
  write(cut, contentsOf(file).substr(0, 100));
  write(directory / "empty.sqlite", "");
  write(directory / "text.sqlite", "This is a letter, and no database at all.");
  write(directory / "alone.sqlite-wal", std::string(64, 'x'));
  ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
  const struct {
    fs::path file;
    const char* reason;
  } cases[] = {
      {directory / "missing.sqlite", "cannot be read: No such file or directory"},
      {directory.path(), "is a directory; give"},
      {directory / "empty.sqlite", "is empty: nothing was ever written to it"},
      {directory / "text.sqlite", "is no SQLite database"},
      {foreign, "none of this library: it has no table Users and no table PopupConfig and no table PlanWindows (it has Songs)"},
      {cut, "is damaged"},
      {directory / "alone.sqlite", "only alone.sqlite-wal is there, which is nothing without it"},
      {directory / "alone.sqlite-wal", "is only a companion of a database: give"},
      {directory / "pipe", "is no regular file"},
  };
  for (const auto& wrong : cases) {
    arguments.file = wrong.file;
    EXPECT_EQ(run(), kCannotRead) << wrong.file;
    EXPECT_THAT(err.str(), HasSubstr(wrong.reason));
    EXPECT_EQ(out.str(), "");
  }
  arguments.file = closed;
  arguments.user = "nobody";
  EXPECT_EQ(run(), kCannotRead);
  EXPECT_THAT(err.str(), HasSubstr("there is no user nobody"));
}

TEST_F(InspectTest, DamageIsSaidAndSurvived) {
  fill(*makeStore());
  const std::string whole = contentsOf(file);
  std::mt19937 chance(7);
  int damaged = 0;
  for (int i = 0; i < 200; ++i) {
    std::string bytes = whole;
    for (int k = 0; k < 20; ++k)
      bytes[std::uniform_int_distribution<std::size_t>(100, bytes.size() - 1)(chance)] = static_cast<char>(chance());
    write(file, bytes);
    damaged += run() != kRead;
    EXPECT_FALSE(out.str().empty() && err.str().empty());
  }
  EXPECT_GT(damaged, 50);
}

/// What holds back the plan `more` of user `u`, in Paris.
class HoldingBackTest : public ::testing::Test {
 protected:
  std::vector<Hold> holds(double now, const std::string& more, const std::vector<double>& displays = {},
                          const std::string& limits = "") {
    const KLValue answer = *KLJSON::parse(
        R"({"msg_limit_global":{"is_in_use":true,"limits":[)" + limits +
        R"(]},"popup_plans":[{"plan_id":7,"status":"ACTIVE","is_audience":true,)"
        R"("expire_at":"99999999999999","global_msg_limit_enabled":true,"re_enter":{"unit":"DAY","value":1,"limit":1})" +
        more + "}]}");
    FakeHost host;
    StoredUser user;
    user.config = {Stored<std::shared_ptr<KLPopupConfig>>::State::Present,
                   KLPopupConfig::fromResponseData(&answer, KLLog(host.registry))};
    user.displays = {Stored<std::vector<double>>::State::Present, displays};
    const FixedClock clock(now);
    return holdsOf(*user.config.get()->get()->popupPlanModels.at(0), user, nullptr, {clock, monday, sunday});
  }
  double at(const std::string& text) {
    double instant = 0;
    EXPECT_TRUE(monday.parseDate(text, "yyyy-MM-dd HH:mm", instant)) << text;
    return instant;
  }

  KLCalendar monday{"Europe/Paris", KLWeekday::Monday}, sunday{"Europe/Paris", KLWeekday::Sunday};
};

TEST_F(HoldingBackTest, ALimitFreesWhenEnoughPopupsHaveLeftItsWindow) {
  const struct {
    const char *limit, *now, *freeAt;
    std::vector<const char*> shown;
  } cases[] = {
      {R"({"unit":"HOUR","value":3,"limit":2})", "2023-11-14 12:00", "2023-11-14 13:00", {"2023-11-14 10:00", "2023-11-14 11:00"}},
      {R"({"unit":"HOUR","value":3,"limit":1})", "2023-11-14 12:00", "2023-11-14 14:00", {"2023-11-14 10:00", "2023-11-14 11:00"}},
      // The night in which the clocks go back has 25 hours.
      {R"({"unit":"DAY","value":1,"limit":1})", "2023-10-28 23:00", "2023-10-29 12:00", {"2023-10-28 12:00"}},
      {R"({"unit":"DAY","value":1,"natural":true,"limit":1})", "2023-10-29 01:30", "2023-10-30 00:00", {"2023-10-29 00:00"}},
      {R"({"unit":"WEEK","value":2,"natural":true,"limit":1})", "2023-11-14 12:00", "2023-11-20 00:00", {"2023-11-07 10:00"}},
  };
  for (const auto& c : cases) {
    std::vector<double> shown;
    for (const char* time : c.shown) shown.push_back(at(time));
    const auto found = holds(at(c.now), "", shown, c.limit);
    ASSERT_EQ(found.size(), 1u) << c.limit;
    EXPECT_EQ(found[0].reason, HoldReason::GlobalLimit);
    EXPECT_NEAR(found[0].until.value_or(0), at(c.freeAt), 1) << c.limit;
  }
  EXPECT_EQ(holds(at("2023-11-14 12:00"), "", {}, R"({"unit":"DAY","value":1,"limit":0})").at(0).until, std::nullopt);
  EXPECT_EQ(holds(at("2023-11-14 12:00"), "", {kNow}, R"({"unit":"YEAR","natural":true,"value":1,"limit":1})").at(0).until,
            std::nullopt);
}

TEST_F(HoldingBackTest, DisplayTimesSayWhenTheyComeNext) {
  const auto times = [](const char* cycle, const char* range) {
    return fmt::format(R"(,"display_time_config":{{"natural_repeat_cycle":{{"repeat_cycle":"{}","time_ranges":[{}]}}}})", cycle,
                       range);
  };
  const std::string daily = times("DAY", R"({"start_time":"09:00","end_time":"18:00"})");
  const std::string weekly = times("WEEK", R"({"start_time":"20:00","end_time":"22:00","day":2})");
  EXPECT_THAT(holds(at("2023-11-14 12:00"), daily), IsEmpty());
  EXPECT_EQ(holds(at("2023-11-14 20:00"), daily).at(0).until, at("2023-11-15 09:00"));
  EXPECT_EQ(holds(at("2023-11-14 20:00"), weekly).at(0).until, at("2023-11-20 20:00"));
  EXPECT_EQ(holds(at("2023-11-14 20:00"), times("WEEK", R"({"start_time":"20:00","end_time":"22:00","day":"2"})")).at(0).until,
            std::nullopt);
}

TEST(TimeTextTest, LengthsHaveTheirTwoLargestUnits) {
  const std::pair<double, const char*> cases[] = {{0, "0 s"},    {59.9, "59 s"},     {60, "1 min"},     {11520, "3 h 12 min"},
                                                  {3601, "1 h"}, {90000, "1 d 1 h"}, {4e7, "1 a 97 d"}, {1e300, "for ever"}};
  for (const auto& [seconds, text] : cases) EXPECT_EQ(TimeText::length(seconds), text);
}

}  // namespace
}  // namespace kaleo::tools
