#include "options/CommonOptions.h"

#include <fmt/format.h>
#include <unistd.h>

#include <iostream>

#include "Core/DataStore/KaleoDataStore.h"
#include "Foundation/KLSystem.h"
#include "text/TerminalText.h"

namespace kaleo::tools {

void addJSON(CommandArguments& app, bool& json, const std::string& description) { app.flag("--json", json, description); }

void addTimeZone(CommandArguments& app, std::string& zone) {
  app.add("--timezone", zone, "IANA name of the user's time zone, such as Europe/Paris; default: the machine's").called("NAME");
}

void addReading(CommandArguments& app, ReadingArguments& arguments, const std::string& positional, const std::string& usualName) {
  app.add(positional, arguments.file, fmt::format("A {}, also one in use; a -wal file beside it counts", usualName))
      .called("")
      .required();
  app.add("--user", arguments.user, "Shows this user alone, by user id or distinct id").called("ID");
  app.add("--key", arguments.key,
          fmt::format("The application's key file ({}), for an encrypted database", KaleoDataStore::kKeyFileName))
      .called("KEYFILE");
  addTimeZone(app, arguments.timeZone);
  addJSON(app, arguments.json, "Prints one JSON document for programs; times are seconds since 1970");
}

ReadingOutput standardOutput() { return {std::cout, std::cerr, KLSystemClock().now(), wantsColour(STDOUT_FILENO)}; }

}  // namespace kaleo::tools
