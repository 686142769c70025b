#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace kaleo::tools {

/// A subcommand of `kaleo`: each has a file of its own, which declares it by `CommandArguments`, and is listed in main.cpp.
struct Command {
  CLI::App* app;             ///< owned by the application that it was added to
  std::function<int()> run;  ///< after parsing; answers the exit code
};

/// `kaleo check FILE...`: what the library reads differently from what was likely meant.
Command checkCommand(CLI::App& kaleo);
/// `kaleo completion`: a script for the shell.
Command completionCommand(CLI::App& kaleo);
/// `kaleo explain DATABASE`: why popups showed or did not.
Command explainCommand(CLI::App& kaleo);
/// `kaleo inspect FILE`: what a user's database holds.
Command inspectCommand(CLI::App& kaleo);
/// `kaleo manual`: the manual page.
Command manualCommand(CLI::App& kaleo);
/// `kaleo preview LAYOUT`: a popup's layout in a window, as a picture, or as frames.
Command previewCommand(CLI::App& kaleo);
/// `kaleo serve DIR`: a popup server over plain files.
Command serveCommand(CLI::App& kaleo);
/// `kaleo simulate`: recorded events through the library, in virtual time.
Command simulateCommand(CLI::App& kaleo);
/// `kaleo run`: the whole library in the terminal, in real time.
Command runCommand(CLI::App& kaleo);

}  // namespace kaleo::tools
