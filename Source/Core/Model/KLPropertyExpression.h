#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/KLCalendar.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// The operators of property conditions. Unknown never holds.
enum class KLPropertyOperator : std::uint8_t {
  Unknown,
  IsSet,
  NotSet,
  Equal,
  NotEqual,
  Less,
  Greater,
  Between,
  IsTrue,
  IsFalse,
  IsEmpty,
  IsNotEmpty,
  Contain,
  NotContain,
  In,
  NotInclude,
  AbsoluteBetween,
};

/// The operator of that name, exactly; "absolute_between" and "absoluteBetween" are one.
KLPropertyOperator KLPropertyOperatorNamed(std::string_view name);

/// An operator with its parameters, compiled once and asked for any number of property values.
///
/// Numbers are compared to three decimals: times 1000, rounded down. Texts in numeric comparisons count as the number that they
/// begin with, a text without one as 0.
/// Threads: any.
class KLPropertyExpression {
 public:
  KLPropertyExpression() = default;
  /// `params`: an array; anything else counts as an empty one. Its payload is shared.
  KLPropertyExpression(std::string_view function, KLValue params);

  KLPropertyOperator function() const { return function_; }
  /// Whether the operator holds for `field`, null for an absent value. `calendar` gives the zone in which texts name dates.
  bool isMatched(const KLValue* field, const KLCalendar& calendar) const;

  /// The instant (seconds since 1970) that `text` names as "yyyy-MM-dd HH:mm", with seconds, or with milliseconds.
  static std::optional<double> dateFromString(const KLValue* text, const KLCalendar& calendar);
  static std::optional<double> dateFromString(const std::string& text, const char* format, const KLCalendar& calendar);

 private:
  friend struct KLPropertyOperators;

  const KLValue* first() const { return params_.asArray().empty() ? nullptr : &params_.asArray().front(); }
  const KLValue* last() const { return params_.asArray().empty() ? nullptr : &params_.asArray().back(); }

  KLPropertyOperator function_ = KLPropertyOperator::Unknown;
  KLValue params_{KLValue::Array{}};
  std::vector<std::string_view> texts_;  ///< the texts among the parameters, sorted; they lie in params_
  std::vector<double> scaled_;           ///< all parameters as scaled numbers, in order
  std::vector<double> scaledSorted_;
  std::string firstDescription_;  ///< the text of the first parameter, whatever its kind
  bool comparesNumbers_ = false;  ///< the first parameter is a number or a text
};

}  // namespace kaleo
