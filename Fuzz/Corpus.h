#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace kaleo::fuzz {

/// The inputs in these files and in the directories among them, those longer than `maxLength` left out; in the order of the paths
/// given, and of the names within a directory. Never empty: without any, the empty input.
std::vector<std::string> loadCorpus(const std::vector<std::filesystem::path>& paths, std::size_t maxLength);

}  // namespace kaleo::fuzz
