#include "Core/Model/KLPropertyExpression.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

constexpr double kScale = 1000.0;

// As a double, so that no size of number overflows.
double scaled(double number) { return std::floor(number * kScale); }

// The text of a number reads back as the number; that of infinity or of no number reads as 0.
double scaledNumber(const KLValue& value) {
  const double number = value.asDouble();
  return std::isfinite(number) ? scaled(number) : 0;
}

double scaledParameter(const KLValue& value) {
  if (value.isNumber()) return scaledNumber(value);
  return scaled(value.isString() ? quillon_doublePrefix(value.asString()) : quillon_doublePrefix(quillon_description(value)));
}

std::vector<double> sortedNumbers(const KLValue::Array& params) {
  std::vector<double> numbers(params.size());
  std::ranges::transform(params, numbers.begin(), scaledParameter);
  std::ranges::sort(numbers);
  return numbers;
}

std::vector<std::string_view> sortedTexts(const KLValue::Array& params) {
  std::vector<std::string_view> texts;
  texts.reserve(params.size());
  for (const KLValue& param : params) {
    if (param.isString()) texts.push_back(param.asString());
  }
  std::ranges::sort(texts);
  return texts;
}

bool isEmptyText(const KLValue& value) { return value.isString() && value.asString().empty(); }

}  // namespace

// One function for each operator: the expression and the property value (null: absent) in, the verdict out.
struct KLPropertyOperators {
  using Expression = KLPropertyExpression;
  using Test = bool (*)(const Expression&, const KLValue* value, const KLCalendar&);

  static bool hasText(const Expression& e, std::string_view text) { return std::ranges::binary_search(e.parameters().texts, text); }

  static bool hasNumber(const Expression& e, const KLValue& value) {
    return std::ranges::binary_search(e.parameters().numbers, scaledNumber(value));
  }

  static bool isNumeric(const Expression& e, const KLValue* value) { return value && value->isNumber() && e.comparesNumbers_; }

  static bool hasElementOf(const Expression& e, const KLValue& list) {
    const auto& params = e.parameters().params.asArray();
    const bool onlyTexts = e.parameters().texts.size() == params.size();
    return std::ranges::any_of(list.asArray(), [&](const KLValue& element) {
      if (element.isString()) return hasText(e, element.asString());
      return !onlyTexts && std::ranges::find(params, element) != params.end();
    });
  }

  static bool unknown(const Expression&, const KLValue*, const KLCalendar&) { return false; }
  static bool isSet(const Expression&, const KLValue* value, const KLCalendar&) { return value; }
  static bool notSet(const Expression&, const KLValue* value, const KLCalendar&) { return !value; }

  static bool equal(const Expression& e, const KLValue* value, const KLCalendar&) {
    if (value && value->isString()) return hasText(e, value->asString());
    return isNumeric(e, value) && hasNumber(e, *value);
  }

  static bool notEqual(const Expression& e, const KLValue* value, const KLCalendar&) {
    if (value && value->isString()) return !hasText(e, value->asString());
    return isNumeric(e, value) && !hasNumber(e, *value);
  }

  static bool less(const Expression& e, const KLValue* value, const KLCalendar&) {
    return isNumeric(e, value) && e.firstNumber_ > scaledNumber(*value);
  }

  static bool greater(const Expression& e, const KLValue* value, const KLCalendar&) {
    return isNumeric(e, value) && scaledNumber(*value) > e.firstNumber_;
  }

  static bool between(const Expression& e, const KLValue* value, const KLCalendar&) {
    if (!isNumeric(e, value)) return false;
    const double number = scaledNumber(*value);
    return e.firstNumber_ <= number && number <= e.lastNumber_;
  }

  static bool isTrue(const Expression&, const KLValue* value, const KLCalendar&) { return quillon_boolValue(value); }
  static bool isFalse(const Expression&, const KLValue* value, const KLCalendar&) { return !quillon_boolValue(value); }

  static bool isEmpty(const Expression&, const KLValue* value, const KLCalendar&) {
    return value && (isEmptyText(*value) || (value->isArray() && std::ranges::all_of(value->asArray(), isEmptyText)));
  }

  static bool isNotEmpty(const Expression& e, const KLValue* value, const KLCalendar& calendar) {
    return value && (value->isString() || value->isArray()) && !isEmpty(e, value, calendar);
  }

  static bool searchesText(const Expression& e, const KLValue* value) { return value && value->isString() && e.parameters_; }

  static bool contain(const Expression& e, const KLValue* value, const KLCalendar&) {
    return searchesText(e, value) && value->asString().find(e.parameters().firstDescription) != std::string::npos;
  }

  static bool notContain(const Expression& e, const KLValue* value, const KLCalendar&) {
    return searchesText(e, value) && value->asString().find(e.parameters().firstDescription) == std::string::npos;
  }

  static bool in(const Expression& e, const KLValue* value, const KLCalendar&) {
    return value && value->isArray() && hasElementOf(e, *value);
  }

  static bool notInclude(const Expression& e, const KLValue* value, const KLCalendar&) {
    return !value || !value->isArray() || !hasElementOf(e, *value);
  }

