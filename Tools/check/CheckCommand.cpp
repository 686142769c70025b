#include <fmt/format.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Foundation/KLSystem.h"
#include "check/CheckReport.h"
#include "check/Checker.h"
#include "files/FileReading.h"
#include "options/CommandArguments.h"
#include "options/CommonOptions.h"
#include "text/TerminalText.h"
#include "text/TimeText.h"

namespace kaleo::tools {
namespace {

constexpr int kUnreadable = 3;

struct CheckArguments {
  std::vector<std::string> files;
  std::string at;  ///< the time to check for; empty: now
  bool json = false;
  bool codes = false;
};

int fail(const std::string& reason) {
  std::cerr << "kaleo check: " << printable(reason) << '\n';
  return kUnreadable;
}

int check(const CheckArguments& arguments) {
  const KLCalendar calendar("", KLWeekday::Monday);
  const double now = KLSystemClock().now();
  const auto time = arguments.at.empty() ? std::optional(now) : instantFrom(arguments.at, calendar, now);
  if (!time) return fail(fmt::format("--at {}: {}", arguments.at, kTimesAre));
  Checker checker(*time);
  bool allRead = true;
  std::set<std::string> seen;
  for (const std::string& file : arguments.files) {
    if (!seen.insert(file).second) continue;
    std::string error;
    const bool isStandardInput = file == kStandardInput;
    if (const auto text = readText(isStandardInput ? "/dev/stdin" : file, error)) {
      checker.check(isStandardInput ? "standard input" : file, *text);
    } else {
      fail(fmt::format("{} {}", file, error));
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

int run(const CheckArguments& arguments) {
  if (!arguments.codes) return check(arguments);
  writeCodes(std::cout);
  return 0;
}

}  // namespace

Command checkCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<CheckArguments>();
  CommandArguments app(kaleo, "check",
                       "Looks through configurations and layouts before they go live, for what the library reads "
                       "differently from what was likely meant.");
  Argument files =
      app.add("FILE", arguments->files,
              "Configurations, plans, popup windows or layouts; - is standard input. Layouts that they name are checked, too");
  files.called("");
  app.add("--at", arguments->at, "The time of going live, such as 2026-11-21 or \"2026-11-21 18:00\"; default: now").called("TIME");
  addJSON(app, arguments->json, "Prints the findings as one JSON document for programs");
  Argument codes = app.flag("--codes", arguments->codes, "Prints all codes, as Markdown, and ends").excludes(files);
  app.refuseWithout([files, codes] {
    return files.isGiven() || codes.isGiven() ? "" : "FILE (a configuration, a plan, a popup window or a layout)";
  });
  app.footer(
      "Examples:\n"
      "  kaleo check user_popup_configs.json layouts/*.json\n"
      "  kaleo check --at \"2026-11-21 18:00\" user_popup_configs.json\n"
      "\n"
      "Exit status: 0, or 1 when there are warnings, 2 when there are errors, 3 when a file cannot be read.");
  return app.running([arguments] { return run(*arguments); });
}

}  // namespace kaleo::tools
