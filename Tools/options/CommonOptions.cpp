#include "options/CommonOptions.h"

#include <fmt/format.h>
#include <unistd.h>

#include <iostream>

#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLSystem.h"
#include "text/TerminalText.h"

namespace kaleo::tools {

void addJSON(CLI::App& app, bool& json, const std::string& description) { app.add_flag("--json", json, description); }

void addTimeZone(CLI::App& app, std::string& zone) {
  app.add_option("--timezone", zone, "IANA name of the user's time zone, such as Europe/Paris; default: the machine's")
      ->type_name("NAME");
}

void addReading(CLI::App& app, ReadingArguments& arguments, const std::string& positional, const std::string& usualName) {
  app.add_option(positional, arguments.file, fmt::format("A {}, also one in use; a -wal file beside it counts", usualName))
      ->type_name("")
      ->required();
  app.add_option("--user", arguments.user, "Shows this user alone, by user id or distinct id")->type_name("ID");
  app.add_option("--key", arguments.key,
                 fmt::format("The application's key file ({}), for an encrypted database", KaleoDataStore::kKeyFileName))
      ->type_name("KEYFILE");
  addTimeZone(app, arguments.timeZone);
  addJSON(app, arguments.json, "Prints one JSON document for programs; times are seconds since 1970");
}

ReadingOutput standardOutput() { return {std::cout, std::cerr, KLSystemClock().now(), wantsColour(STDOUT_FILENO)}; }

}  // namespace kaleo::tools
