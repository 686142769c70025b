#include "shell/CommandTree.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace kaleo::tools {
namespace {

std::string oneLine(const std::string& text) {
  std::istringstream words(text);
  std::string line, word;
  while (words >> word) line += (line.empty() ? "" : " ") + word;
  return line;
}

std::vector<std::string> partsOf(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream list(text);
  for (std::string part; std::getline(list, part, separator);) parts.push_back(part);
  return parts;
}

/// "a" and "b" of "a|b"; what stands for any value, such as FILE, begins with a capital letter.
std::vector<std::string> choicesIn(const std::string& value) {
  return value.empty() || value.front() < 'a' ? std::vector<std::string>() : partsOf(value, '|');
}

CommandOption optionOf(const CLI::Option& option) {
  CommandOption described;
  described.isPositional = option.get_positional();
  if (described.isPositional) {
    described.names = {option.get_single_name()};
  } else {
    for (const std::string& name : option.get_snames()) described.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) described.names.push_back("--" + name);
  }
  const bool isFlag = option.get_items_expected_max() == 0;
  const std::string typeName = option.get_type_name();
  described.choices = choicesIn(typeName);
  if (!isFlag) described.value = typeName.substr(0, typeName.find(':'));
  described.description = oneLine(option.get_description());
  described.isRequired = option.get_required();
  described.isRepeated = option.get_items_expected_max() > 1;
  return described;
}

}  // namespace

bool CommandOption::namesFile() const {
  return choices.empty() && (isPositional || namesDirectory() || value.find("FILE") != std::string::npos);
}

bool CommandOption::namesDirectory() const { return (isPositional ? names.front() : value) == "DIR"; }

CommandNode commandTree(const CLI::App& app) {
  CommandNode node{app.get_name(), oneLine(app.get_description()), app.get_footer(), {}, {}};
  for (const CLI::Option* option : app.get_options()) node.options.push_back(optionOf(*option));
  for (const CLI::App* subcommand : app.get_subcommands([](const CLI::App*) { return true; })) {
    node.subcommands.push_back(commandTree(*subcommand));
  }
  return node;
}

}  // namespace kaleo::tools
