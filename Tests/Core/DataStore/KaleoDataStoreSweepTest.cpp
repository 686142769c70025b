#include <sqlite3.h>

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "Core/DataStore/StoreFixture.h"
#include "Foundation/KLFile.h"
#include "Support/FaultVFS.h"

// One story of store operations on a file of the first release, again and again: each time another call of the layer below SQLite
// fails, or another allocation of SQLite's. Whatever it is, nothing crashes or leaks, every write is made in the end, as each is
// tried three times, and the next start finds no half-written state.

namespace kaleo::testing {
namespace {

namespace fs = std::filesystem;
using Name = KLDatabaseProperName;
using Table = KLDatabaseTable;

/// The memory that SQLite works with, of which one allocation can fail. Its own, as the sanitizer's takes most of the time; that
/// all of it comes back is counted here. SQLite must not be in use when one is made or goes.
class FailingMemory {
 public:
  FailingMemory() {
    sqlite3_shutdown();
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &usual);
    sqlite3_mem_methods methods = usual;
    methods.xMalloc = allocate;
    methods.xFree = release;
    methods.xRealloc = reallocate;
    methods.xSize = [](void* block) { return header(block).size; };
    sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
    sqlite3_initialize();
  }
  ~FailingMemory() {
    sqlite3_shutdown();
    sqlite3_config(SQLITE_CONFIG_MALLOC, &usual);
    sqlite3_initialize();
  }
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  static inline int failing = 0;  ///< the allocation, counted from 1, that fails; 0: none
  static inline int count = 0;
  static inline int blocksInUse = 0;

 private:
  struct Header {
    alignas(16) int size;  ///< a power of two
    Header* nextFree;
  };
  static Header& header(void* block) { return static_cast<Header*>(block)[-1]; }

  static void* allocate(int size) {
    if (++count == failing) return nullptr;
    const auto room = std::bit_ceil(static_cast<unsigned>(size));
    Header*& free = freeBlocks[static_cast<std::size_t>(std::countr_zero(room))];
    Header* const block = free ? std::exchange(free, free->nextFree) : static_cast<Header*>(std::malloc(sizeof(Header) + room));
    block->size = static_cast<int>(room);
    ++blocksInUse;
    return block + 1;
  }
  static void release(void* block) {
    Header*& free = freeBlocks[static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(header(block).size)))];
    header(block).nextFree = std::exchange(free, &header(block));
    --blocksInUse;
  }
  static void* reallocate(void* old, int size) {
    void* const block = allocate(size);
    if (!block) return nullptr;
    std::memcpy(block, old, static_cast<std::size_t>(std::min(size, header(old).size)));
    release(old);
    return block;
  }

  static inline sqlite3_mem_methods usual;
  static inline std::array<Header*, 32> freeBlocks{};
};

class KaleoDataStoreSweepTest : public StoreFixture {
 protected:
  /// Every `step`-th fault from `first` on.
  explicit KaleoDataStoreSweepTest(int first = 0, int step = 1) : firstFault(first), faultStep(step) {
    usePlugin();
    host.registry.registerNBLog(nullptr);  // half of the time
    const fs::path whole = directory / "first.sqlite";
    SQLFile(whole).run(
        "CREATE TABLE Users (distinct_id TEXT PRIMARY KEY, user_id TEXT, update_time REAL);"
        "CREATE TABLE PopupConfig (user_id TEXT, popup_config BLOB, global_limit BLOB, global_interval BLOB, update_time REAL, "
        "encryptedStatus INTEGER NOT NULL DEFAULT (0), project TEXT NOT NULL DEFAULT 'default');"
        "CREATE TABLE PlanWindows (user_id TEXT, plan_id TEXT, trigger_windows BLOB, convert_window BLOB, reEnter_window BLOB, "
        "interval_window BLOB, update_time REAL, encryptedStatus INTEGER NOT NULL DEFAULT (0), "
        "project TEXT NOT NULL DEFAULT 'default');"
        "INSERT INTO Users VALUES ('d1', 'u1', 1700000000), ('old', 'old', 1);"
        "INSERT INTO PopupConfig (user_id, global_limit, update_time) VALUES ('u1', x'4C', 1700000000);"
        "INSERT INTO PlanWindows (user_id, plan_id, trigger_windows, convert_window, update_time) "
        "VALUES ('u1', '7', x'54', x'43', 1700000000), ('old', '7', x'54', NULL, 1);");
    firstImage = *KLFile::read(whole);
  }

