#include <memory>

#include "Command.h"
#include "explain/Explanation.h"
#include "kaleo/KLDiagnosis.h"
#include "options/CommonOptions.h"

namespace kaleo::tools {

Command explainCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<ExplanationArguments>();
  CLI::App* app = kaleo.add_subcommand(
      "explain", "Tells why popups showed or did not, from the decisions that an application recorded; changes nothing.");
  addReading(*app, *arguments, "DATABASE", std::string(kQuillonDiagnosticDatabaseNameJourneys) + ".sqlite");
  app->add_option("--plan", arguments->plan, "Shows this plan alone")->type_name("ID");
  app->add_option("--since", arguments->since, "Leaves out what is older: 2026-11-21, \"2026-11-21 18:00\", or 90m, 36h, 7d ago")
      ->type_name("TIME");
  app->footer("Exit status: 0, 1 when a part of the file could not be read, 2 when nothing can be told.");
  return {app, [arguments] { return explain(*arguments, standardOutput()); }};
}

}  // namespace kaleo::tools
