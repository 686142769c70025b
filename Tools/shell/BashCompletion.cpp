#include "shell/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace kaleo::tools {
namespace {

std::string optionNames(const CommandNode& command) {
  std::vector<std::string> names;
  for (const CommandOption& option : command.options) {
    if (!option.isPositional) names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return fmt::format("{}", fmt::join(names, " "));
}

/// One branch for each option whose values are known, and one for those that take any other value.
std::string valueBranches(const CommandNode& command) {
  std::string branches;
  for (const CommandOption& option : command.options) {
    if (option.isPositional || option.choices.empty()) continue;
    branches += fmt::format("        {}) COMPREPLY=($(compgen -W \"{}\" -- \"$word\")); return ;;\n", fmt::join(option.names, "|"),
                            fmt::join(option.choices, " "));
  }
  return branches;
}

std::string commandBranch(const CommandNode& command) {
  const std::string values = valueBranches(command);
  return fmt::format("    {})\n{}      options=\"{}\" ;;\n", command.name,
                     values.empty() ? "" : fmt::format("      case \"$before\" in\n{}      esac\n", values), optionNames(command));
}

std::string positionalChoices(const CommandNode& command) {
  for (const CommandOption& option : command.options) {
    if (option.isPositional && !option.choices.empty()) return fmt::format("{}", fmt::join(option.choices, " "));
  }
  return "";
}

}  // namespace

std::string bashCompletion(const CommandNode& root) {
  std::vector<std::string> names;
  std::string branches, words;
  for (const CommandNode& command : root.subcommands) {
    names.push_back(command.name);
    branches += commandBranch(command);
    const std::string choices = positionalChoices(command);
    if (!choices.empty())
      words += fmt::format("    {}) COMPREPLY=($(compgen -W \"{}\" -- \"$word\")); return ;;\n", command.name, choices);
  }
  return fmt::format(R"(# Completion of {0} for bash.
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
{4}    *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  esac
}}
complete -o filenames -F _{0} {0}
)",
                     root.name, fmt::join(names, " "), optionNames(root), branches, words);
}

}  // namespace kaleo::tools
