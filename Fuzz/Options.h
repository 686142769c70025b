#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace kaleo::fuzz {

/// What a fuzz target is asked to do. The flags are libFuzzer's, so that one command line serves both engines.
struct Options {
  /// Corpus directories and single inputs. Inputs alone: each is run once, and nothing else.
  std::vector<std::filesystem::path> inputs;
  std::uint64_t seed = 1;                                          ///< -seed=N: the same inputs in the same order
  std::uint64_t runs = std::numeric_limits<std::uint64_t>::max();  ///< -runs=N
  double maxTotalTime = 0;                                         ///< -max_total_time=SECONDS; 0: no end
  std::size_t maxLength = 64 << 10;                                ///< -max_len=BYTES of one input
  double timeout = 2;                                              ///< -timeout=SECONDS of processor time for one input
  std::size_t memoryLimit = 2048;                                  ///< -rss_limit_mb=N
  std::string artifactPrefix;                                      ///< -artifact_prefix=TEXT before a failing input's file name

  /// Nothing for an unknown flag or a path that is not there, which is said on standard error.
  static std::optional<Options> fromArguments(int count, char** arguments);
};

}  // namespace kaleo::fuzz
