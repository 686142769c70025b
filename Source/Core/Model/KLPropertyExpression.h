#pragma once

#include <cstdint>
#include <memory>
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

/// An operator with its parameters, compiled once and asked for any number of property values. Small and cheap to copy: what most
/// operators need lies in it, the rest is shared.
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
  /// The same as a condition on a property: an absent one satisfies "notSet" alone.
  bool holdsForProperty(const KLValue* value, const KLCalendar& calendar) const {
    return value ? isMatched(value, calendar) : function_ == KLPropertyOperator::NotSet;
  }

  /// The instant (seconds since 1970) that `text` names as "yyyy-MM-dd HH:mm", with seconds, or with milliseconds.
  static std::optional<double> dateFromString(const KLValue* text, const KLCalendar& calendar);
  static std::optional<double> dateFromString(const std::string& text, const char* format, const KLCalendar& calendar);

 private:
  friend struct KLPropertyOperators;

  /// What is derived from the parameters is there for the operators that ask for it.
  struct Parameters {
    KLValue params;
    std::vector<std::string_view> texts;  ///< the texts among them, sorted; they lie in `params`
    std::vector<double> numbers;          ///< all of them as scaled numbers, sorted
    std::string firstDescription;         ///< the text of the first, whatever its kind

    const KLValue* first() const { return params.asArray().empty() ? nullptr : &params.asArray().front(); }
    const KLValue* last() const { return params.asArray().empty() ? nullptr : &params.asArray().back(); }
  };

  const Parameters& parameters() const;

  KLPropertyOperator function_ = KLPropertyOperator::Unknown;
  bool comparesNumbers_ = false;  ///< the first parameter is a number or a text
  double firstNumber_ = 0;        ///< the first parameter as a scaled number, and the last
  double lastNumber_ = 0;
  std::shared_ptr<const Parameters> parameters_;  ///< null: there are none
};

}  // namespace kaleo
