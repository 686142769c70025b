#pragma once

#include <filesystem>
#include <string>

#include "run/RunDelegates.h"

namespace kaleo::tools {

/// What `kaleo run` is asked for.
struct RunArguments {
  std::string server;          ///< base URL
  std::filesystem::path data;  ///< keeps the state; empty: nothing is kept
  std::string project = "default";
  std::string user = "terminal-user";  ///< distinct id
  bool encrypt = false;
  DelegateMode delegate = DelegateMode::Full;
  bool log = false;
};

/// The exit statuses. A signal ends the command with 128 and its number.
inline constexpr int kRan = 0;
inline constexpr int kSomeCommandsBad = 1;
inline constexpr int kCannotRun = 2;

/// Runs the library until the standard input ends; answers the exit status.
int run(const RunArguments& arguments);

}  // namespace kaleo::tools
