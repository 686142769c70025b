#include <iostream>
#include <memory>
#include <string>

#include "Command.h"
#include "shell/Completion.h"
#include "shell/ManualPage.h"

namespace kaleo::tools {

Command completionCommand(CLI::App& kaleo) {
  CLI::App* app =
      kaleo.add_subcommand("completion", "Prints a script that completes kaleo's commands and options in bash and zsh.");
  app->footer(
      "In bash:  source <(kaleo completion)\nIn zsh:   autoload -U bashcompinit && bashcompinit && source <(kaleo completion)");
  return {app, [&kaleo] {
            std::cout << bashCompletion(commandTree(kaleo));
            return 0;
          }};
}

Command manualCommand(CLI::App& kaleo) {
  CLI::App* app = kaleo.add_subcommand("manual", "Prints kaleo's manual page.");
  app->footer("To read it:  kaleo manual | man -l -");
  return {app, [&kaleo] {
            std::cout << manualPage(commandTree(kaleo), KALEO_VERSION);
            return 0;
          }};
}

}  // namespace kaleo::tools
