#include <map>
#include <random>

#include "Core/DataStore/StoreFixture.h"
#include "Support/FaultVFS.h"
#include "Support/PowerCutVFS.h"

// The power goes at 1,000 random moments of a few stories of store operations: beginning, growth, checkpoints, wipes, an orderly
// end and a new start. Each time the store opens what the disk has kept, without damage, and finds all writes of one turn and of
// every turn before it, of no turn less than the last that was confirmed.

namespace kaleo::testing {
namespace {

namespace fs = std::filesystem;
using Name = KLDatabaseProperName;

constexpr int kCuts = 1000;
constexpr int kStories = 8;
constexpr int kTurns = 60;
constexpr int kChangesBetweenCuts = 10;
constexpr int kPlans = 6;

/// What a turn leaves: its number, and a blob for each cell.
struct Kept {
  int turn = 0;
  std::optional<KLBytes> limit;
  std::map<std::string, KaleoDataStore::PlanWindows> windows;
};

class KaleoDataStorePowerTest : public StoreFixture {
 protected:
  void playStory() {
    PowerCutVFS vfs;
    vfs.onChange = [&] {
      if (chance() % kChangesBetweenCuts == 0 && cuts < kCuts) cut(vfs);
    };
    turns = {Kept()};
    confirmed = 0;
    store = makeStore(vfs.name());
    for (int i = 0; i < kTurns; ++i) {
      if (i == kTurns / 2) {
        store.reset();
        store = makeStore(vfs.name());
      }
      playTurn();
    }
    store.reset();
    fs::remove(file);
  }

  void playTurn() {
    turns.push_back(turns.back());
    Kept& now = turns.back();
    ++now.turn;
    if (chance() % 16 == 0) {
      store->deleteAllPlans();
      now.limit.reset();
      now.windows.clear();
    }
    const std::size_t kind = chance() % 4;
    const std::string plan = std::to_string(chance() % kPlans);
    const KLBytes blob(1 + chance() % 9000, static_cast<std::uint8_t>(now.turn));
    now.limit = bytes(std::to_string(now.turn));
    now.windows[plan][kind] = blob;
    store->saveUserId("u" + std::to_string(now.turn), "d");
    store->saveGlobalWindowData(now.limit, "g", Name::GlobalLimit);
    store->saveWindowData(blob, static_cast<Name>(kind), "p", plan);
    ASSERT_TRUE(store->flush());
    confirmed = now.turn;
  }

  void cut(const PowerCutVFS& vfs) {
    ++cuts;
    const TemporaryDirectory left;
    vfs.leave(left.path(), chance);
    const fs::path leftFile = left / file.filename().string();
    const auto opened = makeStore(threads, leftFile, quickDisk.name());
    const int turn = std::stoi(opened->userIdWithDistinctId("d").value_or("u0").substr(1));
    ASSERT_GE(turn, confirmed) << "cut " << cuts;
    ASSERT_LT(turn, static_cast<int>(turns.size()));
    const Kept& expected = turns[static_cast<std::size_t>(turn)];
    EXPECT_EQ(opened->globalWindowWithUserId("g", Name::GlobalLimit), expected.limit) << "cut " << cuts;
    EXPECT_EQ(opened->planWindowsWithUserId("p"), expected.windows) << "cut " << cuts;
    EXPECT_EQ(SQLFile(leftFile).rows("PRAGMA integrity_check"), Rows{"ok"}) << "cut " << cuts;
    EXPECT_EQ(host.log->messages(1), std::vector<std::string>{}) << "cut " << cuts;
    host.log->clear();
  }

  std::mt19937 chance{20260101};
  FaultVFS quickDisk;
  std::unique_ptr<KaleoDataStore> store;
  std::vector<Kept> turns;
  int confirmed = 0;
  int cuts = 0;
};

TEST_F(KaleoDataStorePowerTest, NoPowerCutLosesAConfirmedWriteOrHalfATurn) {
  for (int story = 0; story < kStories || cuts < kCuts; ++story) {
    playStory();
    ASSERT_FALSE(HasFatalFailure());
  }
}

}  // namespace
}  // namespace kaleo::testing
