#include <unistd.h>

#include <iostream>
#include <memory>

#include "Command.h"
#include "Foundation/KLSystem.h"
#include "inspect/Inspection.h"
#include "text/TerminalText.h"

namespace kaleo::tools {

Command inspectCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<ReadingArguments>();
  CLI::App* app =
      kaleo.add_subcommand("inspect", "Shows what a user's database holds, and what holds each plan back; changes nothing.");
  app->add_option("FILE", arguments->file, "A Kaleo_Popup.sqlite, also one in use; a -wal file beside it counts")->required();
  app->add_option("--key", arguments->key, "The application's key file (org.kaleo.KLAES), for an encrypted database")
      ->type_name("KEYFILE");
  app->add_option("--user", arguments->user, "Shows this user alone, by user id or distinct id")->type_name("ID");
  app->add_option("--timezone", arguments->timeZone,
                  "IANA name of the user's time zone, such as Europe/Paris; default: the machine's");
  app->add_flag("--json", arguments->json, "Prints one JSON document for programs; times are seconds since 1970");
  app->footer("Exit status: 0, 1 when a part of the file could not be read, 2 when nothing can be shown.");
  return {app, [arguments] {
            return inspect(*arguments, {std::cout, std::cerr, KLSystemClock().now(), wantsColour(STDOUT_FILENO)});
          }};
}

}  // namespace kaleo::tools
