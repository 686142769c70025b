#include "Corpus.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace kaleo::fuzz {
namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

std::vector<std::string> loadCorpus(const std::vector<std::filesystem::path>& paths, std::size_t maxLength) {
  std::vector<std::string> inputs;
  for (const auto& path : paths) {
    for (const auto& file : filesIn(path)) {
      if (std::filesystem::file_size(file) <= maxLength) inputs.push_back(read(file));
    }
  }
  if (inputs.empty()) inputs.emplace_back();
  return inputs;
}

}  // namespace kaleo::fuzz
