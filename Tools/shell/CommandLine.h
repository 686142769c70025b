#pragma once

#include <span>

#include "Command.h"

namespace kaleo::tools {

/// The exit status of a command line that is none of `kaleo` (EX_USAGE of sysexits.h).
inline constexpr int kWrongCommandLine = 64;
/// The exit status where no command has a better one of its own.
inline constexpr int kFailed = 2;

/// One that declares a subcommand, as in Command.h.
using CommandMaker = Command (*)(CLI::App& kaleo);

/// Runs the subcommand that the command line of `kaleo` names and answers the exit status. What is wrong with the line, and what a
/// subcommand did not foresee, is said in one sentence on the standard error.
int runCommandLine(std::span<const CommandMaker> makers, int argc, char** argv);

}  // namespace kaleo::tools
