#include "Command.h"

int main(int argc, char** argv) {
  CLI::App kaleo{"Tools for targeted in-app popups.", "kaleo"};
  kaleo.require_subcommand(1);
  kaleo.set_version_flag("--version", KALEO_VERSION);
  const kaleo::tools::Command commands[] = {
      kaleo::tools::checkCommand(kaleo),   kaleo::tools::completionCommand(kaleo), kaleo::tools::explainCommand(kaleo),
      kaleo::tools::inspectCommand(kaleo), kaleo::tools::manualCommand(kaleo),     kaleo::tools::previewCommand(kaleo),
      kaleo::tools::runCommand(kaleo),     kaleo::tools::serveCommand(kaleo),      kaleo::tools::simulateCommand(kaleo),
  };
  CLI11_PARSE(kaleo, argc, argv);
  for (const auto& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  return 0;
}
