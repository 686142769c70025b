#pragma once

#include <string>

#include "shell/CommandTree.h"

namespace kaleo::tools {

/// The manual page kaleo(1) in the man macros of roff, see man(7).
std::string manualPage(const CommandNode& root, const std::string& version);

}  // namespace kaleo::tools
