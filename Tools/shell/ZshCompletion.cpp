#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string_view>

#include "shell/Completion.h"

namespace kaleo::tools {
namespace {

/// `text` as it may stand in a specification of _arguments or _describe within single quotes.
std::string escaped(std::string_view text) {
  std::string safe;
  for (const char c : text) {
    if (c == '\'') {
      safe += "'\\''";
    } else {
      if (c == ':' || c == '[' || c == ']' || c == '\\') safe += '\\';
      safe += c;
    }
  }
  return safe;
}

std::string files(const CommandOption& option) { return option.namesDirectory() ? "_path_files -/" : "_files"; }

/// What follows the names of an option: how it is described, and what completes its value.
std::string specification(const CommandOption& option) {
  std::string text = fmt::format("[{}]", escaped(option.summary()));
  if (option.value.empty()) return text;
  text += fmt::format(":{}:", escaped(option.value));
  if (option.namesFile()) return text + files(option);
  return option.choices.empty() ? text : text + fmt::format("({})", fmt::join(option.choices, " "));
}

std::string argument(const CommandOption& option) {
  if (option.isPositional) {
    return option.choices.empty() ? fmt::format(" '*:{}:{}'", option.names.front(), files(option))
                                  : fmt::format(" '1:{}:({})'", option.names.front(), fmt::join(option.choices, " "));
  }
  std::string text;
  for (const std::string& name : option.names) {
    text += fmt::format(" '({}){}{}'", fmt::join(option.names, " "), name, specification(option));
  }
  return text;
}

std::string arguments(const CommandNode& command) {
  std::string text;
  for (const CommandOption& option : command.options) text += argument(option);
  return text;
}

}  // namespace

std::string zshCompletion(const CommandNode& root) {
  std::string commands, branches;
  for (const CommandNode& command : root.subcommands) {
    commands += fmt::format(" '{}:{}'", command.name, escaped(command.description));
    branches += fmt::format("    {}) _arguments -S{} ;;\n", command.name, arguments(command));
  }
  return fmt::format(R"(#compdef {0}
# Completion of {0} for zsh.
_{0}() {{
  local -a commands=({1})
  if (( CURRENT == 2 )); then
    _describe -t commands command commands
    _arguments{2}
    return
  fi
  shift words
  (( CURRENT-- ))
  case $words[1] in
{3}  esac
}}
if [ "$funcstack[1]" = _{0} ]; then _{0} "$@"; else compdef _{0} {0}; fi
)",
                     root.name, commands, arguments(root), branches);
}

}  // namespace kaleo::tools
