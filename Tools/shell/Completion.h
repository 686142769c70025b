#pragma once

#include <string>

#include "shell/CommandTree.h"

namespace kaleo::tools {

/// A script for bash, which zsh reads after `autoload -U bashcompinit && bashcompinit`: completes subcommands, options, the values
/// of options that have a fixed set, and file names.
std::string bashCompletion(const CommandNode& root);

}  // namespace kaleo::tools
