#include "options/CommandArguments.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <utility>

namespace kaleo::tools {

Argument& Argument::called(const std::string& value) { return option_->type_name(value), *this; }

Argument& Argument::required() { return option_->required(), *this; }

Argument& Argument::within(double least, double most) {
  return checkedBy([least, most](const std::string& text) {
    double value = least;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = end.ec == std::errc() && end.ptr == text.data() + text.size();
    return isNumber && value >= least && value <= most ? "" : fmt::format("{} is no number from {} to {}", text, least, most);
  });
}

Argument& Argument::oneOf(const std::vector<std::string>& words) {
  checkedBy([words](const std::string& text) {
    const bool isOne = std::ranges::find(words, text) != words.end();
    return isOne ? std::string() : fmt::format("{} is none of {}", text, fmt::join(words, ", "));
  });
  return called(fmt::format("{}", fmt::join(words, "|")));
}

Argument& Argument::checkedBy(std::function<std::string(const std::string&)> fault) {
  return option_->check(CLI::Validator([fault = std::move(fault)](std::string& value) { return fault(value); }, "")), *this;
}

Argument& Argument::excludes(const Argument& other) { return option_->excludes(other.option_), *this; }

bool Argument::isGiven() const { return !option_->empty(); }

CommandArguments::CommandArguments(CLI::App& kaleo, const std::string& name, const std::string& description)
    : app_(kaleo.add_subcommand(name, description)) {
  app_->group("Commands");
}

Argument CommandArguments::add(const std::string& name, std::string& value, const std::string& description) {
  return Argument(app_->add_option(name, value, description));
}

Argument CommandArguments::add(const std::string& name, std::filesystem::path& value, const std::string& description) {
  return Argument(app_->add_option(name, value, description));
}

Argument CommandArguments::add(const std::string& name, double& value, const std::string& description) {
  return Argument(app_->add_option(name, value, description));
}

Argument CommandArguments::add(const std::string& name, int& value, const std::string& description) {
  return Argument(app_->add_option(name, value, description));
}

Argument CommandArguments::add(const std::string& name, std::vector<std::string>& values, const std::string& description) {
  return Argument(app_->add_option(name, values, description));
}

Argument CommandArguments::add(const std::string& name, std::function<void(const std::string&)> take,
                               const std::string& description) {
  return Argument(app_->add_option_function<std::string>(name, take, description));
}

Argument CommandArguments::flag(const std::string& name, bool& isSet, const std::string& description) {
  return Argument(app_->add_flag(name, isSet, description));
}

void CommandArguments::footer(const std::string& text) { app_->footer(text); }

void CommandArguments::refuseWithout(std::function<std::string()> missing) {
  app_->callback([missing = std::move(missing)] {
    if (const std::string name = missing(); !name.empty()) throw CLI::RequiredError(name);
  });
}

}  // namespace kaleo::tools
