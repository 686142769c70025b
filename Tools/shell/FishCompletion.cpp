#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string_view>

#include "shell/Completion.h"

namespace kaleo::tools {
namespace {

/// `text` within single quotes.
std::string singleQuoted(std::string_view text) {
  std::string safe = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') safe += '\\';
    safe += c;
  }
  return safe + "'";
}

/// What completes the value of an option, or a positional.
std::string values(const CommandOption& option) {
  if (option.namesDirectory()) return std::string(option.isPositional ? "" : " -r -f") + " -a '(__fish_complete_directories)'";
  if (option.namesFile()) return option.isPositional ? " -F" : " -r -F";
  if (!option.choices.empty()) return fmt::format(" -x -a {}", singleQuoted(fmt::format("{}", fmt::join(option.choices, " "))));
  return option.value.empty() ? "" : " -x";
}

std::string lines(const CommandNode& command, const std::string& start) {
  std::string text;
  for (const CommandOption& option : command.options) {
    text += start;
    if (!option.isPositional) {
      for (const std::string& name : option.names) {
        text += name.starts_with("--") ? fmt::format(" -l {}", name.substr(2)) : fmt::format(" -s {}", name.substr(1));
      }
      text += " -d " + singleQuoted(option.summary());
    }
    text += values(option) + "\n";
  }
  return text;
}

}  // namespace

std::string fishCompletion(const CommandNode& root) {
  const std::string start = "complete -c " + root.name;
  std::string text = fmt::format("# Completion of {} for fish.\n{} -f\n", root.name, start);
  text += lines(root, start + " -n __fish_use_subcommand");
  for (const CommandNode& command : root.subcommands) {
    text += fmt::format("{} -n __fish_use_subcommand -a {} -d {}\n", start, command.name, singleQuoted(command.description));
    text += lines(command, fmt::format("{} -n '__fish_seen_subcommand_from {}'", start, command.name));
  }
  return text;
}

}  // namespace kaleo::tools
