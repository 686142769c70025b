#include <memory>

#include "explain/Explanation.h"
#include "kaleo/KLDiagnosis.h"
#include "options/CommandArguments.h"
#include "options/CommonOptions.h"

namespace kaleo::tools {

Command explainCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<ExplanationArguments>();
  CommandArguments app(kaleo, "explain",
                       "Tells why popups showed or did not, from the decisions that an application recorded; changes nothing.");
  addReading(app, *arguments, "DATABASE", std::string(kQuillonDiagnosticDatabaseNameJourneys) + ".sqlite");
  app.add("--plan", arguments->plan, "Shows this plan alone").called("ID");
  app.add("--since", arguments->since, "Leaves out what is older: 2026-11-21, \"2026-11-21 18:00\", or 90m, 36h, 7d ago")
      .called("TIME");
  app.footer(
      "For each user and plan: until when it is held back, what it waits for, which refusals leave no record and how those stand\n"
      "now, and what was recorded, the newest first.\n"
      "\n"
      "Examples:\n"
      "  kaleo explain QuillonDiagnosticJourneys.sqlite --plan 101 --since 7d\n"
      "  kaleo explain journeys.sqlite --user alice --timezone Europe/Paris\n"
      "  kaleo explain journeys.sqlite --key org.kaleo.KLAES --json\n"
      "\n"
      "Exit status: 0, 1 when a part of the file could not be read, 2 when nothing can be told.");
  return app.running([arguments] { return explain(*arguments, standardOutput()); });
}

}  // namespace kaleo::tools
