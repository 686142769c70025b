#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// What a popup server has seen since it began, for the person who watches it: the last requests, the last configuration that it
/// served, and the popups whose conversion was asked for. All of it is bounded; the oldest goes first. Threads: any. Times are
/// seconds since 1970.
class Journal {
 public:
  static constexpr std::size_t kMaxRequests = 200;
  static constexpr std::size_t kMaxPopups = 500;

  struct Request {
    double time = 0;
    std::string method;
    std::string target;  ///< path and query as they came
    int status = 0;
    std::size_t bytes = 0;
    std::string fault;   ///< what was made to go wrong; empty: nothing
    std::string reason;  ///< why it was refused, for people; empty: it was not
  };

  explicit Journal(double began) : began_(began) {}

  void add(Request request);
  void serveConfiguration(double time, const std::string& distinctId, std::string text);
  void askForPopups(double time, const std::string& project, const std::vector<std::string>& uuids);

  /// Sets the time of conversion of a popup; "" for "not converted". False when too many are set.
  bool setConversion(const std::string& uuid, const std::string& time);
  /// As it was set; nothing when it was not.
  std::optional<std::string> conversion(const std::string& uuid) const;

  /// {"began", "next", "requests", "configuration", "popups"}. "requests" holds those from number `after` on, oldest first; "next"
  /// is the `after` of the next call; "configuration" has no text, but its "version", which counts up.
  KLValue state(std::int64_t after) const;
  /// The text of the last configuration; empty before the first.
  std::string configuration() const;

 private:
  struct Popup {
    std::string uuid;
    std::string project;
    double first = 0;
    double last = 0;
    int times = 0;
  };
  struct Configuration {
    int version = 0;
    double time = 0;
    std::string distinctId;
    std::string text;
  };

  void askForPopup(double time, const std::string& project, const std::string& uuid);
  KLValue::Array requestsFrom(std::int64_t number) const;
  KLValue::Array popups() const;

  const double began_;
  mutable std::mutex mutex_;  ///< guards what follows
  std::int64_t next_ = 0;     ///< number of the request to come
  std::deque<Request> requests_;
  std::deque<Popup> popups_;
  Configuration configuration_;
  std::map<std::string, std::string> conversions_;
};

}  // namespace kaleo::tools
