#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Command.h"
#include "check/CheckReport.h"
#include "check/Checker.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

constexpr int kUnreadable = 3;

struct CheckArguments {
  std::vector<std::string> files;
  double now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  bool json = false;
  bool codes = false;
};

std::optional<std::string> textOf(const std::string& file) {
  if (file == "-") return std::string{std::istreambuf_iterator<char>(std::cin), {}};
  return readWhole(file);
}

int run(const CheckArguments& arguments) {
  if (arguments.codes) {
    writeCodes(std::cout);
    return 0;
  }
  if (arguments.files.empty()) {
    std::cerr << "kaleo check: which file? Give a configuration, a plan, a popup window or a layout; - is standard input.\n";
    return kUnreadable;
  }
  Checker checker(arguments.now);
  bool allRead = true;
  for (const std::string& file : arguments.files) {
    if (const auto text = textOf(file)) {
      checker.check(file == "-" ? "standard input" : file, *text);
    } else {
      std::cerr << fmt::format("kaleo check: {} cannot be read\n", file);
      allRead = false;
    }
  }
  const auto findings = checker.findings().sorted();
  if (arguments.json) {
    writeFindingsAsJSON(findings, std::cout);
  } else if (allRead || !findings.empty()) {
    writeFindings(findings, wantsColour(STDOUT_FILENO), std::cout);
  }
  return allRead ? exitStatus(findings) : kUnreadable;
}

}  // namespace

Command checkCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<CheckArguments>();
  CLI::App* app = kaleo.add_subcommand("check",
                                       "Looks through configurations and layouts before they go live, for what the library reads "
                                       "differently from what was likely meant.");
  app->add_option("files", arguments->files,
                  "Configurations, plans, popup windows or layouts; - is standard input. Layouts that they name are checked, too")
      ->type_name("CONFIG.json");
  app->add_flag("--json", arguments->json, "Prints the findings as one JSON document");
  app->add_option("--at", arguments->now, "The present, in seconds since 1970, for times of expiry; default: now")
      ->type_name("SECONDS");
  app->add_flag("--codes", arguments->codes, "Prints all codes, as Markdown, and ends");
  app->footer("Exit status: 0, or 1 when there are warnings, 2 when there are errors, 3 when a file cannot be read.");
  return {app, [arguments] { return run(*arguments); }};
}

}  // namespace kaleo::tools
