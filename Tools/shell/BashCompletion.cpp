#include "shell/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace kaleo::tools {
namespace {

std::string optionNames(const CommandNode& command) {
  std::vector<std::string> names;
  for (const CommandOption& option : command.options) {
    if (!option.isPositional) names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return fmt::format("{}", fmt::join(names, " "));
}

/// The shell's function that completes files, or directories.
constexpr const char* kPaths = "_kaleo_paths";

/// What completes the value of an option or a positional.
std::string values(const CommandOption& option) {
  if (!option.choices.empty()) {
    return fmt::format("COMPREPLY=($(compgen -W \"{}\" -- \"$word\"))", fmt::join(option.choices, " "));
  }
  if (!option.namesFile()) return ":";
  return fmt::format("{} {}", kPaths, option.namesDirectory() ? "-d" : "-f");
}

/// One branch for each option that takes a value.
std::string valueBranches(const CommandNode& command) {
  std::string branches;
  for (const CommandOption& option : command.options) {
    if (option.isPositional || option.value.empty()) continue;
    branches += fmt::format("        {}) {}; return ;;\n", fmt::join(option.names, "|"), values(option));
  }
  return branches;
}

std::string commandBranch(const CommandNode& command) {
  const std::string values = valueBranches(command);
  return fmt::format("    {})\n{}      options=\"{}\" ;;\n", command.name,
                     values.empty() ? "" : fmt::format("      case \"$before\" in\n{}      esac\n", values), optionNames(command));
}

/// What completes a word that is no option's.
std::string positionalBranch(const CommandNode& command) {
  const auto positional = std::ranges::find_if(command.options, &CommandOption::isPositional);
  return positional == command.options.end() ? "" : fmt::format("    {}) {} ;;\n", command.name, values(*positional));
}

}  // namespace

std::string bashCompletion(const CommandNode& root) {
  std::vector<std::string> names;
  std::string branches, words;
  for (const CommandNode& command : root.subcommands) {
    names.push_back(command.name);
    branches += commandBranch(command);
    words += positionalBranch(command);
  }
  return fmt::format(R"(# Completion of {0} for bash.
{5}() {{
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "$1" -- "$word")
}}
_{0}() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD-1]}} options=""
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    COMPREPLY=($(compgen -W "{1} {2}" -- "$word"))
    return
  fi
  case "${{COMP_WORDS[1]}}" in
{3}  esac
  case "$word" in
    -*) COMPREPLY=($(compgen -W "$options" -- "$word")); return ;;
  esac
  case "${{COMP_WORDS[1]}}" in
{4}  esac
}}
complete -F _{0} {0}
)",
                     root.name, fmt::join(names, " "), optionNames(root), branches, words, kPaths);
}

}  // namespace kaleo::tools
