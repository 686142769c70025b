#include "shell/CommandLine.h"

int main(int argc, char** argv) {
  CLI::App kaleo{"Tools for targeted in-app popups.", "kaleo"};
  kaleo.require_subcommand(1);
  kaleo.set_version_flag("--version", KALEO_VERSION);
  kaleo.footer("kaleo COMMAND --help tells more of each.\nExit status: 64 when the command line is wrong; else see each command.");
  const kaleo::tools::Command commands[] = {
      kaleo::tools::checkCommand(kaleo),   kaleo::tools::completionCommand(kaleo), kaleo::tools::explainCommand(kaleo),
      kaleo::tools::inspectCommand(kaleo), kaleo::tools::manualCommand(kaleo),     kaleo::tools::previewCommand(kaleo),
      kaleo::tools::runCommand(kaleo),     kaleo::tools::serveCommand(kaleo),      kaleo::tools::simulateCommand(kaleo),
  };
  return kaleo::tools::runCommandLine(kaleo, commands, argc, argv);
}
