#include "Shop/PopupStatus.h"

#include <algorithm>
#include <string_view>

namespace shop {
namespace {

/// A refusal in the log, and what it means to people. "%" stands for the campaign's number.
struct Refusal {
  std::string_view begin;  ///< of the line
  std::string_view part;   ///< somewhere in it; empty: anything
  std::string_view meaning;
};

constexpr Refusal kRefusals[] = {
    {"Repeat display check for plan", "does not satisfy", "campaign % does not show at this hour"},
    {"Convert window check for plan", "does not satisfy", "campaign % still waits to hear whether its last popup worked"},
    {"Global interval window rule check does not satisfy", "", "another popup was on screen a moment ago"},
    {"Interval window check rule for plan", "does not satisfy", "campaign % showed a short while ago"},
    {"Pattern match check for event", " not satisfy", "campaign % asks for more than this event"},
    {"Global limit rule check not satisfy", "", "enough popups were shown for now"},
    {"ReEnter window check rule for plan", " not satisfy", "campaign % was shown as often as it may be"},
    {"Plan with planID", "is expired", "campaign % is over"},
};

constexpr std::string_view kStart = "Start event triggle for event name: ";
constexpr std::string_view kNotListened = "This event does not need to resolve";
constexpr std::string_view kPlanCheck = "Start rule check for single plan: ";
constexpr std::string_view kChosen = "Will display popup content for plan: ";
constexpr std::string_view kConfigured = "Set popup config for trigger";

/// Lines, by their beginning, that decide something beside the refusals.
constexpr std::string_view kDecisions[] = {
    kStart,
    kNotListened,
    kChosen,
    "Plan ",
    "The plan is",
    "Rule check",
    "Popup did dismiss",
    "Popup failed to show",
    "Load failed",
    "Save convert result",
    "switch user",
    "Fetch popup config",
    "Current plan ID is",
};

bool startsWith(const std::string& line, std::string_view begin) { return line.compare(0, begin.size(), begin) == 0; }

bool isOwnEventOfLibrary(const std::string& event) { return startsWith(event, "$"); }

const Refusal* refusalOf(const std::string& line) {
  const auto* const found = std::find_if(std::begin(kRefusals), std::end(kRefusals), [&](const Refusal& refusal) {
    return startsWith(line, refusal.begin) && line.find(refusal.part) != std::string::npos;
  });
  return found == std::end(kRefusals) ? nullptr : found;
}

std::string meaningOf(const Refusal& refusal, const std::string& plan) {
  std::string meaning(refusal.meaning);
  if (const auto at = meaning.find('%'); at != std::string::npos) meaning.replace(at, 1, plan);
  return meaning;
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const auto& part : parts) text += (text.empty() ? "" : ", and ") + part;
  return text;
}

}  // namespace

std::optional<PopupStatus::Report> PopupStatus::heldBack(std::string reason) {
  if (std::find(reasons_.begin(), reasons_.end(), reason) == reasons_.end()) reasons_.push_back(std::move(reason));
  return Report{Mood::HeldBack, "No popup after " + event_ + ": " + joined(reasons_) + "."};
}

std::optional<PopupStatus::Report> PopupStatus::read(const std::string& line) {
  if (startsWith(line, kStart)) {
    event_ = line.substr(kStart.size());
    reasons_.clear();
  } else if (startsWith(line, kPlanCheck)) {
    plan_ = line.substr(kPlanCheck.size());
  } else if (startsWith(line, kNotListened)) {
    if (!isOwnEventOfLibrary(event_)) return heldBack("no campaign listens to it");
  } else if (startsWith(line, kChosen)) {
    return Report{Mood::Shown, "Campaign " + line.substr(kChosen.size()) + " answers " + event_ + "."};
  } else if (startsWith(line, kConfigured)) {
    return event_.empty() ? std::optional(Report{Mood::Neutral, "Campaigns are loaded. Look around."}) : std::nullopt;
  } else if (const Refusal* refusal = refusalOf(line)) {
    return heldBack(meaningOf(*refusal, plan_));
  }
  return std::nullopt;
}

bool PopupStatus::isDecision(const std::string& line) const {
  if (isOwnEventOfLibrary(event_) && (startsWith(line, kStart) || startsWith(line, kNotListened))) return false;
  const auto begins = [&](std::string_view begin) { return startsWith(line, begin); };
  return refusalOf(line) != nullptr || std::any_of(std::begin(kDecisions), std::end(kDecisions), begins);
}

}  // namespace shop
