#include "check/CheckCodes.h"

#include <array>
#include <cstddef>

namespace kaleo::tools {
namespace {

constexpr auto kError = Severity::Error;
constexpr auto kWarning = Severity::Warning;
constexpr auto kNote = Severity::Note;

constexpr std::array kCheckCodes{
    CheckCode{Check::NotJSON, "not-json", kError, "A text that is no JSON gives no plans and no popup at all.",
              "Mend the JSON at the place that is named."},
    CheckCode{Check::NotAConfiguration, "not-a-configuration", kError,
              "Only a server's answer, a plan, a popup window or a layout can be checked.",
              R"(Give an object with "popup_plans", "pattern_popup", "popup_window_content", "content" or "template".)"},
    CheckCode{Check::DuplicateKey, "duplicate-key", kWarning,
              "Of members with the same name the last one counts; the others are lost.", "Keep one of them."},
    CheckCode{Check::UnknownKey, "unknown-key", kNote, "A member of this name is not read; it may be misspelt.",
              "Use the name that is suggested, or take the member out."},
    CheckCode{Check::WrongKind, "wrong-kind", kWarning, "A value of another kind than expected reads as nothing, 0 or no.",
              "Write the kind of value that is named."},
    CheckCode{Check::PlanId, "plan-id", kError,
              "A plan without a number of its own reads as plan 0, shares its state with others and cannot be told from them.",
              R"(Give "plan_id" a whole number above 0.)"},
    CheckCode{Check::DuplicatePlan, "duplicate-plan", kError, "Plans of the same id share their windows and counts.",
              "Give each plan an id of its own."},
    CheckCode{Check::NoExpiry, "no-expiry", kError, "A plan without a time of expiry counts as expired in 1970 and never shows.",
              R"(Give "expire_at" as milliseconds since 1970, such as "1798761600000".)"},
    CheckCode{Check::Expired, "expired", kError, "An expired plan never shows.",
              R"(Move "expire_at" (milliseconds since 1970) into the future, or take the plan out.)"},
    CheckCode{Check::NeverActive, "never-active", kError, R"(Only a plan whose status is exactly "ACTIVE" shows.)",
              R"(Write "status": "ACTIVE".)"},
    CheckCode{Check::NotAudience, "not-audience", kWarning, "The user is not in this plan's audience, so that it does not show.",
              R"(Write "is_audience": true for those who shall see it.)"},
    CheckCode{Check::ControlGroup, "control-group", kNote,
              "Of a control group's users the popups are only counted: nothing shows (error 1003).",
              R"(Write "is_control_group": false for those who shall see it.)"},
    CheckCode{Check::StrategyWithoutTrigger, "strategy-without-trigger", kError,
              "A plan with a strategy id that is no trigger plan fails instead of showing (error 1005).",
              R"(Write "is_trigger": true, or take "strategy_id" out.)"},
    CheckCode{Check::AlwaysInhibited, "always-inhibited", kWarning,
              "Of the plans that an event makes due only the one with the highest priority shows.",
              "Raise this plan's priority, or narrow the other one's conditions."},
    CheckCode{Check::NoMatchers, "no-matchers", kError, "A plan that listens to no event never shows.",
              R"(Give "pattern_popup" a "matcher_list" with at least one event.)"},
    CheckCode{Check::PatternAnd, "pattern-and", kError, R"(Events joined by "AND" are not supported: the plan never shows.)",
              R"(Use "OR", or one event with conditions.)"},
    CheckCode{Check::UnknownRelation, "unknown-relation", kWarning, "Any word but AND joins by OR: one of the parts is enough.",
              R"(Write "AND" or "OR".)"},
    CheckCode{Check::NoEventName, "no-event-name", kError, "A matcher without an event's name counts nothing.",
              R"(Give "event_name" exactly as the application tracks it.)"},
    CheckCode{Check::CountNotANumber, "count-not-a-number", kWarning,
              "The first of a matcher's params is how many events are needed, read up to its first letter; of none the first event "
              "is enough.",
              R"(Write the count as the first of "params", such as ["3"].)"},
    CheckCode{Check::CountNeverReached, "count-never-reached", kError,
              "In a window without length each event is the first again, so that a count above 1 is never reached.",
              R"(Give the matcher's "window" a unit and a value.)"},
    CheckCode{Check::IdleMatcher, "idle-matcher", kNote,
              "One matcher is enough, so that one which another is always ahead of changes nothing.",
              "Take it out, or make it differ."},
    CheckCode{Check::NoRelation, "no-relation", kNote, R"(Conditions without a "relation" are joined by OR: any one is enough.)",
              R"(Write "relation": "AND" if all must hold, else "OR".)"},
    CheckCode{Check::NoField, "no-field", kError, "A condition that names no property cannot look at one.",
              R"(Give "field" the path of the property, such as "event.price".)"},
    CheckCode{Check::StrayBlank, "stray-blank", kWarning, "Names and texts are compared letter by letter, blanks included.",
              "Take the blank out."},
    CheckCode{
        Check::UnknownOperator, "unknown-operator", kError, "A condition with an operator of this name never holds.",
        "Use isSet, notSet, equal, notEqual, less, greater, between, isTrue, isFalse, isEmpty, isNotEmpty, contain, notContain, "
        "in, notInclude or absolute_between."},
    CheckCode{Check::BadParams, "bad-params", kError,
              "The operator gets parameters that it cannot use, so that the condition is not what was meant.",
              "Give the parameters that the operator needs, as an array of texts."},
    CheckCode{Check::ExtraParams, "extra-params", kWarning, "Parameters beyond those that the operator looks at are lost.",
              "Write a condition for each, joined by OR, or take them out."},
    CheckCode{Check::ListOperator, "list-operator", kNote,
              "in and notInclude look into properties that are lists; any other value is in none.",
              "For a text or number use equal or notEqual, which take several parameters."},
    CheckCode{Check::NotANumber, "not-a-number", kWarning,
              "Of a text the number that it begins with counts, and 0 when it begins with none; a whole number ends at its point.",
              "Write a plain number: no unit, no comma, no date."},
    CheckCode{Check::NotADate, "not-a-date", kNote,
              "A bound that is no date never matches a date value; texts are compared letter by letter.",
              R"(Write dates as "yyyy-MM-dd HH:mm", with seconds or milliseconds if needed.)"},
    CheckCode{Check::EmptyRange, "empty-range", kError, "No value lies between a first bound and a smaller last one.",
              "Write the smaller bound first."},
    CheckCode{Check::Contradiction, "contradiction", kError, "Conditions joined by AND that exclude each other never hold.",
              "Join them by OR, or take one out."},
    CheckCode{Check::AlwaysHolds, "always-holds", kWarning, "Conditions joined by OR that leave no value out filter nothing.",
              "Join them by AND, or write one notEqual with several parameters."},
    CheckCode{Check::UnknownUnit, "unknown-unit", kError, "A length of time in an unknown unit is empty.",
              "Use SECOND, MINUTE, HOUR, DAY, WEEK or MONTH, in capitals."},
    CheckCode{Check::NaturalUnit, "natural-unit", kError,
              "Windows aligned to the calendar know days, weeks and months alone; any other one is over as soon as it begins.",
              R"(Use DAY, WEEK or MONTH, or "natural": false.)"},
    CheckCode{Check::EmptyWindow, "empty-window", kWarning, "A window without length is over as soon as it begins.",
              R"(Give "value" a number above 0, or leave the whole rule out.)"},
    CheckCode{Check::EndlessReEntry, "endless-re-entry", kWarning,
              "Once the limit is reached, the user does not see the plan again before the window ends.",
              "Shorten the window if the plan is meant to come again."},
    CheckCode{Check::ReEntryWithoutLimit, "re-entry-without-limit", kNote,
              "The popup that opens a re-entry window counts as its first, so that a limit below 1 works as 1.",
              R"(Give "limit" the number of popups in one window.)"},
    CheckCode{Check::LimitNeverReached, "limit-never-reached", kNote,
              "Another window of the plan keeps its popups so far apart that the limit of re-entry never counts.",
              "Shorten that window, or take the limit out."},
    CheckCode{Check::CapOfZero, "cap-of-zero", kError, "A cap of 0 is reached before the first popup.",
              "Give the limit a number above 0, or take it out."},
    CheckCode{Check::LimitNotInUse, "limit-not-in-use", kNote, "Limits that are not in use hold nothing back.",
              R"(Write "is_in_use": true, or take the limits out.)"},
    CheckCode{Check::NoDisplayTime, "no-display-time", kError, "A plan whose display times hold no valid range never shows.",
              R"(Give at least one range, or take "display_time_config" out.)"},
    CheckCode{Check::DisplayTime, "display-time", kWarning,
              "Times are compared letter by letter and read as hours:minutes, so that others than HH:mm mean something else.",
              R"(Write both as HH:mm with leading zeros, such as "09:00".)"},
    CheckCode{Check::DisplayDay, "display-day", kError,
              "A weekly range without a weekday as a number from 1 to 7 is never in force when meant.",
              R"(Write "day" as a number: 1 is Sunday, 7 is Saturday.)"},
    CheckCode{Check::PullInterval, "pull-interval", kNote,
              "The library asks for a new configuration in this rhythm, or in its own when there is none.",
              R"(Give "config_pull_interval_ms" in milliseconds; a minute or more spares the server.)"},
    CheckCode{Check::MinimumVersion, "minimum-version", kWarning,
              "Libraries below the minimum version refuse the whole configuration.",
              "Lower the minimum, or make sure that all applications are newer."},
    CheckCode{Check::NoContent, "no-content", kError, "A popup without a layout fails instead of showing (error 1001).",
              R"(Give "popup_window_content" a "content" that holds the layout as text.)"},
    CheckCode{Check::UnknownPopupType, "unknown-popup-type", kWarning, R"(Any type but "CUSTOMIZED" is shown by the library.)",
              R"(Write "PRESET" or "CUSTOMIZED".)"},
    CheckCode{Check::NoTemplate, "no-template", kError, "A layout without an element fails instead of showing (error 1001).",
              R"(Give the layout a "template" with a type.)"},
    CheckCode{Check::NoWayOut, "no-way-out", kError, "Nothing in this popup closes it.",
              R"(Give a button a closeable action, or write "maskCloseEnabled": true.)"},
    CheckCode{Check::UnknownElement, "unknown-element", kWarning,
              "An element of an unknown type is laid out as a row of its subviews.",
              "Use label, image, button, image_button, link, column or row."},
    CheckCode{Check::UnknownWord, "unknown-word", kWarning, "An unknown word counts as left.", "Use left, center or right."},
    CheckCode{Check::NoLayout, "no-layout", kError,
              R"(An element without a "layout" is 0 points wide and high: nobody sees it, nor what is in it.)",
              R"(Give it a "layout"; {} takes the whole width.)"},
    CheckCode{Check::BadLength, "bad-length", kError, "A length is a text that begins with a number; anything else reads as 0.",
              R"(Write lengths as texts: "120px" scales with the screen, "0.5" is half of the container, "12" is points.)"},
    CheckCode{Check::ZeroWidth, "zero-width", kWarning, "A width of 0 means the whole width of the container.",
              R"(Leave "width" out for the whole width, or hide the element with "isHidden" in its "properties".)"},
    CheckCode{Check::Overflow, "overflow", kWarning, "What reaches out of its container is cut off.",
              "Narrow the element, or give the container padding instead of the element margins."},
    CheckCode{Check::NoHeight, "no-height", kError,
              "Images, buttons and links are as high as their layout says; without a height nobody sees them.",
              R"(Give "layout" a "height".)"},
    CheckCode{Check::ScrollsWithoutHeight, "scrolls-without-height", kError,
              "A scrolling label is at most as high as maxHeight, and 0 high without it.", R"(Give "layout" a "maxHeight".)"},
    CheckCode{Check::WholeWidthInRow, "whole-width-in-row", kWarning,
              "In a row an element without a width is as wide as the whole row and pushes those behind it out of sight.",
              R"(Give every element of a row a "width".)"},
    CheckCode{Check::NoText, "no-text", kWarning, "A label without text, or with a font of size 0, shows nothing.",
              R"(Give "text" and "font".)"},
    CheckCode{Check::Placeholder, "placeholder", kWarning,
              "The library fills nothing in: the user reads the placeholder as it stands.",
              "Let the server fill it in for each user, or write a text for all."},
    CheckCode{Check::BadColour, "bad-colour", kError, "A colour is an object; any other form counts as none.",
              R"(Write {"r": 0 to 255, "g": 0 to 255, "b": 0 to 255, "a": 0 to 1}.)"},
    CheckCode{Check::InvisibleColour, "invisible-colour", kError, R"(A colour without "a" is fully transparent.)",
              R"(Write "a": 1 for an opaque colour.)"},
    CheckCode{Check::Contrast, "contrast", kWarning, "Text of little contrast cannot be read by many (WCAG 2.1, 1.4.3).",
              "Make the text darker or lighter: 4.5 to 1, or 3 to 1 for texts of 24 points and more."},
    CheckCode{Check::BadURL, "bad-url", kError, "A picture or link that is no http or https URL cannot be loaded.",
              "Write an absolute URL."},
    CheckCode{Check::UnknownAction, "unknown-action", kWarning, "An action of an unknown type does nothing and is not reported.",
              "Use close, openlink, copy or customize."},
    CheckCode{Check::IdleAction, "idle-action", kWarning, "A tap on this element does nothing.",
              R"(Write "closeable": true for a close action, a "value" for a link or copy, and list actions under "IOS".)"},
    CheckCode{Check::MisplacedHidden, "misplaced-hidden", kNote,
              R"("isHidden" counts only inside "properties" of an entry of "subviews".)",
              R"(Move it into the element's "properties".)"},
};
static_assert(kCheckCodes.size() == static_cast<std::size_t>(Check::Count));

constexpr bool inOrder() {
  for (std::size_t i = 0; i < kCheckCodes.size(); ++i) {
    if (kCheckCodes[i].check != static_cast<Check>(i)) return false;
  }
  return true;
}
static_assert(inOrder());

}  // namespace

std::span<const CheckCode> checkCodes() { return kCheckCodes; }

const CheckCode& checkCode(Check check) { return kCheckCodes[static_cast<std::size_t>(check)]; }

std::string_view severityName(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return "error";
    case Severity::Warning:
      return "warning";
    case Severity::Note:
      break;
  }
  return "note";
}

}  // namespace kaleo::tools
