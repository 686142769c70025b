#include "serve/PopupServer.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "Foundation/KLJSON.h"
#include "Foundation/KLSystem.h"
#include "serve/DiagnosisPages.h"
#include "serve/Fault.h"
#include "serve/Journal.h"
#include "serve/LivePage.h"
#include "serve/PopupDocuments.h"
#include "serve/ServedDirectory.h"
#include "serve/UploadedDecisions.h"

namespace kaleo::tools {
namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kJSON = "application/json; charset=utf-8";
constexpr const char* kText = "text/plain; charset=utf-8";
constexpr std::string_view kLivePath = "/live";
constexpr const char* kHTML = "text/html; charset=utf-8";
constexpr const char* kReports = "user_diagnose_logs";
/// What was made to go wrong, for the person at the client's end.
constexpr const char* kFaultHeader = "X-Kaleo-Fault";
/// Why a request was refused.
constexpr const char* kReasonHeader = "X-Kaleo-Reason";
constexpr const char* kEncryptedHeader = "Quillon-Encryption-Enabled";
/// No script, style or picture but the page's own, and no page of another server around it.
constexpr const char* kPagePolicy =
    "default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; connect-src 'self'; img-src data:; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
/// Answers may be delayed on purpose; they must not hold up the others.
constexpr std::size_t kThreads = 64;
constexpr std::size_t kLeastGarbage = 64;
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

/// Answers that a request is refused and why, in one line.
void refuse(Response& response, int status, const std::string& reason) {
  constexpr std::size_t kMostBytes = 1000;  // a name in it may be as long as a URL; clients bound their headers
  response.status = status;
  response.set_header(kReasonHeader, printable(reason.substr(0, kMostBytes)));
  response.set_content(reason + "\n", kText);
}

/// Why a request was refused, for people; "" when it was not. The body may be compressed by now.
std::string reasonOf(const Response& response) {
  constexpr int kNotFound = 404;
  if (response.has_header(kReasonHeader)) return response.get_header_value(kReasonHeader);
  return response.status == kNotFound && response.body.empty() ? "Nothing is served at this path." : "";
}

/// Without the library's default SO_REUSEPORT, under which a second server on the same port would seem to start.
void allowQuickRestart(socket_t socket) {
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

/// As many bytes as `like` has, that are no JSON, no picture and no UTF-8.
std::string garbage(const std::string& like) {
  constexpr std::size_t kStep = 37;
  std::string bytes(std::max(like.size(), kLeastGarbage), '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(0x80 + i * kStep % 0x80);
  return bytes;
}

/// Gives `response` a body of which only the first `bytes` are sent, though all are announced.
void cut(Response& response, std::size_t bytes) {
  const std::string type = response.get_header_value("Content-Type");
  const std::size_t announced = std::max(response.body.size(), bytes + 1);
  response.headers.erase("Content-Type");
  const std::string sent = response.body.substr(0, bytes);
  response.body.clear();
  response.set_content_provider(announced, type, [sent](std::size_t offset, std::size_t, httplib::DataSink& sink) {
    if (offset == 0 && !sent.empty()) sink.write(sent.data(), sent.size());
    return false;
  });
}

void spoil(Response& response, const Fault& fault) {
  constexpr int kNoContent = 204, kNotModified = 304;
  if (fault.encrypted) {
    response.body = encryptedBody(response.body, fault.material);
    response.set_header(kEncryptedHeader, "1");
  }
  if (fault.garbage) response.body = garbage(response.body);
  if (fault.status) response.status = *fault.status;
  if (response.status == kNoContent || response.status == kNotModified) response.body.clear();
  if (fault.cut) cut(response, *fault.cut);
  response.set_header(kFaultHeader, fault.description());
}

std::string bracketed(const std::string& host) { return host.find(':') == std::string::npos ? host : "[" + host + "]"; }

}  // namespace

struct PopupServer::State {
  explicit State(Options given)
      : options(std::move(given)), directory(options.directory), documents(directory), journal(clock.now()) {}

  void route();
  void routePage();
  /// Answers GET `pattern` with `handler`, and with what is to go wrong.
  void get(const char* pattern, httplib::Server::Handler handler);
  void answer(const Request& request, Response& response, const httplib::Server::Handler& handler);
  /// Does `work`; what is wrong with a document becomes the answer.
  void reply(Response& response, const std::function<void()>& work);
  void print(const std::string& line);
  void note(const Request& request, const Response& response);
  void waitFor(double seconds);
  void serveConfiguration(const Request& request, Response& response);
  void servePopupDisplays(const Request& request, Response& response);
  void serveImage(const Request& request, Response& response) const;
  void keepReport(const Request& request, Response& response);
  void serveState(const Request& request, Response& response);
  void convert(const Request& request, Response& response);
  Placeholders placeholders(const Request& request) const;

  Options options;
  ServedDirectory directory;
  PopupDocuments documents;
  KLSystemClock clock;
  Journal journal;
  httplib::Server server;
  std::thread thread;
  int port = 0;
  std::atomic<unsigned> reports{0};
  DiagnosisPages pages;
  UploadedDecisions decisions;
  std::mutex printing;
  std::mutex endMutex;
  std::condition_variable ended;
  bool ending = false;  ///< guarded by endMutex
};

void PopupServer::State::print(const std::string& line) {
  const std::lock_guard lock(printing);
  if (options.print) options.print(line);
}

void PopupServer::State::note(const Request& request, const Response& response) {
  if (request.path == "/" || request.path.starts_with(kLivePath)) return;
  const std::string fault = response.get_header_value(kFaultHeader);
  const std::size_t bytes = response.content_length_ > 0 ? response.content_length_ : response.body.size();
  journal.add({clock.now(), request.method, request.target, response.status, bytes, fault, reasonOf(response)});
  const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  print(fmt::format("{:%H:%M:%S}  {:<4} {}  {}  {} bytes{}", fmt::localtime(now), printable(request.method),
                    printable(request.target), response.status, bytes, fault.empty() ? "" : fmt::format("  ({})", fault)));
}

void PopupServer::State::waitFor(double seconds) {
  std::unique_lock lock(endMutex);
  ended.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return ending; });
}

