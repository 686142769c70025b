#pragma once

#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLFieldTable.h"
#include "Core/Model/KLPlanPattern.h"

namespace kaleo {

enum class KLPermissionRelation : std::uint8_t { And = 0, Or = 1 };

/// "and" in any case is And; anything else, and absence, is Or.
template <>
struct KLCoercion<KLPermissionRelation> {
  static void parse(const KLValue* json, KLPermissionRelation& member, KLParseContext&);
  static void decode(const KLValue& archived, KLPermissionRelation& member);
  static std::optional<KLValue> encode(KLPermissionRelation member);
};

class KLEventPermissionFilter;

/// Nested filters. Below `KLParseContext::kMaxFilterNesting` levels a filter that admits nothing stands for the rest: a gate that
/// cannot be read in full stays shut.
struct KLNestedFilters : KLList<KLStrangers::Neutral> {
  static void parse(const KLValue* json, std::vector<KLEventPermissionFilter>& member, KLParseContext& context);
};

/// A gate before a plan's matchers: a tree of property conditions. An empty one admits every event.
class KLEventPermissionFilter : public KLModel<KLEventPermissionFilter> {
 public:
  KLPermissionRelation relation = KLPermissionRelation::Or;
  std::vector<KLPlanCondition> conditions;
  std::vector<KLEventPermissionFilter> filters;

  /// Conditions and filters are each joined by `relation`; the two halves are always joined by AND.
  bool matchWithEvent(const KLValue& event, const KLCalendar& calendar) const;
  bool matchConditionsWithEvent(const KLValue& event, const KLCalendar& calendar) const;
  bool matchFiltersWithEvent(const KLValue& event, const KLCalendar& calendar) const;
  static std::vector<KLEventPermissionFilter> filtersFromResponseData(const KLValue* data);

  static constexpr auto fields() {
    return std::tuple{
        KLFieldOf(&KLEventPermissionFilter::relation, "relation", "relation"),
        KLFieldAs<KLList<KLStrangers::Skipped>>(&KLEventPermissionFilter::conditions, "conditions", "conditions"),
        KLFieldAs<KLNestedFilters>(&KLEventPermissionFilter::filters, "filters", "filters"),
    };
  }
};

}  // namespace kaleo
