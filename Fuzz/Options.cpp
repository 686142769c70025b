#include "Options.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string_view>

namespace kaleo::fuzz {
namespace {

using Setter = std::function<void(Options&, const char* value)>;

const std::map<std::string_view, Setter>& flags() {
  static const std::map<std::string_view, Setter> table{
      {"seed", [](Options& options, const char* value) { options.seed = std::strtoull(value, nullptr, 10); }},
      {"runs", [](Options& options, const char* value) { options.runs = std::strtoull(value, nullptr, 10); }},
      {"max_total_time", [](Options& options, const char* value) { options.maxTotalTime = std::atof(value); }},
      {"max_len", [](Options& options, const char* value) { options.maxLength = std::strtoull(value, nullptr, 10); }},
      {"timeout", [](Options& options, const char* value) { options.timeout = std::atof(value); }},
      {"rss_limit_mb", [](Options& options, const char* value) { options.memoryLimit = std::strtoull(value, nullptr, 10); }},
      {"artifact_prefix", [](Options& options, const char* value) { options.artifactPrefix = value; }},
  };
  return table;
}

bool readFlag(Options& options, const std::string& argument) {
  const std::size_t equals = argument.find('=');
  if (equals == std::string::npos) return false;
  const auto flag = flags().find(std::string_view(argument).substr(1, equals - 1));
  if (flag == flags().end()) return false;
  flag->second(options, argument.c_str() + equals + 1);
  return true;
}

bool readArgument(Options& options, const std::string& argument) {
  if (argument.starts_with('-')) return readFlag(options, argument);
  options.inputs.emplace_back(argument);
  return std::filesystem::exists(argument);
}

}  // namespace

std::optional<Options> Options::fromArguments(int count, char** arguments) {
  Options options;
  for (int index = 1; index < count; ++index) {
    if (readArgument(options, arguments[index])) continue;
    std::fprintf(stderr, "fuzz: no such flag or file: %s\n", arguments[index]);
    return std::nullopt;
  }
  return options;
}

}  // namespace kaleo::fuzz