Placeholders PopupServer::State::placeholders(const Request& request) const {
  const std::string asked = request.get_header_value("Host");
  const std::string authority = isHostAndPort(asked) ? asked : fmt::format("{}:{}", bracketed(options.host), port);
  return {"http://" + authority, request.get_param_value("distinct_id")};
}

void PopupServer::State::get(const char* pattern, httplib::Server::Handler handler) {
  server.Get(pattern, [this, handler = std::move(handler)](const Request& request, Response& response) {
    answer(request, response, handler);
  });
}

void PopupServer::State::answer(const Request& request, Response& response, const httplib::Server::Handler& handler) {
  reply(response, [&] {
    const Fault fault = faultFor(directory, request.path, request.params);
    if (fault.delay > 0) waitFor(fault.delay);
    reply(response, [&] { handler(request, response); });
    if (!fault.description().empty()) spoil(response, fault);
  });
}

void PopupServer::State::reply(Response& response, const std::function<void()>& work) {
  try {
    work();
  } catch (const DocumentError& error) {
    refuse(response, error.status(), error.what());
    print(fmt::format("          {}", printable(error.what())));
  }
}

void PopupServer::State::serveConfiguration(const Request& request, Response& response) {
  const Placeholders given = placeholders(request);
  std::string text = documents.userPopupConfigs(given);
  response.set_content(text, kJSON);
  journal.serveConfiguration(clock.now(), given.distinctId, std::move(text));
}

void PopupServer::State::servePopupDisplays(const Request& request, Response& response) {
  const auto uuids = split(request.get_param_value("popup_display_uuids"), ',');
  journal.askForPopups(clock.now(), request.get_param_value("project"), uuids);
  const auto known = [this](const std::string& uuid) { return journal.conversion(uuid); };
  response.set_content(documents.popupDisplays(uuids, request.get_param_value("distinct_id"), known), kJSON);
}

void PopupServer::State::serveImage(const Request& request, Response& response) const {
  const std::string name = "images/" + request.matches[1].str();
  auto bytes = directory.read(name);
  if (bytes) return response.set_content(std::move(*bytes), contentType(name));
  refuse(response, 404, "There is no such image.");
}