  void layOut(const KLBytes& image) {
    for (const char* suffix : {"-wal", "-shm", ""}) fs::remove(file.string() + suffix);
    ASSERT_TRUE(KLFile::writeAtomically(file, image));
  }

  /// Open, upgrade, load, save, expire.
  void playStory() {
    const auto store = makeStore(vfs.name());
    store->migrate();
    store->userIdWithDistinctId("d1");
    store->saveUserId("u2", "d2");
    store->saveWindowData(bytes("R"), Name::ReEnterWindow, "u1", "7");
    store->saveWindowData(bytes("N"), Name::IntervalWindow, "u1", "8");
    store->planWindowsWithUserId("u1");
    store->deleteExpiredData();
    store->correctUserId("u3", "u2", Table::Users);
    EXPECT_TRUE(store->flush());
  }

  /// What the next start finds, and wipes.
  void expectWhole(int fault) {
    SCOPED_TRACE("fault " + std::to_string(fault));
    const auto store = makeStore(vfs.name());
    store->migrate();
    EXPECT_EQ(rows("SELECT user_version, integrity_check, min(encryptedStatus) "
                   "FROM pragma_user_version, pragma_integrity_check, Users"),
              Rows{"2|ok|1"});
    EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
    EXPECT_EQ(store->userIdWithDistinctId("d2"), "u3");
    EXPECT_EQ(store->userIdWithDistinctId("old"), std::nullopt);
    EXPECT_EQ(store->globalWindowWithUserId("u1", Name::GlobalLimit), bytes("L"));
    const std::map<std::string, KaleoDataStore::PlanWindows> windows = {
        {"7", {bytes("T"), bytes("C"), bytes("R"), std::nullopt}},
        {"8", {std::nullopt, std::nullopt, std::nullopt, bytes("N")}},
    };
    EXPECT_EQ(store->planWindowsWithUserId("u1"), windows);
  }

  void expectWiped(int fault) {
    EXPECT_EQ(rows("SELECT user_id FROM Users UNION ALL SELECT user_id FROM PopupConfig UNION ALL SELECT user_id FROM PlanWindows"),
              Rows{})
        << "fault " << fault;
  }

  /// `failAt(n)` makes the n-th call from now fail, 0 none, and answers how many there have been since it was last asked.
  template <class FailAt>
  void sweep(const FailAt& failAt) {
    int calls = faultStep;
    for (int fault = firstFault; fault <= calls && !HasFailure(); fault += faultStep) {
      layOut(firstImage);
      failAt(fault);
      playStory();
      calls = std::max(calls, failAt(0));
      expectWhole(fault);
    }
    EXPECT_GT(calls, 100);

    calls = faultStep;
    const KLBytes image = *KLFile::read(file);
    for (int fault = firstFault; fault <= calls && !HasFailure(); fault += faultStep) {
      layOut(image);
      const auto store = makeStore(vfs.name());
      EXPECT_EQ(store->userIdWithDistinctId("d1"), "u1");
      store->deleteAllPlans();
      failAt(fault);
      EXPECT_TRUE(store->flush());
      calls = std::max(calls, failAt(0));
      expectWiped(fault);
    }
  }

  const int firstFault;
  const int faultStep;
  FaultVFS vfs;
  KLBytes firstImage;
};

TEST_F(KaleoDataStoreSweepTest, EachCallOfTheDiskFailsOnce) {
  sweep([this](int call) {
    const int calls = vfs.calls.exchange(0);
    vfs.failingCall = call;
    return calls;
  });
}

class MemorySweep : public KaleoDataStoreSweepTest {
 public:
  MemorySweep(int first, int step) : KaleoDataStoreSweepTest(first, step) {}
  void TestBody() override {
    sweep([](int allocation) {
      FailingMemory::failing = allocation;
      return std::exchange(FailingMemory::count, 0);
    });
  }
};

constexpr int kMemoryParts = 4;

class KaleoDataStoreMemoryTest : public ::testing::TestWithParam<int> {};

TEST_P(KaleoDataStoreMemoryTest, EachAllocationFailsOnce) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "it has one thread, and is slow under the thread sanitizer";
#endif
  FailingMemory memory;
  MemorySweep(GetParam(), kMemoryParts).TestBody();
  EXPECT_EQ(FailingMemory::blocksInUse, 0);
}

INSTANTIATE_TEST_SUITE_P(InParts, KaleoDataStoreMemoryTest, ::testing::Range(0, kMemoryParts));

}  // namespace
}  // namespace kaleo::testing
