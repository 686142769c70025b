#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "Core/DataStore/StoreFixture.h"
#include "Foundation/KLThreads.h"
#include "Support/Killing.h"

// A program that counts events and shows popups in a loop, and reports each number whose writes the store has confirmed, is killed
// at random moments, 100 times or as often as the environment variable KALEO_KILLS says:
//
//   KALEO_KILLS=10000 build/dev/bin/test_datastore --gtest_filter='KaleoDataStoreKillTest.*'

namespace kaleo::testing {
namespace {

using Name = KLDatabaseProperName;

constexpr int kKills = 100;
constexpr int kPlans = 8;
constexpr int kEventsPerPopup = 3;

std::string planOf(int number) { return std::to_string(number % kPlans); }

/// Beyond one page, and different for each number.
KLBytes blobOf(int number) {
  KLBytes blob(6000, static_cast<std::uint8_t>(number));
  const std::string text = std::to_string(number) + ";";
  std::copy(text.begin(), text.end(), blob.begin());
  return blob;
}

int numberOf(const std::optional<KLBytes>& blob) { return blob ? std::atoi(std::string(blob->begin(), blob->end()).c_str()) : -1; }

int killsAskedFor() {
  const char* const asked = std::getenv("KALEO_KILLS");
  return asked ? std::max(1, std::atoi(asked)) : kKills;
}

class KaleoDataStoreKillTest : public StoreFixture {
 protected:
  /// The program that is killed: writes number after number and tells `confirmations` of each that `flush` has confirmed.
  [[noreturn]] void writeForEver(int first, int confirmations) {
    KLThreadThreading threading;
    const auto store = makeStore(threading);
    for (int number = first;; ++number) {
      // An event is counted, and some show a popup.
      store->saveWindowData(blobOf(number), Name::TriggerWindows, "u", planOf(number));
      store->saveUserId("u" + std::to_string(number), "d");
      if (number % kEventsPerPopup == 0) {
        for (const Name kind : kPopupWindows) store->saveWindowData(blobOf(number), kind, "u", "popup");
        store->saveGlobalWindowData(blobOf(number), "u", Name::GlobalLimit);
      }
      if (!store->flush() || write(confirmations, &number, sizeof number) != sizeof number) _exit(1);
    }
  }

  void expectKept(int confirmed) {
    EXPECT_EQ(rows("PRAGMA integrity_check"), Rows{"ok"});
    KaleoDatabase database = makeDatabase();
    for (int number = std::max(1, confirmed - kPlans + 1); number <= confirmed; ++number) {
      const auto stored = database.planWindowWithUserId("u", planOf(number), Name::TriggerWindows);
      EXPECT_GE(numberOf(stored), number);
      EXPECT_EQ(stored, blobOf(numberOf(stored)));
    }
    EXPECT_GE(std::stoi(database.userIdWithDistinctId("d").value_or("u0").substr(1)), confirmed);
    const int popup = confirmed < kEventsPerPopup ? -1 : confirmed - confirmed % kEventsPerPopup;
    EXPECT_GE(numberOf(database.globalWindowWithUserId("u", Name::GlobalLimit)), popup);
    for (const Name kind : kPopupWindows) EXPECT_GE(numberOf(database.planWindowWithUserId("u", "popup", kind)), popup);
  }

  static constexpr Name kPopupWindows[] = {Name::ReEnterWindow, Name::IntervalWindow, Name::ConvertWindow};
};

TEST_F(KaleoDataStoreKillTest, NoConfirmedWriteIsLostToAKill) {
  std::mt19937 chance(20260101);
  const int kills = killsAskedFor();
  int confirmed = 0;
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    const auto program = [this, first = confirmed + 1](int confirmations) { writeForEver(first, confirmations); };
    confirmed = lastConfirmedBeforeKill(program, chance, confirmed);
    expectKept(confirmed);
    EXPECT_EQ(host.log->messages(1), std::vector<std::string>{});
    host.log->clear();
  }
  EXPECT_GT(confirmed, kills);
}

}  // namespace
}  // namespace kaleo::testing
