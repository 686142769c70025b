#include "shell/CommandLine.h"

int main(int argc, char** argv) {
  using namespace kaleo::tools;
  constexpr CommandMaker kCommands[] = {checkCommand,   completionCommand, explainCommand, inspectCommand, manualCommand,
                                        previewCommand, runCommand,        serveCommand,   simulateCommand};
  return runCommandLine(kCommands, argc, argv);
}
