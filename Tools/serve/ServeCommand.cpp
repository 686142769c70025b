#include <fmt/format.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "options/CommandArguments.h"
#include "serve/PopupServer.h"
#include "system/EndSignals.h"

namespace kaleo::tools {
namespace {

constexpr int kCannotServe = 2;

constexpr const char* kManual = R"(Files in DIR, all read anew at each request:
  user_popup_configs.json   the configuration; a plan's popup_window_content may name a "layout" instead of its "content"
  layouts/NAME.json         a layout; "{{base}}" in it becomes this server's URL, "{{distinct_id}}" the user
  images/...                pictures (PNG, JPEG, GIF)
  popup_windows/ID.json     a popup to try by deep link
  popup_displays.json       conversions: {"UUID": "2026-01-02 03:04:05", "*": ""}; "*" stands for all others, "" for none
  faults.json               what is to go wrong (below)
  user_diagnose_logs/       reports of applications, kept here

The page at / shows requests, the decisions uploaded, the configuration served and the popups whose conversion is asked for, live;
there a popup's conversion is set with one click. From a script:
  curl -d uuid=UUID http://127.0.0.1:PORT/live/conversions            the user has converted now ("-d time=" too: has not)
  curl http://127.0.0.1:PORT/live?after=0                             what the page shows, as JSON

Faults, by path ("*" at its end stands for any rest; the longest that fits counts) in faults.json:
  {"/klo/user_popup_configs": {"delay": 3, "status": 503}, "/images/*": {"cut": 100}}
or for one application by its base URL, such as http://127.0.0.1:PORT/?fault_delay=3&fault_status=503:
  delay      seconds before the answer, to 3600
  status     the HTTP status, 200 to 599; the body stays
  cut        bytes of the body after which the connection is closed
  garbage    true: a body of random-looking bytes
  encrypted  true: a body encrypted under a key that no application has; or 64 hexadecimal digits, salt and vector as an encrypted
             request begins: under the key of the application that has these

Exit status: 0 after SIGINT or SIGTERM, 2 when nothing can be served.)";

struct Arguments {
  PopupServer::Options server;
  std::string portFile;
};

void say(const std::string& line) {
  std::fprintf(stdout, "%s\n", line.c_str());
  std::fflush(stdout);
}

int fail(const std::string& reason) {
  std::fprintf(stderr, "kaleo serve: %s\n", reason.c_str());
  return kCannotServe;
}

int serve(const Arguments& arguments) {
  const EndSignals end;
  PopupServer server(arguments.server);
  std::string error;
  if (!server.start(error)) return fail(error);
  say("Serving " + arguments.server.directory.string() + " at " + server.url() + "/");
  if (!arguments.portFile.empty() && !(std::ofstream(arguments.portFile) << server.port() << std::endl)) {
    return fail("the port cannot be written to " + arguments.portFile);
  }
  end.take();
  server.stop();
  say("Ended.");
  return 0;
}

}  // namespace

Command serveCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<Arguments>();
  arguments->server.print = say;
  CommandArguments app(kaleo, "serve", "Serves popup configurations and pictures from plain files; edits count at once.");
  app.add("DIR", arguments->server.directory, "Directory with user_popup_configs.json, layouts/ and images/").called("").required();
  app.add("--host", arguments->server.host, "Address to serve at; default: " + arguments->server.host).called("ADDRESS");
  app.add("--port", arguments->server.port,
          fmt::format("Port to serve at; 0 takes a free one; default: {}", arguments->server.port))
      .within(0, 65535)
      .called("PORT");
  app.add("--print-port-file", arguments->portFile, "File to write the port to once it is open").called("FILE");
  app.footer(kManual);
  return app.running([arguments] { return serve(*arguments); });
}

}  // namespace kaleo::tools
