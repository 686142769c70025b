#include "shell/CommandLine.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <new>
#include <string_view>

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

/// The one of `known` that `word` is a misspelling or, failing that, a part of: --zone of --timezone, --plan-id of --plan.
std::string meantBy(std::string_view word, const std::vector<std::string>& known) {
  constexpr std::size_t kFewestLetters = 3;
  if (const auto near = suggestionFor(word, {known.begin(), known.end()}); !near.empty()) return std::string(near);
  const auto bare = [](std::string_view name) { return name.substr(std::min(name.find_first_not_of('-'), name.size())); };
  if (bare(word).size() < kFewestLetters) return "";
  std::vector<std::string> found;
  for (const std::string& name : known) {
    const bool isPart = name.find(bare(word)) != std::string::npos || bare(word).starts_with(bare(name));
    if (isPart) found.push_back(name);
  }
  return found.size() == 1 ? found.front() : "";
}

/// "" when every word was understood.
std::string unknownWord(const CLI::App& app) {
  const auto words = app.remaining();
  if (words.empty()) return "";
  const std::string word = words.front().substr(0, words.front().find('='));
  const bool isOption = word.starts_with('-') && word != "-";
  const auto known = knownTo(app, isOption);
  const std::string meant = meantBy(word, known);
  const char* const kind = isOption ? "there is no option" : known.empty() ? "one file too many:" : "there is no command";
  return fmt::format("{} {}{}", kind, word, meant.empty() ? "" : fmt::format("; did you mean {}?", meant));
}

/// What the argument library says of an option's values, in our words: "--plan: 1 required ID missing".
std::string inOurWords(const CLI::ParseError& error) {
  const std::string text = error.what();
  const auto end = text.find(": ");
  if (end == std::string::npos || error.get_name() != "ArgumentMismatch") return text;
  const std::string option = text.substr(0, end), rest = text.substr(end + 2);
  constexpr std::string_view kOneMissing = "1 required ", kMissing = " missing";
  if (rest.starts_with(kOneMissing) && rest.ends_with(kMissing)) {
    const std::string value = rest.substr(kOneMissing.size(), rest.size() - kOneMissing.size() - kMissing.size());
    return fmt::format("{} needs a value: {} {}", option, option, value);
  }
  return rest.starts_with("At Most 1 ") ? option + " is given more than once" : text;
}

int refuse(const CLI::App& kaleo, const CLI::ParseError& error) {
  const CLI::App& app = askedFor(kaleo);
  std::string reason = unknownWord(app);
  if (reason.empty()) reason = inOurWords(error);
  std::cerr << nameOf(app) << ": " << printable(reason) << "\nSee " << nameOf(app) << " --help\n";
  return kWrongCommandLine;
}

int run(std::span<const Command> commands) {
  const auto asked = std::ranges::find_if(commands, [](const Command& command) { return command.app->parsed(); });
  return asked == commands.end() ? kWrongCommandLine : asked->run();
}

/// The words of the command line, the last first, as the parser takes them. "help COMMAND" is "COMMAND --help".
std::vector<std::string> wordsOf(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  if (!words.empty() && words.front() == "help") {
    words.erase(words.begin());
    words.insert(words.begin() + std::min<std::ptrdiff_t>(1, std::ssize(words)), "--help");
  }
  std::ranges::reverse(words);
  return words;
}

/// How the help names things.
void nameParts(CLI::App& kaleo) {
  kaleo.set_help_flag("-h,--help", "Prints this help");  // before there are commands, which take it over
  const auto& formatter = kaleo.get_formatter();
  formatter->label("SUBCOMMAND", "COMMAND");
  formatter->label("Positionals", "Arguments");
  formatter->label("REQUIRED", "(required)");
  formatter->label("Excludes", "not with");
}

int runGuarded(const CLI::App& kaleo, std::span<const Command> commands) {
  const std::string name = nameOf(askedFor(kaleo));
  try {
    return run(commands);
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
  nameParts(kaleo);
  kaleo.set_version_flag("--version", KALEO_VERSION, "Prints the version");
  kaleo.footer(
      "kaleo help COMMAND, or kaleo COMMAND --help, tells more of each.\nExit status: 64 when the command line is wrong; else see "
      "each command.");
  std::vector<Command> commands;
  for (const CommandMaker make : makers) commands.push_back(make(kaleo));
  if (argc < 2) {
    std::cerr << kaleo.help();
    return kWrongCommandLine;
  }
  try {
    kaleo.parse(wordsOf(argc, argv));
  } catch (const CLI::ParseError& error) {
    const bool isOfNoCommand = &askedFor(kaleo) == &kaleo && !unknownWord(kaleo).empty();  // with --help beside it
    if (error.get_exit_code() != 0 || isOfNoCommand) return refuse(kaleo, error);
    kaleo.exit(error);  // prints the help or the version
    return endOutput(std::cout, std::cerr, nameOf(askedFor(kaleo))) ? 0 : kFailed;
  }
  const int status = runGuarded(kaleo, commands);
  if (status >= kSignalled) return status;  // as when a reader has had enough: no more words
  return endOutput(std::cout, std::cerr, nameOf(askedFor(kaleo))) || status > kFailed ? status : kFailed;
}

}  // namespace kaleo::tools
