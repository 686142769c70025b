#include <signal.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "Command.h"
#include "serve/PopupServer.h"

namespace kaleo::tools {
namespace {

constexpr int kCannotServe = 1;

struct Arguments {
  PopupServer::Options server;
  std::string portFile;
};

/// The signals that end the command, blocked for this thread and those it starts, so that one thread can wait for them.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  }
  void wait() const {
    int signal = 0;
    sigwait(&signals_, &signal);
  }

 private:
  sigset_t signals_;
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
  end.wait();
  server.stop();
  say("Ended.");
  return 0;
}

}  // namespace

Command serveCommand(CLI::App& kaleo) {
  auto arguments = std::make_shared<Arguments>();
  arguments->server.print = say;
  CLI::App* app = kaleo.add_subcommand("serve", "Serves popup configurations and pictures from plain files; edits count at once.");
  app->add_option("DIR", arguments->server.directory, "Directory with user_popup_configs.json, layouts/ and images/")
      ->required()
      ->check(CLI::ExistingDirectory);
  app->add_option("--host", arguments->server.host, "Address to serve at")->capture_default_str();
  app->add_option("--port", arguments->server.port, "Port to serve at; 0 takes a free one")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  app->add_option("--print-port-file", arguments->portFile, "File to write the port to once it is open");
  return {app, [arguments] { return serve(*arguments); }};
}

}  // namespace kaleo::tools