void PopupServer::State::keepReport(const Request& request, Response& response) {
  const auto page = pages.read(request.body);
  if (page && page->added == 0 && page->known > 0) {
    return response.set_content(KLJSON::serialize(KLObject{{"known", static_cast<std::int64_t>(page->known)}}), kJSON);
  }
  const unsigned number = ++reports;
  const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::string name = fmt::format("{:%Y%m%dT%H%M%SZ}-{:05}.json", fmt::gmtime(now), number);
  if (number <= kMaxReports && directory.write(kReports, name, page ? page->text : request.body)) {
    if (page) pages.remember(*page);
    if (page) decisions.add(page->records);
    return response.set_content(KLJSON::serialize(KLObject{{"kept", fmt::format("{}/{}", kReports, name)}}), kJSON);
  }
  refuse(response, 507, "The report could not be kept.");
}

void PopupServer::State::serveState(const Request& request, Response& response) {
  const auto number = [&request](const char* name) { return std::strtoll(request.get_param_value(name).c_str(), nullptr, 10); };
  KLObject state = journal.state(number("after")).asObject();
  state.set("uploads", decisions.state(number("after_upload")));
  state.set("directory", directory.root().string());
  state.set("faults", directory.read("faults.json").value_or(""));
  response.set_header("Cache-Control", "no-store");
  response.set_content(KLJSON::serialize(KLValue(std::move(state))), kJSON);
}

void PopupServer::State::convert(const Request& request, Response& response) {
  const std::string origin = request.get_header_value("Origin");
  const std::string uuid = request.get_param_value("uuid");
  if (!origin.empty() && origin != placeholders(request).base) {
    return refuse(response, 403, "Another site's page cannot set conversions.");
  }
  const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::string time =
      request.has_param("time") ? request.get_param_value("time") : fmt::format("{:%Y-%m-%d %H:%M:%S}", fmt::localtime(now));
  if (uuid.empty() || !journal.setConversion(uuid, time)) {
    return refuse(response, 400, "A conversion needs a \"uuid\", and there is room for a limited number.");
  }
  print(fmt::format("          {} {}", printable(uuid), time.empty() ? "has not converted" : "converted at " + printable(time)));
  response.set_content(KLJSON::serialize(KLObject{{"popup_display_uuid", uuid}, {"convert_time", time}}), kJSON);
}

void PopupServer::State::route() {
  get("/klo/user_popup_configs", [this](const auto& request, auto& response) { serveConfiguration(request, response); });
  get(R"(/klo/popup_windows/([\s\S]+))", [this](const auto& request, auto& response) {
    response.set_content(documents.popupWindow(request.matches[1].str(), placeholders(request)), kJSON);
  });
  get("/klo/popup_displays", [this](const auto& request, auto& response) { servePopupDisplays(request, response); });
  get(R"(/images/([\s\S]+))", [this](const auto& request, auto& response) { serveImage(request, response); });
  server.Post("/klo/user_diagnose_logs", [this](const Request& request, Response& response) {
    answer(request, response, [this](const auto& asked, auto& given) { keepReport(asked, given); });
  });
}

void PopupServer::State::routePage() {
  server.Get("/", [](const Request&, Response& response) {
    response.set_header("Content-Security-Policy", kPagePolicy);
    response.set_content(kLivePage, kHTML);
  });
  server.Get("/live", [this](const Request& request, Response& response) { serveState(request, response); });
  server.Get("/live/configuration", [this](const Request&, Response& response) {
    response.set_header("Cache-Control", "no-store");
    response.set_content(journal.configuration(), kJSON);
  });
  server.Post("/live/conversions", [this](const Request& request, Response& response) { convert(request, response); });
}

PopupServer::PopupServer(Options options) : state_(std::make_unique<State>(std::move(options))) {
  httplib::Server& server = state_->server;
  server.set_socket_options(allowQuickRestart);
  server.set_keep_alive_max_count(1);
  server.set_read_timeout(kSilenceSeconds);
  server.set_write_timeout(kSilenceSeconds);
  server.set_payload_max_length(kMaxReportBytes);
  server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server.set_logger([this](const Request& request, const Response& response) { state_->note(request, response); });
  state_->route();
  state_->routePage();
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
  {
    const std::lock_guard lock(state_->endMutex);
    state_->ending = true;
  }
  state_->ended.notify_all();
  state_->server.stop();
  state_->thread.join();
}

int PopupServer::port() const { return state_->port; }

std::string PopupServer::url() const { return fmt::format("http://{}:{}", bracketed(state_->options.host), state_->port); }

}  // namespace kaleo::tools
