#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>

#include "Core/DataStore/DatabaseFixture.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLThreads.h"

namespace kaleo::testing {
namespace {

using Name = KLDatabaseProperName;

constexpr int kPlans = 8;

std::string planOf(int number) { return std::to_string(number % kPlans); }

/// Beyond one page, and different for each number.
KLBytes blobOf(int number) {
  KLBytes blob(6000, static_cast<std::uint8_t>(number));
  const std::string text = std::to_string(number) + ";";
  std::copy(text.begin(), text.end(), blob.begin());
  return blob;
}

int numberOf(const std::optional<KLBytes>& blob) { return blob ? std::atoi(std::string(blob->begin(), blob->end()).c_str()) : -1; }

class KaleoDataStoreKillTest : public DatabaseFixture {
 protected:
  /// The program that is killed: writes number after number and tells `confirmations` of each that `flush` has confirmed.
  [[noreturn]] void writeForEver(int first, int confirmations) {
    KLThreadThreading threading;
    KaleoDataStore store({threading, log, clock, random, bridge, hostStore, diagnosis, file, directory / "key"});
    for (int number = first;; ++number) {
      store.saveWindowData(blobOf(number), Name::TriggerWindows, "u", planOf(number));
      store.saveUserId("u" + std::to_string(number), "d");
      store.flush();
      if (write(confirmations, &number, sizeof number) != sizeof number) _exit(1);
    }
  }

  /// Runs the program until it has confirmed `count` numbers, kills it, and answers the last number that it confirmed.
  int killAfter(int count, int first) {
    int ends[2];
    if (pipe(ends) != 0) return first;
    const pid_t child = fork();
    if (child == 0) {
      close(ends[0]);
      writeForEver(first, ends[1]);
    }
    close(ends[1]);
    int confirmed = first - 1;
    int number = 0;
    for (int i = 0; i < count && read(ends[0], &number, sizeof number) == sizeof number; ++i) confirmed = number;
    kill(child, SIGKILL);
    while (read(ends[0], &number, sizeof number) == sizeof number) confirmed = number;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    return confirmed;
  }

  KLStoreManager hostStore{host.registry};
  KLDiagnosisSlot diagnosis;
};

TEST_F(KaleoDataStoreKillTest, NoConfirmedWriteIsLostToAKill) {
  std::mt19937 chance(20260101);
  int confirmed = 0;
  for (int round = 0; round < 20; ++round) {
    confirmed = killAfter(static_cast<int>(chance() % 12), confirmed + 1);
    if (confirmed < kPlans) continue;
    EXPECT_EQ(SQLFile(file).rows("PRAGMA integrity_check"), Rows{"ok"});
    KaleoDatabase database = makeDatabase();
    for (int number = confirmed - kPlans + 1; number <= confirmed; ++number) {
      const auto stored = database.planWindowWithUserId("u", planOf(number), Name::TriggerWindows);
      EXPECT_GE(numberOf(stored), number);
      EXPECT_EQ(stored, blobOf(numberOf(stored)));
    }
    EXPECT_GE(std::stoi(database.userIdWithDistinctId("d").value_or("u0").substr(1)), confirmed);
  }
  EXPECT_GT(confirmed, kPlans);
  EXPECT_EQ(host.log->messages(1), std::vector<std::string>{});
}

}  // namespace
}  // namespace kaleo::testing
