#include <iostream>
#include <memory>
#include <string>

#include "Command.h"
#include "shell/Completion.h"
#include "shell/ManualPage.h"

namespace kaleo::tools {

Command completionCommand(CLI::App& kaleo) {
  auto shell = std::make_shared<std::string>("bash");
  CLI::App* app = kaleo.add_subcommand("completion", "Prints a script that completes kaleo's commands and options.");
  app->add_option("SHELL", *shell, "Whose script; default: bash")->check(CLI::IsMember({"bash", "zsh", "fish"}));
  app->footer(
      "In bash:  source <(kaleo completion)\n"
      "In zsh:   source <(kaleo completion zsh)    after compinit\n"
      "In fish:  kaleo completion fish | source");
  return {app, [&kaleo, shell] {
            const CommandNode root = commandTree(kaleo);
            std::cout << (*shell == "zsh" ? zshCompletion(root) : *shell == "fish" ? fishCompletion(root) : bashCompletion(root));
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
