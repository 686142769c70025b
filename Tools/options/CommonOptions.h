#pragma once

#include <string>

#include "database/DatabaseReading.h"
#include "options/CommandArguments.h"

namespace kaleo::tools {

// Options that several subcommands have, with the same name, value and meaning in each.

/// --json: one document for programs.
void addJSON(CommandArguments& app, bool& json, const std::string& description);
/// --timezone NAME: `zone` stays empty for the machine's.
void addTimeZone(CommandArguments& app, std::string& zone);
/// What each that reads a user's database has: the file itself, --user, --key, --timezone and --json. `positional`: what the help
/// calls the file; `usualName`: what it is called where the library makes it.
void addReading(CommandArguments& app, ReadingArguments& arguments, const std::string& positional, const std::string& usualName);
/// The process's own streams and time.
ReadingOutput standardOutput();

}  // namespace kaleo::tools
