#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <random>

namespace kaleo::testing {

/// Runs `program` in a process of its own, with the end of a pipe into which it writes number after number, kills it at a moment of
/// `chance` within its first numbers, and answers the last number that it wrote; `before` when there is none.
template <class Program>
int lastConfirmedBeforeKill(const Program& program, std::mt19937& chance, int before) {
  using Clock = std::chrono::steady_clock;
  const int count = static_cast<int>(chance() % 10);
  const auto delay = std::chrono::microseconds(chance() % 3000);
  int ends[2];
  if (pipe(ends) != 0) return before;
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    program(ends[1]);
    _exit(1);
  }
  close(ends[1]);
  int confirmed = before;
  int number = 0;
  for (int i = 0; i < count && read(ends[0], &number, sizeof number) == sizeof number; ++i) confirmed = number;
  for (const auto end = Clock::now() + delay; Clock::now() < end;) {
  }
  kill(child, SIGKILL);
  while (read(ends[0], &number, sizeof number) == sizeof number) confirmed = number;
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
  return confirmed;
}

}  // namespace kaleo::testing
