#include "Core/Model/KLEventPermissionFilter.h"

#include <algorithm>

#include "Core/Model/KLTextComparison.h"
#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

template <class Item>
bool matchPermissionItems(const std::vector<Item>& items, KLPermissionRelation relation, const KLValue& event,
                          const KLCalendar& calendar) {
  if (items.empty()) return true;
  const auto matches = [&](const Item& item) { return item.matchWithEvent(event, calendar); };
  return relation == KLPermissionRelation::And ? std::ranges::all_of(items, matches) : std::ranges::any_of(items, matches);
}

// Its one condition has no field, and so never holds.
KLEventPermissionFilter closedGate() {
  KLEventPermissionFilter gate;
  gate.conditions.emplace_back();
  return gate;
}

bool holdsFilters(const KLValue* json) { return json && json->isArray() && !json->asArray().empty(); }

}  // namespace

void KLCoercion<KLPermissionRelation>::parse(const KLValue* json, KLPermissionRelation& member, KLParseContext&) {
  const bool isAnd = KLIsEqualIgnoringCase(quillon_stringValue(json).value_or("or"), "and");
  member = isAnd ? KLPermissionRelation::And : KLPermissionRelation::Or;
}

void KLCoercion<KLPermissionRelation>::decode(const KLValue& archived, KLPermissionRelation& member) {
  member = quillon_integerValue(&archived) == 0 ? KLPermissionRelation::And : KLPermissionRelation::Or;
}

std::optional<KLValue> KLCoercion<KLPermissionRelation>::encode(KLPermissionRelation member) {
  return KLValue(static_cast<std::int64_t>(member));
}

void KLNestedFilters::parse(const KLValue* json, std::vector<KLEventPermissionFilter>& member, KLParseContext& context) {
  if (context.filterNesting == KLParseContext::kMaxFilterNesting && holdsFilters(json)) {
    context.reportNesting();
    member.assign(1, closedGate());
    return;
  }
  ++context.filterNesting;
  KLList::parse(json, member, context);
  --context.filterNesting;
}

bool KLEventPermissionFilter::matchWithEvent(const KLValue& event, const KLCalendar& calendar) const {
  const bool conditionsMatch = matchConditionsWithEvent(event, calendar);
  const bool filtersMatch = matchFiltersWithEvent(event, calendar);
  return conditionsMatch && filtersMatch;
}

bool KLEventPermissionFilter::matchConditionsWithEvent(const KLValue& event, const KLCalendar& calendar) const {
  return matchPermissionItems(conditions, relation, event, calendar);
}

bool KLEventPermissionFilter::matchFiltersWithEvent(const KLValue& event, const KLCalendar& calendar) const {
  return matchPermissionItems(filters, relation, event, calendar);
}

std::vector<KLEventPermissionFilter> KLEventPermissionFilter::filtersFromResponseData(const KLValue* data) {
  KLParseContext context;
  std::vector<KLEventPermissionFilter> filters;
  KLNestedFilters::parse(data, filters, context);
  return filters;
}

}  // namespace kaleo
