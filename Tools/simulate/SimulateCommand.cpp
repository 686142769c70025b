#include <signal.h>
#include <unistd.h>

#include <iostream>
#include <memory>

#include "options/CommandArguments.h"
#include "options/CommonOptions.h"
#include "simulate/Simulation.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

volatile std::sig_atomic_t received = 0;

/// A signal ends the wait for input and, at the next line, the run, which then tidies up. The second one ends the process; but a
/// pipe that nobody reads any more tells so at every write.
void endOnSignals() {
  struct sigaction action {};
  action.sa_handler = [](int signal) { received = signal; };
  sigaction(SIGPIPE, &action, nullptr);
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

int run(const SimulationArguments& arguments) {
  endOnSignals();
  std::ios::sync_with_stdio(false);
  return simulate(arguments, {std::cout, std::cerr, isatty(STDERR_FILENO) != 0, &received, wantsColour(STDOUT_FILENO)});
}

}  // namespace

Command simulateCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<SimulationArguments>();
  CommandArguments app(
      kaleo, "simulate",
      "Runs recorded events and configurations through the library in virtual time and prints what was decided and why.");
  app.add("--events", arguments->events, "File of JSON lines, in the order in which they happened; - is standard input")
      .called("FILE")
      .required();
  addTimeZone(app, arguments->timeZone);
  app.add("--on-screen", arguments->onScreenSeconds, "How long each popup stays on screen; default: 0").called("SECONDS");
  app.add("--store", arguments->store,
          "File that keeps the state from run to run, unencrypted; what the library keeps in its host's store (the last\n"
          "popup, conversions, the migration's flag) goes to FILE.host beside it. Both are written when the run has ended.\n"
          "Default: nothing is kept")
      .called("FILE");
  app.flag("--summary", arguments->summary, "Prints a table of what became of the events at each plan, instead of the lines");
  app.add("--report", arguments->report,
          "Writes one page of HTML that needs nothing else: what became of each plan, refusals over time, popups and decisions")
      .called("FILE.html");
  app.footer(R"(Each line is an object with "at" (seconds since 1970) and one of
  "config": a server's answer           "convert": {"plan_id": N, "convert_time": TEXT}
  "track": an event record              "user": {"distinct_id": TEXT, "login_id": TEXT, "anonymous_id": TEXT}
In the properties of an event, {"$date": seconds since 1970} is a date.

Examples:
  kaleo simulate --events march.jsonl --summary
  kaleo simulate --events march.jsonl --timezone Europe/Paris --report march.html

Exit status: 0, 1 when lines were refused (see standard error), 2 when nothing can be simulated.)");
  return app.running([arguments] { return run(*arguments); });
}

}  // namespace kaleo::tools
