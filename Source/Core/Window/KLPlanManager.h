#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Core/Model/KLMatcherTable.h"
#include "Core/Model/KLPopupConfig.h"
#include "Core/Window/KLPopupPlan.h"

namespace kaleo {

/// Hashes texts so that a table of strings answers for any view of characters.
struct KLTextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

/// Turns the configuration in force into the plans that may run, in serving order, and the events that concern any plan.
/// Threads: the trigger queue. Lifetime: borrows what the surroundings borrow.
class KLPlanManager {
 public:
  using Plans = std::vector<std::shared_ptr<KLPopupPlan>>;
  using Events = std::vector<std::string>;

  explicit KLPlanManager(const KLPopupPlanSurroundings& surroundings) : surroundings_(surroundings) {}
  KLPlanManager(const KLPlanManager&) = delete;
  KLPlanManager& operator=(const KLPlanManager&) = delete;

  /// Null: no plans.
  void setPopupConfig(std::shared_ptr<const KLPopupConfig> config);
  const std::shared_ptr<const KLPopupConfig>& popupConfig() const { return popupConfig_; }
  /// Rebuilds everything below from the configuration, with a record for each plan that may not run.
  void filterPlansAndEvents();
  /// Restores the windows of all plans, with one query.
  void loadPlans();

  /// The plans that may run: higher priority first, then higher plan id.
  const Plans& sortedPlans() const { return sortedPlans_; }
  /// The plans among them that listen to an event of one name, in the same order, with the table of their matchers.
  struct Listeners {
    Plans plans;
    KLMatcherTable matchers;
  };
  /// Null when no plan listens.
  Listeners* listenersForEvent(std::string_view eventName);
  const Plans& plansForEvent(std::string_view eventName) const;
  /// The first plan whose id is the integer that `planID` begins with; null when there is none.
  std::shared_ptr<KLPopupPlan> planWithPlanID(std::string_view planID) const;

  /// Every event that any plan of the configuration listens to, those that may not run included; in first-seen order.
  const Events& neededEvents() const { return neededEvents_; }
  /// Whether it is among them: one look-up.
  bool isNeededEvent(std::string_view eventName) const { return neededEventSet_.contains(eventName); }
  using EventSet = std::unordered_set<std::string, KLTextHash, std::equal_to<>>;
  const EventSet& neededEventSet() const { return neededEventSet_; }
  /// The event names of a plan; kept in eventsWithPlans.
  const Events& neededEventsInSinglePlan(const KLPopupPlanModel& model);
  /// The event names of the plan with that key; null when it was never seen. Plans that left the configuration stay known.
  const Events* eventsForPlan(std::string_view planKey) const;
  const std::unordered_map<std::string, Events, KLTextHash, std::equal_to<>>& eventsWithPlans() const { return eventsWithPlans_; }

 private:
  void filterPlan(const std::shared_ptr<const KLPopupPlanModel>& model, double now, Plans& runnable) const;
  void report(const KLPopupPlanModel& model, KLDecision::Kind kind) const;
  void addNeededEvents(const Events& events);
  void indexPlans();

  const KLPopupPlanSurroundings surroundings_;
  std::shared_ptr<const KLPopupConfig> popupConfig_;
  Plans sortedPlans_;
  Events neededEvents_;
  EventSet neededEventSet_;
  std::unordered_map<std::string, Events, KLTextHash, std::equal_to<>> eventsWithPlans_;
  std::unordered_map<std::string, Listeners, KLTextHash, std::equal_to<>> listenersByEvent_;
};

}  // namespace kaleo
