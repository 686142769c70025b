#pragma once

#include <string>

#include "shell/CommandTree.h"

namespace kaleo::tools {

// Scripts that complete subcommands, options, the values of options that have a fixed set, and file names.

/// For bash 4 and later.
std::string bashCompletion(const CommandNode& root);
/// For zsh, sourced or as the file _kaleo on its fpath.
std::string zshCompletion(const CommandNode& root);
/// For fish 3 and later.
std::string fishCompletion(const CommandNode& root);

}  // namespace kaleo::tools
