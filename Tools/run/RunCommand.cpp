#include <map>
#include <memory>
#include <string>

#include "options/CommandArguments.h"
#include "run/RunArguments.h"

namespace kaleo::tools {
namespace {

const std::map<std::string, DelegateMode> kDelegateModes = {
    {"full", DelegateMode::Full}, {"refuse", DelegateMode::Refuse}, {"none", DelegateMode::None}};

constexpr const char* kFooter = R"(Each line of the standard input is a command, carried out as it comes:
  {"track": {"event": TEXT, "properties": {...}, ...}}   the host tracks an event; what the record lacks of
                                                         "distinct_id", "login_id", "anonymous_id", "time" and
                                                         "_track_id" is added; {"$date": seconds since 1970}
                                                         in the properties is a date
  {"user": {"distinct_id": TEXT, "login_id": TEXT, "anonymous_id": TEXT}, "how": HOW}
                                                         the user changes; HOW is the notification: "login",
                                                         "logout", "identify", "reset" or "server_url"
  {"tap": N}                                             a tap on the Nth element of the popup on screen (the one
                                                         shown last) that takes taps: an image, button or link with
                                                         actions, in the order of "elements"; 0 is the mask
  {"app": "background"}, {"app": "active"}               the application leaves and comes back
  {"open": URL}                                          a deep link, for a test popup
  {"fetch": true}                                        fetches the configuration now
  {"wait": "ready"}                                      holds the next commands back until the start is over
  {"wait": "idle"}                                       ... until no event is queued, no popup is on screen, and no
                                                         configuration or test popup is on its way
  {"wait": SECONDS}                                      ... for that time
"ready" and "idle" give up after 60 seconds, say so on the standard error, and go on.

What happens is printed at once, one JSON object a line:
  {"tracked": {"event", "properties", "record"}}         an event as the host records it
  {"popup": "shown", "plan_id", "uuid", "name", "elements": [{"type", "text", "image", "frame", "actions"}]}
                                                         a popup has come; it takes taps from now on. "elements" goes
                                                         depth first, containers before what is in them; "frame" is
                                                         x, y, width and height in points as laid out, relative to
                                                         the parent, on a screen of 375 x 812 points
  {"popup": "closed", "plan_id"}                         it has gone
  {"popup": "failed", "plan_id", "code", "message"}      it could not be shown
  {"popup": "custom", "plan_id", "content"}              it was handed to the application
  {"callback": NAME, ...}                                a callback of the application, with its arguments;
                                                         "content" only where it is the application's own
  {"record": {"state", "type", "entity_id", "content"}}  a decision and why, as "kaleo simulate" prints it
  {"answer": "open", "result"}, {"answer": "fetch", "success", "code", "message"}, {"answer": "wait"}
  {"log": {"level", "message"}}                          with --log: 1 errors, 4 decisions, 8 details
A test popup has no "plan_id" (null).

At the end of the input everything asked for is finished, and popups are dismissed as they come.
A tap that meets nothing is reported on standard error.
Exit status: 0; 1 when a line was no command (see standard error); 2 when the library cannot be run;
128 and the signal's number after SIGINT or SIGTERM, which drop what is queued but keep the state.)";

}  // namespace

Command runCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<RunArguments>();
  CommandArguments app(kaleo, "run",
                       "Runs the whole library in the terminal, in real time against a server: commands in, what happens out.");
  app.add("--server", arguments->server, "Base URL of the popup server").called("URL").required();
  app.add("--data", arguments->data, "Directory that keeps all state from run to run; default: a temporary one, removed")
      .called("DIR");
  app.add("--project", arguments->project, "The host's project; default: " + arguments->project).called("NAME");
  app.add("--user", arguments->user, "Distinct id of the user at the start; default: " + arguments->user).called("ID");
  app.flag("--encrypt", arguments->encrypt, "The host keeps its store encrypted, so the library encrypts its state");
  app.add(
         "--delegate", [arguments](const std::string& word) { arguments->delegate = kDelegateModes.at(word); },
         "What the application does with the library's callbacks: implements all, refuses every campaign, or\n"
         "implements none; default: full")
      .oneOf({"full", "refuse", "none"});
  app.flag("--log", arguments->log, "Prints each log line, too");
  app.footer(kFooter);
  return app.running([arguments] { return run(*arguments); });
}

}  // namespace kaleo::tools
