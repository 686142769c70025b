#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kaleo::tools {

/// An option, flag or file of a command, as the help shows it.
struct CommandOption {
  std::vector<std::string> names;  ///< with their dashes, the longest last; of a positional its name
  std::string value;               ///< such as FILE; empty for a flag
  std::string description;         ///< one line
  bool isPositional = false;
  bool isRequired = false;
  bool isRepeated = false;           ///< it takes several values
  std::vector<std::string> choices;  ///< the only values; empty when any will do

  /// Whether its value is a file or a directory.
  bool namesFile() const;
  bool namesDirectory() const;
  /// The description's first part, as far as it fits beside a name.
  std::string summary() const { return description.substr(0, std::min(description.find("; "), description.find(". "))); }
};

/// A command with its options, taken from the parser, so that help, completion and manual say the same.
struct CommandNode {
  std::string name;
  std::string description;
  std::string footer;
  std::vector<CommandOption> options;
  std::vector<CommandNode> subcommands;
};

CommandNode commandTree(const CLI::App& app);

}  // namespace kaleo::tools
