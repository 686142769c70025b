#include "kaleo/KLValue.h"

#include <cmath>
#include <limits>

namespace kaleo {
namespace {

// 2^63: the first double above all 64-bit integers.
constexpr double kIntegerEnd = 9223372036854775808.0;

// What `payload` shares of type T; the empty T when it holds something else.
template <class T, class Payload>
const T& sharedOrEmpty(const Payload& payload) noexcept {
  static const T empty{};
  const auto* value = std::get_if<std::shared_ptr<const T>>(&payload);
  return value && *value ? **value : empty;
}

std::int64_t clampedInteger(double value) noexcept {
  if (std::isnan(value)) return 0;
  if (value >= kIntegerEnd) return std::numeric_limits<std::int64_t>::max();
  if (value < -kIntegerEnd) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

// Exact: a 64-bit integer is never rounded to a double for the comparison.
bool equalNumbers(const KLValue& left, const KLValue& right) noexcept {
  if (left.isDouble() && right.isDouble()) return left.asDouble() == right.asDouble();
  if (!left.isDouble() && !right.isDouble()) return left.asInteger() == right.asInteger();
  const double real = left.isDouble() ? left.asDouble() : right.asDouble();
  const std::int64_t integer = left.isDouble() ? right.asInteger() : left.asInteger();
  if (!(real >= -kIntegerEnd && real < kIntegerEnd) || real != std::trunc(real)) return false;
  return static_cast<std::int64_t>(real) == integer;
}

}  // namespace

KLValue::KLValue(std::string value) : payload_(std::make_shared<const std::string>(std::move(value))) {}
KLValue::KLValue(KLBytes value) : payload_(std::make_shared<const KLBytes>(std::move(value))) {}
KLValue::KLValue(Array value) : payload_(std::make_shared<const Array>(std::move(value))) {}
KLValue::KLValue(KLObject value) : payload_(std::make_shared<const KLObject>(std::move(value))) {}

bool KLValue::asBool() const noexcept {
  const auto* value = std::get_if<bool>(&payload_);
  return value && *value;
}

std::int64_t KLValue::asInteger() const noexcept {
  switch (type()) {
    case Type::Bool:
      return *std::get_if<bool>(&payload_) ? 1 : 0;
    case Type::Integer:
      return *std::get_if<std::int64_t>(&payload_);
    case Type::Double:
      return clampedInteger(*std::get_if<double>(&payload_));
    default:
      return 0;
  }
}

double KLValue::asDouble() const noexcept {
  const auto* value = std::get_if<double>(&payload_);
  return value ? *value : static_cast<double>(asInteger());
}

KLDate KLValue::asDate() const noexcept {
  const auto* value = std::get_if<KLDate>(&payload_);
  return value ? *value : KLDate{};
}

const std::string& KLValue::asString() const noexcept { return sharedOrEmpty<std::string>(payload_); }
const KLBytes& KLValue::asBytes() const noexcept { return sharedOrEmpty<KLBytes>(payload_); }
const KLValue::Array& KLValue::asArray() const noexcept { return sharedOrEmpty<Array>(payload_); }
const KLObject& KLValue::asObject() const noexcept { return sharedOrEmpty<KLObject>(payload_); }

const KLValue* KLValue::find(std::string_view key) const noexcept { return asObject().find(key); }

bool operator==(const KLValue& left, const KLValue& right) noexcept {
  if (left.isNumber() && right.isNumber()) return equalNumbers(left, right);
  if (left.type() != right.type()) return false;
  switch (left.type()) {
    case KLValue::Type::String:
      return left.asString() == right.asString();
    case KLValue::Type::Date:
      return left.asDate() == right.asDate();
    case KLValue::Type::Bytes:
      return left.asBytes() == right.asBytes();
    case KLValue::Type::Array:
      return &left.asArray() == &right.asArray() || left.asArray() == right.asArray();
    case KLValue::Type::Object:
      return &left.asObject() == &right.asObject() || left.asObject() == right.asObject();
    default:
      return true;  // null
  }
}

}  // namespace kaleo
