#include <memory>

#include "Core/DataStore/KaleoDataStore.h"
#include "inspect/Inspection.h"
#include "options/CommandArguments.h"
#include "options/CommonOptions.h"

namespace kaleo::tools {

Command inspectCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<ReadingArguments>();
  CommandArguments app(kaleo, "inspect", "Shows what a user's database holds, and what holds each plan back; changes nothing.");
  addReading(app, *arguments, "FILE", KaleoDataStore::kDatabaseFileName);
  app.footer(
      "Examples:\n"
      "  kaleo inspect Kaleo_Popup.sqlite --timezone Europe/Paris\n"
      "  kaleo inspect state.sqlite --key org.kaleo.KLAES --user alice --json\n"
      "\n"
      "Exit status: 0, 1 when a part of the file could not be read, 2 when nothing can be shown.");
  return app.running([arguments] { return inspect(*arguments, standardOutput()); });
}

}  // namespace kaleo::tools
