#include "shell/ManualPage.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace kaleo::tools {
namespace {

/// `text` with what roff would take for a command escaped.
std::string escaped(const std::string& text) {
  std::string safe;
  bool atStart = true;
  for (const char c : text) {
    if (atStart && (c == '.' || c == '\'')) safe += "\\&";
    if (c == '\\') {
      safe += "\\e";
    } else if (c == '-') {
      safe += "\\-";
    } else {
      safe += c;
    }
    atStart = c == '\n';
  }
  return safe;
}

std::string optionEntry(const CommandOption& option) {
  const std::string names = escaped(fmt::format("{}", fmt::join(option.names, ", ")));
  const bool named = option.isPositional || option.value.empty();
  return fmt::format(".TP\n.B {}{}\n{}\n", names, named ? "" : " \\fI" + escaped(option.value) + "\\fR",
                     escaped(option.description));
}

std::string synopsis(const CommandNode& root, const CommandNode& command) {
  std::string line = fmt::format(".B {} {}\n[options]", root.name, command.name);
  for (const CommandOption& option : command.options) {
    if (option.isPositional) line += fmt::format(" \\fI{}\\fR", escaped(option.names.front()));
  }
  return line + "\n.br\n";
}

std::string section(const CommandNode& root, const CommandNode& command) {
  std::string text = fmt::format(".SS {} {}\n{}\n", root.name, command.name, escaped(command.description));
  for (const CommandOption& option : command.options) text += optionEntry(option);
  if (!command.footer.empty()) text += ".PP\n.nf\n" + escaped(command.footer) + "\n.fi\n";
  return text;
}

}  // namespace

std::string manualPage(const CommandNode& root, const std::string& version) {
  std::string text = fmt::format(".TH {} 1 \"\" \"{} {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n", root.name,
                                 root.name, version, root.name, escaped(root.description));
  for (const CommandNode& command : root.subcommands) text += synopsis(root, command);
  text += ".SH COMMANDS\n";
  for (const CommandNode& command : root.subcommands) text += section(root, command);
  return text;
}

}  // namespace kaleo::tools
