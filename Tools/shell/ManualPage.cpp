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

/// What holds for every command.
constexpr const char* kRest = R"(.SH EXIT STATUS
64 when the command line is wrong, else as each command says.
.SH ENVIRONMENT
.TP
.B NO_COLOR
Not empty: no colours. Without it there are some, where the output is a terminal.
.TP
.B TERM
"dumb", or not there: no colours either.
.TP
.B TMPDIR
Where copies of the databases that are read stay meanwhile, if not in /dev/shm.
)";

std::string optionEntry(const CommandOption& option) {
  const std::string names = escaped(fmt::format("{}", fmt::join(option.names, ", ")));
  const bool named = option.isPositional || option.value.empty();
  return fmt::format(".TP\n.B {}{}\n{}\n", names, named ? "" : " \\fI" + escaped(option.value) + "\\fR",
                     escaped(option.description));
}

/// An option that must be there, or a positional: "[FILE...]".
std::string synopsisOf(const CommandOption& option) {
  if (!option.isPositional) return fmt::format(" \\fB{}\\fR \\fI{}\\fR", escaped(option.names.back()), escaped(option.value));
  const std::string name = fmt::format("\\fI{}\\fR{}", escaped(option.names.front()), option.isRepeated ? "..." : "");
  return option.isRequired ? " " + name : " [" + name + "]";
}

std::string synopsis(const CommandNode& root, const CommandNode& command) {
  std::string line = fmt::format(".B {} {}\n[options]", root.name, command.name);
  for (const CommandOption& option : command.options) {
    if (option.isPositional || option.isRequired) line += synopsisOf(option);
  }
  return line + "\n.br\n";
}

/// A sentence as it stands after a name: "tools for ..." of "Tools for ....".
std::string asPhrase(std::string sentence) {
  if (sentence.ends_with('.')) sentence.pop_back();
  if (!sentence.empty() && sentence.front() >= 'A' && sentence.front() <= 'Z') sentence.front() += 'a' - 'A';
  return sentence;
}

bool isHelp(const CommandOption& option) { return option.names.back() == "--help"; }

std::string section(const CommandNode& root, const CommandNode& command) {
  std::string text = fmt::format(".SS {} {}\n{}\n", root.name, command.name, escaped(command.description));
  for (const CommandOption& option : command.options) {
    if (!isHelp(option)) text += optionEntry(option);
  }
  if (!command.footer.empty()) text += ".PP\n.nf\n" + escaped(command.footer) + "\n.fi\n";
  return text;
}

}  // namespace

std::string manualPage(const CommandNode& root, const std::string& version) {
  std::string text = fmt::format(".TH {} 1 \"\" \"{} {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n", root.name,
                                 root.name, version, root.name, escaped(asPhrase(root.description)));
  for (const CommandNode& command : root.subcommands) text += synopsis(root, command);
  text += ".SH OPTIONS\n";
  for (const CommandOption& option : root.options) text += optionEntry(option);
  text += ".SH COMMANDS\n";
  for (const CommandNode& command : root.subcommands) text += section(root, command);
  return text + kRest;
}

}  // namespace kaleo::tools
