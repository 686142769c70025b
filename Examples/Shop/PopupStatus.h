#pragma once

#include <optional>
#include <string>
#include <vector>

namespace shop {

/// Says in plain words what became of the latest event, from the library's log: which campaign shows, or why none does.
/// Threads: one.
class PopupStatus {
 public:
  enum class Mood { Neutral, Shown, HeldBack };
  struct Report {
    Mood mood = Mood::Neutral;
    std::string text;
    friend bool operator==(const Report&, const Report&) = default;
  };

  /// Reads the next line; answers what to say now when the line changes it.
  std::optional<Report> read(const std::string& line);

  /// Whether a line, already read, tells of a decision about one of the application's own events, and not of a step on the way to
  /// one or of the library's own events.
  bool isDecision(const std::string& line) const;

 private:
  std::optional<Report> heldBack(std::string reason);

  std::string event_;
  std::string plan_;                  ///< under check
  std::vector<std::string> reasons_;  ///< why plans did not answer the event, each once
};

}  // namespace shop
