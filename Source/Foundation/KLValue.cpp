#include "kaleo/KLValue.h"

#include <cmath>
#include <limits>

namespace kaleo {
namespace {

// 2^63: the first double above all 64-bit integers.
constexpr double kIntegerEnd = 9223372036854775808.0;

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

template <class T>
struct KLValue::SharedOf : Shared {
  template <class Source>
  explicit SharedOf(Source&& source) : value(std::forward<Source>(source)) {}
  const T value;
};

KLValue::KLValue(std::string_view value) : payload_{.shared = new SharedOf<std::string>(value)}, type_(Type::String) {}
KLValue::KLValue(std::string value) : payload_{.shared = new SharedOf<std::string>(std::move(value))}, type_(Type::String) {}
KLValue::KLValue(KLBytes value) : payload_{.shared = new SharedOf<KLBytes>(std::move(value))}, type_(Type::Bytes) {}
KLValue::KLValue(Array value) : payload_{.shared = new SharedOf<Array>(std::move(value))}, type_(Type::Array) {}
KLValue::KLValue(KLObject value) : payload_{.shared = new SharedOf<KLObject>(std::move(value))}, type_(Type::Object) {}

// The last owner sees everything that the others did with the value.
void KLValue::release() const noexcept {
  if (payload_.shared->owners.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  switch (type_) {
    case Type::String:
      delete static_cast<const SharedOf<std::string>*>(payload_.shared);
      break;
    case Type::Bytes:
      delete static_cast<const SharedOf<KLBytes>*>(payload_.shared);
      break;
    case Type::Array:
      delete static_cast<const SharedOf<Array>*>(payload_.shared);
      break;
    default:
      delete static_cast<const SharedOf<KLObject>*>(payload_.shared);
      break;
  }
}

template <class T>
const T& KLValue::sharedOrEmpty(Type type) const noexcept {
  static const T empty{};
  return type_ == type ? static_cast<const SharedOf<T>*>(payload_.shared)->value : empty;
}

bool KLValue::asBool() const noexcept { return isBool() && payload_.boolean; }

std::int64_t KLValue::asInteger() const noexcept {
  switch (type()) {
    case Type::Bool:
      return payload_.boolean ? 1 : 0;
    case Type::Integer:
      return payload_.integer;
    case Type::Double:
      return clampedInteger(payload_.real);
    default:
      return 0;
  }
}

double KLValue::asDouble() const noexcept { return isDouble() ? payload_.real : static_cast<double>(asInteger()); }

KLDate KLValue::asDate() const noexcept { return isDate() ? payload_.date : KLDate{}; }

const std::string& KLValue::asString() const noexcept { return sharedOrEmpty<std::string>(Type::String); }
const KLBytes& KLValue::asBytes() const noexcept { return sharedOrEmpty<KLBytes>(Type::Bytes); }
const KLValue::Array& KLValue::asArray() const noexcept { return sharedOrEmpty<Array>(Type::Array); }
const KLObject& KLValue::asObject() const noexcept { return sharedOrEmpty<KLObject>(Type::Object); }

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
