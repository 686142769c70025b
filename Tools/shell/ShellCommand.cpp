#include <iostream>
#include <memory>
#include <string>

#include "options/CommandArguments.h"
#include "shell/Completion.h"
#include "shell/ManualPage.h"

namespace kaleo::tools {

Command completionCommand(CLI::App& kaleo) {
  auto shell = std::make_shared<std::string>("bash");
  CommandArguments app(kaleo, "completion", "Prints a script that completes kaleo's commands and options.");
  app.add("SHELL", *shell, "Whose script; default: bash").oneOf({"bash", "zsh", "fish"});
  app.footer(
      "In bash:  source <(kaleo completion)\n"
      "In zsh:   source <(kaleo completion zsh)    after compinit\n"
      "In fish:  kaleo completion fish | source");
  return app.running([&kaleo, shell] {
    const CommandNode root = commandTree(kaleo);
    std::cout << (*shell == "zsh" ? zshCompletion(root) : *shell == "fish" ? fishCompletion(root) : bashCompletion(root));
    return 0;
  });
}

Command manualCommand(CLI::App& kaleo) {
  CommandArguments app(kaleo, "manual", "Prints kaleo's manual page.");
  app.footer("To read it:  kaleo manual | man -l -");
  return app.running([&kaleo] {
    std::cout << manualPage(commandTree(kaleo), KALEO_VERSION);
    return 0;
  });
}

}  // namespace kaleo::tools