  static bool isDateBetween(const Expression& e, double date, const KLCalendar& calendar) {
    const auto earliest = Expression::dateFromString(e.parameters().first(), calendar);
    const auto latest = Expression::dateFromString(e.parameters().last(), calendar);
    return earliest && latest && *earliest <= date && date <= *latest;
  }

  static bool absoluteBetween(const Expression& e, const KLValue* value, const KLCalendar& calendar) {
    const KLValue* const first = e.parameters().first();
    const KLValue* const last = e.parameters().last();
    if (!value || !first || !first->isString() || !last->isString()) return false;
    if (value->isDate()) return isDateBetween(e, value->asDate().secondsSince1970, calendar);
    return value->isString() && first->asString() <= value->asString() && value->asString() <= last->asString();
  }

  struct Entry {
    std::string_view name;
    KLPropertyOperator code;
    Test test;
  };

  static constexpr std::array<Entry, 18> kAll{{
      {"", KLPropertyOperator::Unknown, unknown},
      {"isSet", KLPropertyOperator::IsSet, isSet},
      {"notSet", KLPropertyOperator::NotSet, notSet},
      {"equal", KLPropertyOperator::Equal, equal},
      {"notEqual", KLPropertyOperator::NotEqual, notEqual},
      {"less", KLPropertyOperator::Less, less},
      {"greater", KLPropertyOperator::Greater, greater},
      {"between", KLPropertyOperator::Between, between},
      {"isTrue", KLPropertyOperator::IsTrue, isTrue},
      {"isFalse", KLPropertyOperator::IsFalse, isFalse},
      {"isEmpty", KLPropertyOperator::IsEmpty, isEmpty},
      {"isNotEmpty", KLPropertyOperator::IsNotEmpty, isNotEmpty},
      {"contain", KLPropertyOperator::Contain, contain},
      {"notContain", KLPropertyOperator::NotContain, notContain},
      {"in", KLPropertyOperator::In, in},
      {"notInclude", KLPropertyOperator::NotInclude, notInclude},
      {"absolute_between", KLPropertyOperator::AbsoluteBetween, absoluteBetween},
      {"absoluteBetween", KLPropertyOperator::AbsoluteBetween, absoluteBetween},
  }};

  // An operator's code is its place in the table.
  static constexpr bool isInOrder() {
    for (std::size_t i = 0; i + 1 < kAll.size(); ++i) {
      if (static_cast<std::size_t>(kAll[i].code) != i) return false;
    }
    return true;
  }
};
static_assert(KLPropertyOperators::isInOrder());

KLPropertyOperator KLPropertyOperatorNamed(std::string_view name) {
  const auto found = std::ranges::find(KLPropertyOperators::kAll, name, &KLPropertyOperators::Entry::name);
  return found == KLPropertyOperators::kAll.end() ? KLPropertyOperator::Unknown : found->code;
}

KLPropertyExpression::KLPropertyExpression(std::string_view function, KLValue params)
    : function_(KLPropertyOperatorNamed(function)) {
  const auto& list = params.asArray();
  if (list.empty()) return;
  comparesNumbers_ = list.front().isNumber() || list.front().isString();
  firstNumber_ = scaledParameter(list.front());
  lastNumber_ = scaledParameter(list.back());
  auto parameters = std::make_shared<Parameters>();
  switch (function_) {
    case KLPropertyOperator::Equal:
    case KLPropertyOperator::NotEqual:
      parameters->numbers = sortedNumbers(list);
      [[fallthrough]];
    case KLPropertyOperator::In:
    case KLPropertyOperator::NotInclude:
      parameters->texts = sortedTexts(list);
      break;
    case KLPropertyOperator::Contain:
    case KLPropertyOperator::NotContain:
      parameters->firstDescription = quillon_description(list.front());
      break;
    default:
      break;
  }
  parameters->params = std::move(params);
  parameters_ = std::move(parameters);
}

const KLPropertyExpression::Parameters& KLPropertyExpression::parameters() const {
  static const Parameters kNone;
  return parameters_ ? *parameters_ : kNone;
}

bool KLPropertyExpression::isMatched(const KLValue* field, const KLCalendar& calendar) const {
  return KLPropertyOperators::kAll[static_cast<std::size_t>(function_)].test(*this, field, calendar);
}

std::optional<double> KLPropertyExpression::dateFromString(const KLValue* text, const KLCalendar& calendar) {
  static constexpr std::array kFormats{"yyyy-MM-dd HH:mm", "yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd HH:mm:ss.SSS"};
  if (!text || !text->isString()) return std::nullopt;
  for (const char* format : kFormats) {
    if (const auto date = dateFromString(text->asString(), format, calendar)) return date;
  }
  return std::nullopt;
}

std::optional<double> KLPropertyExpression::dateFromString(const std::string& text, const char* format,
                                                           const KLCalendar& calendar) {
  double instant = 0;
  return calendar.parseDate(text, format, instant) ? std::optional(instant) : std::nullopt;
}

}  // namespace kaleo
