#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/KLImageDecoder.h"

namespace kaleo::testing {

/// Public suites of odd and broken pictures, as scripts/fetch_picture_suites leaves them.
namespace PictureSuites {

/// $KALEO_PICTURE_SUITES, else where the script puts them.
std::filesystem::path directory();

/// The suite's files with that extension (such as ".png"), in the order of their names. None: the suite is not there.
std::vector<std::filesystem::path> filesOf(const std::string& suite, const std::string& extension);

/// The path below the directory of all suites, for messages and lists.
std::string nameOf(const std::filesystem::path& file);

KLBytes bytesOf(const std::filesystem::path& file);

}  // namespace PictureSuites

/// Ends a test whose suite is not at hand.
#define KALEO_REQUIRE_SUITE(suite)                                                                                       \
  if (!std::filesystem::is_directory(kaleo::testing::PictureSuites::directory() / (suite)))                              \
  GTEST_SKIP() << "the pictures of " << (suite) << " are not in " << kaleo::testing::PictureSuites::directory().string() \
               << "; scripts/fetch_picture_suites fetches them"

}  // namespace kaleo::testing
