#include "serve/PopupServer.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <mutex>
#include <optional>
#include <thread>

#include "Foundation/KLJSON.h"
#include "serve/PopupDocuments.h"
#include "serve/ServedDirectory.h"

namespace kaleo::tools {
namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kJSON = "application/json; charset=utf-8";
constexpr const char* kText = "text/plain; charset=utf-8";
constexpr const char* kReports = "user_diagnose_logs";
/// A client that sends nothing for so long is given up, so that an idle connection never holds up the end.
constexpr time_t kSilenceSeconds = 2;

std::string contentType(const std::string& name) {
  const auto dot = name.rfind('.');
  std::string extension = dot == std::string::npos ? "" : name.substr(dot + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) { return std::tolower(c); });
  if (extension == "png" || extension == "gif") return "image/" + extension;
  if (extension == "jpg" || extension == "jpeg") return "image/jpeg";
  return "application/octet-stream";
}

/// Whether `text` can stand in a URL as host and port. It comes from the client.
bool isHostAndPort(const std::string& text) {
  return !text.empty() && text.size() <= 255 && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || std::string_view(".-:[]").find(static_cast<char>(c)) != std::string_view::npos;
  });
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(separator, start), text.size());
    if (end > start) parts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

/// Keeps a request from writing control characters to the terminal.
std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

/// Without the library's default SO_REUSEPORT, under which a second server on the same port would seem to start.
void allowQuickRestart(socket_t socket) {
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

std::string bracketed(const std::string& host) { return host.find(':') == std::string::npos ? host : "[" + host + "]"; }

}  // namespace

struct PopupServer::State {
  explicit State(Options given) : options(std::move(given)), directory(options.directory), documents(directory) {}

  void route();
  void print(const std::string& line);
  void printRequest(const Request& request, const Response& response);
  void answer(const Request& request, Response& response, const std::function<std::string(const Placeholders&)>& document);
  void serveImage(const Request& request, Response& response) const;
  void keepReport(const Request& request, Response& response);
  Placeholders placeholders(const Request& request) const;

  Options options;
  ServedDirectory directory;
  PopupDocuments documents;
  httplib::Server server;
  std::thread thread;
  int port = 0;
  std::atomic<unsigned> reports{0};
  std::mutex printing;
};

void PopupServer::State::print(const std::string& line) {
  const std::lock_guard lock(printing);
  if (options.print) options.print(line);
}

void PopupServer::State::printRequest(const Request& request, const Response& response) {
  const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  print(fmt::format("{:%H:%M:%S}  {:<4} {}  {}  {} bytes", fmt::localtime(now), printable(request.method),
                    printable(request.target), response.status, response.body.size()));
}

Placeholders PopupServer::State::placeholders(const Request& request) const {
  const std::string asked = request.get_header_value("Host");
  const std::string authority = isHostAndPort(asked) ? asked : fmt::format("{}:{}", bracketed(options.host), port);
  return {"http://" + authority, request.get_param_value("distinct_id")};
}

void PopupServer::State::answer(const Request& request, Response& response,
                                const std::function<std::string(const Placeholders&)>& document) {
  try {
    response.set_content(document(placeholders(request)), kJSON);
  } catch (const DocumentError& error) {
    response.status = error.status();
    response.set_content(fmt::format("{}\n", error.what()), kText);
    print(fmt::format("          {}", printable(error.what())));
  }
}

void PopupServer::State::serveImage(const Request& request, Response& response) const {
  const std::string name = "images/" + request.matches[1].str();
  auto bytes = directory.read(name);
  if (bytes) return response.set_content(std::move(*bytes), contentType(name));
  response.status = 404;
  response.set_content("There is no such image.\n", kText);
}

void PopupServer::State::keepReport(const Request& request, Response& response) {
  const unsigned number = ++reports;
  const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::string name = fmt::format("{:%Y%m%dT%H%M%SZ}-{:05}.json", fmt::gmtime(now), number);
  if (number <= kMaxReports && directory.write(kReports, name, request.body)) {
    return response.set_content(KLJSON::serialize(KLObject{{"kept", fmt::format("{}/{}", kReports, name)}}), kJSON);
  }
  response.status = 507;
  response.set_content("The report could not be kept.\n", kText);
}

void PopupServer::State::route() {
  server.Get("/klo/user_popup_configs", [this](const Request& request, Response& response) {
    answer(request, response, [this](const Placeholders& given) { return documents.userPopupConfigs(given); });
  });
  server.Get(R"(/klo/popup_windows/([\s\S]+))", [this](const Request& request, Response& response) {
    const std::string id = request.matches[1].str();
    answer(request, response, [&](const Placeholders& given) { return documents.popupWindow(id, given); });
  });
  server.Get("/klo/popup_displays", [this](const Request& request, Response& response) {
    const auto uuids = split(request.get_param_value("popup_display_uuids"), ',');
    answer(request, response, [&](const Placeholders& given) { return documents.popupDisplays(uuids, given.distinctId); });
  });
  server.Post("/klo/user_diagnose_logs", [this](const Request& request, Response& response) { keepReport(request, response); });
  server.Get(R"(/images/([\s\S]+))", [this](const Request& request, Response& response) { serveImage(request, response); });
}

PopupServer::PopupServer(Options options) : state_(std::make_unique<State>(std::move(options))) {
  httplib::Server& server = state_->server;
  server.set_socket_options(allowQuickRestart);
  server.set_keep_alive_max_count(1);
  server.set_read_timeout(kSilenceSeconds);
  server.set_write_timeout(kSilenceSeconds);
  server.set_payload_max_length(kMaxReportBytes);
  server.set_logger([this](const Request& request, const Response& response) { state_->printRequest(request, response); });
  state_->route();
}

PopupServer::~PopupServer() { stop(); }

bool PopupServer::start(std::string& error) {
  std::error_code code;
  if (!std::filesystem::is_directory(state_->options.directory, code)) {
    error = fmt::format("{} is no directory", state_->options.directory.string());
    return false;
  }
  const Options& options = state_->options;
  state_->port = options.port == 0                                         ? state_->server.bind_to_any_port(options.host)
                 : state_->server.bind_to_port(options.host, options.port) ? options.port
                                                                           : -1;
  if (state_->port <= 0) {
    error = fmt::format("port {} of {} cannot be opened; is it taken?", options.port, options.host);
    return false;
  }
  state_->thread = std::thread([this] { state_->server.listen_after_bind(); });
  while (!state_->server.is_running()) std::this_thread::yield();
  return true;
}

void PopupServer::stop() {
  if (!state_->thread.joinable()) return;
  state_->server.stop();
  state_->thread.join();
}

int PopupServer::port() const { return state_->port; }

std::string PopupServer::url() const { return fmt::format("http://{}:{}", bracketed(state_->options.host), state_->port); }

}  // namespace kaleo::tools
