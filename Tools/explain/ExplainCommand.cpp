#include <unistd.h>

#include <iostream>
#include <memory>

#include "Command.h"
#include "explain/Explanation.h"
#include "text/TerminalText.h"

namespace kaleo::tools {

Command explainCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<ExplanationArguments>();
  CLI::App* app = kaleo.add_subcommand(
      "explain", "Tells why popups showed or did not, from the decisions that an application recorded; changes nothing.");
  app->add_option("DATABASE", arguments->file, "A QuillonDiagnosticJourneys.sqlite, also one in use; a -wal file beside it counts")
      ->required();
  app->add_option("--plan", arguments->plan, "Tells of this plan alone")->type_name("ID");
  app->add_option("--user", arguments->user, "Tells of this user alone, by user id or distinct id")->type_name("ID");
  app->add_option("--since", arguments->since, "Leaves out what is older: 2026-11-21, \"2026-11-21 18:00\", or 90m, 36h, 7d ago")
      ->type_name("TIME");
  app->add_option("--key", arguments->key, "The application's key file (org.kaleo.KLAES), for an encrypted database")
      ->type_name("KEYFILE");
  app->add_option("--timezone", arguments->timeZone,
                  "IANA name of the user's time zone, such as Europe/Paris; default: the machine's");
  app->add_flag("--json", arguments->json, "Prints one JSON document for programs; times are seconds since 1970");
  app->footer("Exit status: 0, 1 when a part of the file could not be read, 2 when nothing can be told.");
  return {app, [arguments] {
            return explain(*arguments, {std::cout, std::cerr, KLSystemClock().now(), wantsColour(STDOUT_FILENO)});
          }};
}

}  // namespace kaleo::tools
