#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace kaleo::tools {

/// A popup server over a directory of plain files (see PopupDocuments): for trying campaigns, for demonstrations and for tests.
///   GET  /klo/user_popup_configs
///   GET  /klo/popup_windows/ID
///   GET  /klo/popup_displays?popup_display_uuids=UUID,UUID
///   POST /klo/user_diagnose_logs    the body is kept as a file in user_diagnose_logs/, without records that came before
///   GET  /images/...
/// Any of them goes wrong on demand (see Fault). For the person who watches:
///   GET  /                          a page that shows requests, the configuration served, the popups asked for, and the decisions
///                                   uploaded
///   GET  /live?after=NUMBER&after_upload=NUMBER
///                                   the same as JSON (see Journal, UploadedDecisions)
///   GET  /live/configuration        the configuration served last
///   POST /live/conversions          "uuid" and "time" (now, unless given; empty: not converted): the conversion of one popup
/// Files are read at each request, so that an edit shows at the next one.
/// Threads: made, started and stopped by one thread; it serves on threads of its own.
class PopupServer {
 public:
  struct Options {
    std::filesystem::path directory;
    std::string host = "127.0.0.1";
    int port = 0;  ///< 0: a free one
    /// Told one line for each request, and one for each fault in a file. Called from several threads, one call at a time.
    std::function<void(const std::string& line)> print;
  };

  /// A report longer than this is refused with status 413.
  static constexpr std::size_t kMaxReportBytes = 16u << 20;
  /// Reports that one run keeps; further ones are refused with status 507.
  static constexpr unsigned kMaxReports = 10000;

  explicit PopupServer(Options options);
  /// Stops.
  ~PopupServer();
  PopupServer(const PopupServer&) = delete;
  PopupServer& operator=(const PopupServer&) = delete;

  /// Opens the port and serves. False when the address cannot be had; then `error` says why.
  bool start(std::string& error);
  /// Ends the exchanges under way and closes the port. Harmless when it does not run.
  void stop();

  int port() const;
  /// Such as "http://127.0.0.1:4711", without a slash at its end.
  std::string url() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kaleo::tools
