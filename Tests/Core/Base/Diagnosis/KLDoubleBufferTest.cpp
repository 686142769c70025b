#include "Core/Base/Diagnosis/KLDoubleBuffer.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace kaleo::testing {
namespace {

TEST(KLDoubleBufferTest, WhatOneThreadPutsInAnotherTakesOutOnceAndInOrder) {
  constexpr int kCount = 200'000;
  KLDoubleBuffer<std::vector<int>> buffer;
  std::thread filling([&] {
    for (int i = 0; i < kCount; ++i) {
      buffer.fill([i](std::vector<int>& list) {
        list.push_back(i);
        return 0;
      });
    }
  });
  std::vector<int> all;
  while (all.size() < kCount) {
    std::vector<int>& taken = buffer.take();
    all.insert(all.end(), taken.begin(), taken.end());
    taken.clear();
  }
  filling.join();
  for (int i = 0; i < kCount; ++i) ASSERT_EQ(all[static_cast<std::size_t>(i)], i);
}

TEST(KLDoubleBufferTest, AListWhoseFillingFailsIsGivenBack) {
  KLDoubleBuffer<std::vector<int>> buffer;
  const auto fail = [](std::vector<int>& list) -> int {
    list.push_back(1);
    throw std::length_error("");
  };
  EXPECT_THROW(buffer.fill(fail), std::length_error);
  EXPECT_EQ(buffer.take().size(), 1u);
}

}  // namespace
}  // namespace kaleo::testing
