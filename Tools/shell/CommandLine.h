#pragma once

#include <span>

#include "Command.h"

namespace kaleo::tools {

/// The exit status of a command line that is none of `kaleo` (EX_USAGE of sysexits.h).
inline constexpr int kWrongCommandLine = 64;
/// The exit status where no command has a better one of its own.
inline constexpr int kFailed = 2;

/// Runs the subcommand that the command line names and answers the exit status. What is wrong with the line, and what a subcommand
/// did not foresee, is said in one sentence on the standard error.
int runCommandLine(CLI::App& kaleo, std::span<const Command> commands, int argc, char** argv);

}  // namespace kaleo::tools
