#include "explain/PopupDisplay.h"

#include <fmt/format.h>

#include "kaleo/KLError.h"

namespace kaleo::tools {
namespace {

using Kind = KLPopupOutcome::Kind;

/// What an error means to whoever wonders why nothing was seen. "": nothing is known of the code.
std::string meaningOf(std::int64_t code) {
  switch (code) {
    case KLError::ContentMissing:
      return "its content, or the layout in it, is missing";
    case KLError::ControlGroup:
      return "the user is in the plan's control group, whose popups are only counted";
    case KLError::RefusedByApplication:
      return "the application refused it in campaignShouldStart, or did not answer in time";
    case KLError::NotTriggerPlan:
      return "the server's \"is_trigger\" is false for its plan";
    case KLError::CallbackMissing:
      return "the application lacks the callback campaignDidStart, which a customised popup needs";
    default:
      return "";
  }
}

std::string reasonIn(const JourneyRecord& record) {
  const std::string domain = record.text("error_domain"), text = printable(record.text("error"));
  const std::int64_t code = record.number("error_code").value_or(0);
  if (domain == kKLJSONErrorDomain) return fmt::format("its layout is not JSON ({})", text);
  const std::string meaning = domain == kKaleoErrorDomain ? meaningOf(code) : "";
  if (!meaning.empty()) return fmt::format("{} (error {}, \"{}\")", meaning, code, text);
  return code == 0 ? text : fmt::format("{} (error {})", text, code);
}

}  // namespace

bool PopupDisplay::isOutcome(const JourneyRecord& record) {
  const auto kind = static_cast<Kind>(record.state);
  return kind >= Kind::Shown && kind <= Kind::HandedOver;
}

void PopupDisplay::take(const JourneyRecord& record) {
  outcome = static_cast<Kind>(record.state);
  if (*outcome == Kind::Shown) shownAt = record.time;
  if (*outcome == Kind::Ended) endedAt = record.time;
  if (record.content.isUnreadable()) return void(reason = "the reason cannot be read");
  if (!record.number("error_code")) return;
  errorCode = record.number("error_code");
  reason = reasonIn(record);
}

std::string PopupDisplay::sentence(const TimeText& times) const {
  if (!outcome) return "Passed every check: its popup was handed on to be shown. What became of it was not recorded.";
  switch (*outcome) {
    case Kind::Shown:
      return fmt::format("Passed every check: its popup came on screen at {}; its end was not recorded.", times.at(*shownAt));
    case Kind::Ended:
      if (!shownAt) return fmt::format("Passed every check: its popup left the screen at {}.", times.at(*endedAt));
      return fmt::format("Passed every check: its popup was on screen for {}, from {} until {}{}.",
                         TimeText::length(*endedAt - *shownAt), times.at(*shownAt), times.at(*endedAt),
                         reason.empty() ? "" : ", when it was cut short: " + reason);
    case Kind::Failed:
      return fmt::format("Passed every check, but its popup did not show: {}.", reason);
    case Kind::HandedOver:
      return "Passed every check: its popup was handed over to the application, which shows it by itself.";
  }
  return {};
}

Tone PopupDisplay::tone() const {
  if (outcome == Kind::Failed) return Tone::Bad;
  return outcome ? Tone::Good : Tone::Plain;
}

KLValue PopupDisplay::document() const {
  const auto orNull = [](const auto& value) { return value ? KLValue(*value) : KLValue(); };
  const auto name = [this] {
    switch (*outcome) {
      case Kind::Shown:
        return "shown";
      case Kind::Ended:
        return "ended";
      case Kind::Failed:
        return "failed";
      case Kind::HandedOver:
        return "handed_over";
    }
    return "unknown";
  };
  return KLObject{{"outcome", outcome ? KLValue(name()) : KLValue()},
                  {"shown_at", orNull(shownAt)},
                  {"ended_at", orNull(endedAt)},
                  {"error_code", orNull(errorCode)},
                  {"reason", reason}};
}

}  // namespace kaleo::tools
