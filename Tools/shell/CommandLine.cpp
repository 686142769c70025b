#include "shell/CommandLine.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <new>

#include "text/OutputEnd.h"
#include "text/Suggestion.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

constexpr int kSignalled = 128;  ///< and above: a signal ended the command

/// The subcommand that was asked for, or the whole command.
const CLI::App& askedFor(const CLI::App& kaleo) {
  const auto parsed = kaleo.get_subcommands();
  return parsed.empty() ? kaleo : *parsed.front();
}

std::string nameOf(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  return parent == nullptr ? app.get_name() : nameOf(*parent) + " " + app.get_name();
}

/// Names of options, or of subcommands where one is wanted, to find the meant one among.
std::vector<std::string> knownTo(const CLI::App& app, bool options) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      if (options) names.push_back("--" + name);
    }
  }
  for (const CLI::App* subcommand : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!options) names.push_back(subcommand->get_name());
  }
  return names;
}

/// "" when every word was understood.
std::string unknownWord(const CLI::App& app) {
  const auto words = app.remaining();
  if (words.empty()) return "";
  const std::string word = words.front().substr(0, words.front().find('='));
  const bool isOption = word.starts_with('-') && word != "-";
  const auto known = knownTo(app, isOption);
  const auto meant = suggestionFor(word, {known.begin(), known.end()});
  const char* const kind = isOption ? "there is no option" : known.empty() ? "one file too many:" : "there is no command";
  return fmt::format("{} {}{}", kind, word, meant.empty() ? "" : fmt::format("; did you mean {}?", meant));
}

int refuse(const CLI::App& kaleo, const CLI::ParseError& error) {
  const CLI::App& app = askedFor(kaleo);
  std::string reason = unknownWord(app);
  if (reason.empty()) reason = error.what();
  std::cerr << nameOf(app) << ": " << printable(reason) << "\nSee " << nameOf(app) << " --help\n";
  return kWrongCommandLine;
}

int run(const CLI::App& kaleo, std::span<const Command> commands) {
  for (const Command& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  std::cout << kaleo.help();
  return kWrongCommandLine;
}

int runGuarded(const CLI::App& kaleo, std::span<const Command> commands) {
  const std::string name = nameOf(askedFor(kaleo));
  try {
    return run(kaleo, commands);
  } catch (const std::filesystem::filesystem_error& error) {
    std::cerr << fmt::format("{}: {}: {}\n", name, printable(error.path1().string()), error.code().message());
  } catch (const std::bad_alloc&) {
    std::cerr << name << ": there is not enough memory\n";
  } catch (...) {
    std::cerr << name << ": a fault of kaleo itself; please report what you did\n";
  }
  return kFailed;
}

}  // namespace

int runCommandLine(std::span<const CommandMaker> makers, int argc, char** argv) {
  CLI::App kaleo{"Tools for targeted in-app popups.", "kaleo"};
  kaleo.require_subcommand(1);
  kaleo.set_version_flag("--version", KALEO_VERSION);
  kaleo.footer("kaleo COMMAND --help tells more of each.\nExit status: 64 when the command line is wrong; else see each command.");
  std::vector<Command> commands;
  for (const CommandMaker make : makers) commands.push_back(make(kaleo));
  try {
    kaleo.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return refuse(kaleo, error);
    kaleo.exit(error);  // prints the help or the version
    return endOutput(std::cout, std::cerr, nameOf(askedFor(kaleo))) ? 0 : kFailed;
  }
  const int status = runGuarded(kaleo, commands);
  if (status >= kSignalled) return status;  // as when a reader has had enough: no more words
  return endOutput(std::cout, std::cerr, nameOf(askedFor(kaleo))) || status > kFailed ? status : kFailed;
}

}  // namespace kaleo::tools
