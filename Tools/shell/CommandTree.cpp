#include "shell/CommandTree.h"

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

/// "a" and "b" of a type name such as "TEXT:{a,b}".
std::vector<std::string> choicesIn(const std::string& typeName) {
  const auto open = typeName.find(":{");
  const auto close = typeName.find('}', std::min(open, typeName.size()));
  if (open == std::string::npos || close == std::string::npos) return {};
  std::vector<std::string> choices;
  std::istringstream list(typeName.substr(open + 2, close - open - 2));
  for (std::string choice; std::getline(list, choice, ',');) choices.push_back(choice);
  return choices;
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
  return described;
}

}  // namespace

CommandNode commandTree(const CLI::App& app) {
  CommandNode node{app.get_name(), oneLine(app.get_description()), app.get_footer(), {}, {}};
  for (const CLI::Option* option : app.get_options()) node.options.push_back(optionOf(*option));
  for (const CLI::App* subcommand : app.get_subcommands([](const CLI::App*) { return true; })) {
    node.subcommands.push_back(commandTree(*subcommand));
  }
  return node;
}

}  // namespace kaleo::tools
