#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Command.h"

namespace CLI {
class Option;
}

namespace kaleo::tools {

/// An option, flag or file just declared, to say more of it.
class Argument {
 public:
  explicit Argument(CLI::Option* option) : option_(option) {}

  /// What stands for its value in the help, in capital letters: FILE, TIME; empty where the positional's name says it.
  Argument& called(const std::string& value);
  Argument& required();
  Argument& within(double least, double most);
  /// The words that it takes, in small letters.
  Argument& oneOf(const std::vector<std::string>& words);
  /// `fault` answers what is wrong with a value, nothing when it is right.
  Argument& checkedBy(std::function<std::string(const std::string& value)> fault);
  Argument& excludes(const Argument& other);
  /// After parsing.
  bool isGiven() const;

 private:
  CLI::Option* option_;  ///< owned by its command
};

/// Declares a subcommand and what it takes. Names begin with their dashes, and one without is a positional. Each value goes to the
/// variable given, which outlives the parsing and keeps its content when the option is not there.
///
/// It stands before the argument library, whose templates are as costly to compile as many a floor of the library.
class CommandArguments {
 public:
  CommandArguments(CLI::App& kaleo, const std::string& name, const std::string& description);

  Argument add(const std::string& name, std::string& value, const std::string& description);
  Argument add(const std::string& name, std::filesystem::path& value, const std::string& description);
  Argument add(const std::string& name, double& value, const std::string& description);
  Argument add(const std::string& name, int& value, const std::string& description);
  Argument add(const std::string& name, std::vector<std::string>& values, const std::string& description);
  /// Hands each value over.
  Argument add(const std::string& name, std::function<void(const std::string& value)> take, const std::string& description);
  Argument flag(const std::string& name, bool& isSet, const std::string& description);
  /// What the help says after the options.
  void footer(const std::string& text);
  /// Refuses a command line for want of what `missing` names; it names nothing when all is there.
  void refuseWithout(std::function<std::string()> missing);

  Command running(std::function<int()> run) { return {app_, std::move(run)}; }

 private:
  CLI::App* app_;  ///< owned by the application that it was added to
};

}  // namespace kaleo::tools
