#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLFieldTable.h"

namespace kaleo {

/// The units of time models. Unknown: none of the others, or no unit at all; a length in it is empty.
enum class KLTimeUnit : std::uint8_t { Unknown, Second, Minute, Hour, Day, Week, Month };

/// A length of time: so many units, rolling from an instant or aligned to the calendar's periods.
class KLPlanTimeModel : public KLModel<KLPlanTimeModel> {
 public:
  std::optional<std::string> unit;  ///< "SECOND", "MINUTE", "HOUR", "DAY", "WEEK" or "MONTH", exactly
  bool natural = false;             ///< aligned to calendar periods
  std::int64_t value = 0;           ///< the number of units

  KLPlanTimeModel() = default;
  KLPlanTimeModel(std::string unit, bool natural, std::int64_t value);

  KLTimeUnit timeUnit() const { return timeUnit_; }

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPlanTimeModel::unit, "unit", "unit"), KLFieldOf(&KLPlanTimeModel::natural, "natural", "natural"),
                      KLFieldOf(&KLPlanTimeModel::value, "value", "value")};
  }
  void compile();

 private:
  KLTimeUnit timeUnit_ = KLTimeUnit::Unknown;  ///< `unit`, compiled
};

/// A length of time with a cap on what may happen in it.
class KLPlanLimitModel : public KLPlanTimeModel {
 public:
  std::int64_t limit = 0;

  /// The length alone.
  KLPlanTimeModel timeModel() const { return *this; }

  static constexpr auto fields() {
    return std::tuple_cat(KLPlanTimeModel::fields(), std::tuple{KLFieldOf(&KLPlanLimitModel::limit, "limit", "limit")});
  }
  static KLPlanLimitModel fromResponseData(const KLValue* data);
  static std::vector<KLPlanLimitModel> limitModelsFromResponseData(const KLValue* data);
  KLValue encode() const { return KLFields::encode(*this); }
  static KLPlanLimitModel decode(const KLValue& archive);
  friend bool operator==(const KLPlanLimitModel& left, const KLPlanLimitModel& right) { return KLFields::equal(left, right); }
};

/// How many popups may be shown in all, in each of several lengths of time.
class KLPopupGlobalLimitModel : public KLModel<KLPopupGlobalLimitModel> {
 public:
  bool isInUse = false;
  std::vector<KLPlanLimitModel> limits;

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPopupGlobalLimitModel::isInUse, "is_in_use", "isInUse"),
                      KLFieldAs<KLList<KLStrangers::Neutral>>(&KLPopupGlobalLimitModel::limits, "limits", "limits")};
  }
};

}  // namespace kaleo
