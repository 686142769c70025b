#include "Core/DataStore/KLWriteQueue.h"

#include <gtest/gtest.h>

namespace kaleo {
namespace {

using Added = KLWriteQueue::Added;

class KLWriteQueueTest : public ::testing::Test {
 protected:
  Added add(const std::string& user, const std::string& written, std::size_t bytes = 1) {
    return queue.addCell({KLDatabaseTable::PlanWindows, 0, user, "7"}, bytes, note(written));
  }
  Added sweep(const std::string& written) { return queue.addSweep(note(written)); }
  std::string taken() {
    order.clear();
    for (const auto& task : queue.take()) task();
    return order;
  }

  KLWriteQueue queue;

 private:
  KLWriteQueue::Task note(const std::string& written) {
    return [this, written] {
      order += written;
      return true;
    };
  }

  std::string order;
};

TEST_F(KLWriteQueueTest, OnlyTheFirstWriteAsksForATurn) {
  EXPECT_EQ(add("u1", "a"), Added::First);
  EXPECT_EQ(add("u2", "b"), Added::Joined);
  EXPECT_EQ(sweep("-"), Added::Joined);
  EXPECT_EQ(taken(), "ab-");
  EXPECT_EQ(taken(), "");
  EXPECT_EQ(sweep("-"), Added::First);
}

TEST_F(KLWriteQueueTest, ALaterWriteTakesTheEarlierOnesPlace) {
  add("u1", "a");
  add("u2", "b");
  EXPECT_EQ(add("u1", "c"), Added::Joined);
  EXPECT_EQ(taken(), "cb");
  add("u1", "d");
  EXPECT_EQ(taken(), "d");
}

TEST_F(KLWriteQueueTest, CellsDifferInEveryPart) {
  queue.addCell({KLDatabaseTable::PlanWindows, 0, "u", "7"}, 1, [] { return true; });
  queue.addCell({KLDatabaseTable::PlanWindows, 1, "u", "7"}, 1, [] { return true; });
  queue.addCell({KLDatabaseTable::PlanWindows, 0, "u", "8"}, 1, [] { return true; });
  queue.addCell({KLDatabaseTable::PlanWindows, 0, "v", "7"}, 1, [] { return true; });
  queue.addCell({KLDatabaseTable::PopupConfig, 0, "u", "7"}, 1, [] { return true; });
  EXPECT_EQ(queue.take().size(), 5u);
}

TEST_F(KLWriteQueueTest, NoWriteMovesPastASweep) {
  add("u1", "a");
  sweep("-");
  add("u1", "b");
  add("u1", "c");
  sweep("-");
  EXPECT_EQ(taken(), "a-c-");
}

TEST_F(KLWriteQueueTest, TooManyWritesAreRefusedAndReplacingStaysPossible) {
  for (std::size_t i = 0; i < KLWriteQueue::kMaxTasks; ++i) EXPECT_NE(add(std::to_string(i), "."), Added::Refused);
  EXPECT_EQ(add("another", "x"), Added::Refused);
  EXPECT_EQ(sweep("x"), Added::Refused);
  EXPECT_EQ(add("0", "."), Added::Joined);
  EXPECT_EQ(taken(), std::string(KLWriteQueue::kMaxTasks, '.'));
  EXPECT_EQ(add("another", "x"), Added::First);
}

TEST_F(KLWriteQueueTest, TooManyBytesAreRefused) {
  EXPECT_EQ(add("u1", "a", KLWriteQueue::kMaxBytes + 1), Added::Refused);
  EXPECT_EQ(add("u1", "a", KLWriteQueue::kMaxBytes), Added::First);
  EXPECT_EQ(add("u2", "b", 1), Added::Refused);
  EXPECT_EQ(add("u1", "c", KLWriteQueue::kMaxBytes - 1), Added::Joined);
  EXPECT_EQ(add("u2", "b", 1), Added::Joined);
  EXPECT_EQ(add("u2", "d", 2), Added::Refused);
  EXPECT_EQ(taken(), "cb");
}

}  // namespace
}  // namespace kaleo
