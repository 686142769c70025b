#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "Core/DataStore/StoreFixture.h"
#include "Foundation/KLThreads.h"

// One file and one key under two processes of an application, and under two instances of the library in one process.

namespace kaleo::testing {
namespace {

namespace fs = std::filesystem;
using Name = KLDatabaseProperName;

constexpr int kWrites = 12;

class KaleoDataStoreSharingTest : public StoreFixture {
 protected:
  KaleoDataStoreSharingTest() { usePlugin(); }

  /// A whole run of one of them: begins on a file of the first release or none, writes plans of its own and one of both.
  bool live(const std::string& own) {
    KLThreadThreading threading;
    const auto store = makeStore(threading);
    store->migrate();
    bool done = true;
    for (int i = 0; i < kWrites; ++i) {
      store->saveWindowData(bytes(std::to_string(i)), Name::TriggerWindows, "u", own + std::to_string(i % 4));
      store->saveWindowData(bytes("shared"), Name::ConvertWindow, "u", "both");
      store->saveUserId("u", own);
      done = store->flush() && done;
    }
    return done && store->userIdWithDistinctId(own) == "u" && host.log->messages(1).empty();
  }

  void layOutFirstRelease() {
    for (const char* suffix : {"-wal", "-shm", ""}) fs::remove(file.string() + suffix);
    SQLFile(file).run(
        "CREATE TABLE Users (distinct_id TEXT PRIMARY KEY, user_id TEXT, update_time REAL);"
        "CREATE TABLE PlanWindows (user_id TEXT, plan_id TEXT, trigger_windows BLOB, convert_window BLOB, reEnter_window BLOB, "
        "interval_window BLOB, update_time REAL);"
        "INSERT INTO Users VALUES ('old', 'u', 1700000000); INSERT INTO PlanWindows VALUES ('u', 'old', x'4F', 0, 0, 0, "
        "1700000000)");
  }

  /// That both left what they wrote, readable with the one key, and nothing twice.
  void expectBoth() {
    KLThreadThreading threading;
    const auto store = makeStore(threading);
    for (const char* distinctId : {"a", "b"}) EXPECT_EQ(store->userIdWithDistinctId(distinctId), "u");
    const auto windows = store->planWindowsWithUserId("u");
    for (const char* own : {"a", "b"}) {
      for (int i = kWrites - 4; i < kWrites; ++i) {
        const std::string plan = own + std::to_string(i % 4);
        ASSERT_TRUE(windows.contains(plan)) << plan;
        EXPECT_EQ(windows.at(plan)[0], bytes(std::to_string(i)));
      }
    }
    EXPECT_EQ(rows("SELECT count(*) FROM Users WHERE encryptedStatus = 1"), Rows{wasFirstRelease ? "3" : "2"});
    EXPECT_EQ(rows("SELECT count(*) FROM PlanWindows"), Rows{wasFirstRelease ? "10" : "9"});
    EXPECT_EQ(rows("PRAGMA integrity_check"), Rows{"ok"});
  }

  bool wasFirstRelease = false;
};

TEST_F(KaleoDataStoreSharingTest, TwoProcessesStartAndWriteAtOnce) {
  for (int round = 0; round < 4; ++round) {
    wasFirstRelease = round % 2 == 1;
    fs::remove(file);
    fs::remove(keyFile);
    if (wasFirstRelease) layOutFirstRelease();
    int starting[2];
    ASSERT_EQ(pipe(starting), 0);
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
      children[i] = fork();
      if (children[i] != 0) continue;
      char none = 0;
      close(starting[1]);
      if (read(starting[0], &none, 1) != 0) _exit(2);  // until the parent closes its end
      _exit(live(i ? "b" : "a") ? 0 : 1);
    }
    close(starting[0]);
    close(starting[1]);
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    expectBoth();
  }
}

TEST_F(KaleoDataStoreSharingTest, TwoInstancesInOneProcess) {
  std::thread other([this] { EXPECT_TRUE(live("b")); });
  EXPECT_TRUE(live("a"));
  other.join();
  expectBoth();
}

}  // namespace
}  // namespace kaleo::testing
