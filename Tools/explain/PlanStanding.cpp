#include "explain/PlanStanding.h"

#include <fmt/format.h>

#include <algorithm>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo::tools {
namespace {

constexpr double kMillisecondsPerSecond = 1000;
/// What is written out of a permission; the rest of a long one says nothing to a reader.
constexpr std::size_t kMostPermissionBytes = 300;

std::string textOf(const KLPlanCondition& condition) {
  std::string text = fmt::format("{} {}", condition.property(), condition.function.value_or("?"));
  const auto& params = condition.params.asArray();
  for (std::size_t i = 0; i < params.size(); ++i) {
    text += fmt::format("{}\"{}\"", i == 0 ? " " : ", ", quillon_stringValue(&params[i]).value_or(""));
  }
  return text;
}

/// The parts of a filter, joined as it joins them.
template <class Parts, class Text>
std::string joined(const Parts& parts, KLPermissionRelation relation, Text text) {
  std::string all;
  for (const auto& part : parts) {
    if (all.size() > kMostPermissionBytes) return all;
    all += (all.empty() ? "" : relation == KLPermissionRelation::And ? " and " : " or ") + text(part);
  }
  return all;
}

std::string textOf(const KLEventPermissionFilter& filter) {
  const auto conditions = joined(filter.conditions, filter.relation, [](const auto& part) { return textOf(part); });
  const auto filters = joined(filter.filters, filter.relation, [](const auto& part) {
    const std::string text = textOf(part);
    return text.empty() ? "any event" : "(" + text + ")";
  });
  if (conditions.empty() || filters.empty()) return conditions + filters;
  return fmt::format("({}) and {}", conditions, filter.filters.size() == 1 ? filters : "(" + filters + ")");
}

std::string permissionOf(const KLPopupPlanModel& plan) {
  std::string text = printable(textOf(plan.permissionFilter));
  if (text.size() <= kMostPermissionBytes) return text;
  return text.substr(0, text.rfind(' ', kMostPermissionBytes)) + " ...";
}

std::vector<PlanStanding::Event> eventsOf(const KLPopupPlanModel& plan, const std::map<std::string, EventUse>* uses) {
  std::vector<PlanStanding::Event> events;
  for (const KLPlanPopupMatcher& matcher : plan.patternPopup.matcherList) {
    const std::string name = matcher.eventName.value_or("");
    if (name.empty() || std::ranges::find(events, name, &PlanStanding::Event::name) != events.end()) continue;
    std::optional<EventUse> use;
    if (uses) {
      const auto found = uses->find(name);
      use = found == uses->end() ? EventUse{} : found->second;
    }
    events.push_back({name, matcher.triggerCount(), use});
  }
  return events;
}

StandingSentence sentenceOf(const PlanStanding::Event& event, const PlanStanding& standing, const TimeText& times) {
  const std::string waits = fmt::format("Waits for {}{}", printable(event.name),
                                        event.needed > 1 ? fmt::format(", {} times", event.needed) : std::string());
  if (!event.use) return {waits + "."};
  if (event.use->count == 0) {
    return {fmt::format("{}: no record of it since the records begin, at {}. It did not come, or was refused without a record.",
                        waits, times.at(standing.recordsFrom)),
            Tone::Bad};
  }
  return {fmt::format("{}: recorded {}, last at {}.", waits,
                      event.use->count == 1 ? std::string("once") : fmt::format("{} times", event.use->count),
                      times.at(event.use->last))};
}

StandingSentence displaySentence(const PlanStanding& standing, const TimeText& times) {
  constexpr const char* kSilent = "what comes at another time is refused without a record";
  if (standing.displayRule.empty()) {
    return {"Display times: none that is ever open, so every event is refused without a record.", Tone::Bad};
  }
  const DisplayTimes& found = *standing.displayTimes;
  if (found.isOpen) {
    return {fmt::format("Display times: {}; {}. Open now, {}.", standing.displayRule, kSilent,
                        found.closesAt ? "until " + times.full(*found.closesAt) : "and at any time")};
  }
  return {fmt::format("Display times: {}; {}. Closed now, {}.", standing.displayRule, kSilent,
                      found.opensAt ? "next open at " + times.full(*found.opensAt) : "and never open"),
          Tone::Bad};
}

StandingSentence expirySentence(const PlanStanding& standing, const TimeText& times) {
  if (!standing.expiresAt) return {"Expires: it names no time, so it counts as expired.", Tone::Bad};
  if (!standing.isExpired) return {fmt::format("Expires at {}.", times.full(*standing.expiresAt))};
  return {fmt::format("Expired at {}: what came since, until the next configuration, was refused without a record.",
                      times.full(*standing.expiresAt)),
          Tone::Bad};
}

}  // namespace

PlanStanding standingOf(const KLPopupPlanModel& plan, const std::map<std::string, EventUse>* uses, const KLPlanTime& time) {
  PlanStanding standing;
  standing.events = eventsOf(plan, uses);
  standing.neverMatches = plan.patternPopup.isUnsupported();
  if (plan.repeatDisplay) {
    standing.displayTimes = displayTimesAt(*plan.repeatDisplay, time);
    standing.displayRule = textOf(*plan.repeatDisplay);
  }
  standing.permission = permissionOf(plan);
  const KLValue expiry = plan.expireAt ? KLValue(*plan.expireAt) : KLValue();
  if (const double at = quillon_doubleValue(&expiry); at != 0) standing.expiresAt = at / kMillisecondsPerSecond;
  standing.isExpired = plan.isExpired(time.clock.now());
  return standing;
}

std::vector<StandingSentence> sentencesOf(const PlanStanding& standing, const TimeText& times) {
  std::vector<StandingSentence> sentences;
  for (const PlanStanding::Event& event : standing.events) sentences.push_back(sentenceOf(event, standing, times));
  if (standing.events.empty()) sentences.push_back({"Waits for no event at all, so it never shows.", Tone::Bad});
  if (standing.neverMatches) {
    sentences.push_back(
        {"Its matchers are joined by AND, which never matches: every event is refused without a record.", Tone::Bad});
  }
  if (standing.displayTimes) sentences.push_back(displaySentence(standing, times));
  if (!standing.permission.empty()) {
    sentences.push_back({fmt::format("Event permission: {}; any other event is refused without a record.", standing.permission)});
  }
  sentences.push_back(expirySentence(standing, times));
  return sentences;
}

KLValue documentOf(const PlanStanding& standing) {
  const auto orNull = [](const std::optional<double>& instant) { return instant ? KLValue(*instant) : KLValue(); };
  KLValue::Array events;
  for (const PlanStanding::Event& event : standing.events) {
    KLObject document{{"event", event.name}, {"needed", event.needed}};
    document.set("recorded", event.use ? KLValue(static_cast<std::int64_t>(event.use->count)) : KLValue());
    document.set("last", event.use && event.use->count > 0 ? KLValue(event.use->last) : KLValue());
    events.emplace_back(std::move(document));
  }
  KLValue times;
  if (standing.displayTimes) {
    times = KLObject{{"rule", standing.displayRule},
                     {"open", standing.displayTimes->isOpen},
                     {"closes_at", orNull(standing.displayTimes->closesAt)},
                     {"opens_at", orNull(standing.displayTimes->opensAt)}};
  }
  return KLObject{
      {"fetched_at", standing.fetchedAt},  {"waits_for", std::move(events)},          {"never_matches", standing.neverMatches},
      {"display_times", std::move(times)}, {"event_permission", standing.permission}, {"expires_at", orNull(standing.expiresAt)},
      {"expired", standing.isExpired}};
}

}  // namespace kaleo::tools
