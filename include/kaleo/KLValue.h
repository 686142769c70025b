#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kaleo/KLExport.h"

namespace kaleo {

/// A sequence of raw bytes.
using KLBytes = std::vector<std::uint8_t>;

/// An instant, in seconds since 1970-01-01T00:00:00Z, with fractions.
struct KLDate {
  double secondsSince1970 = 0;
  friend bool operator==(const KLDate&, const KLDate&) = default;
};

class KLObject;

/// The one loosely typed value: what JSON, event records and archives are made of.
///
/// A value is immutable and cheap to copy: strings, bytes, arrays and objects are shared, never duplicated. Every accessor is
/// total: asked for what the value is not, it answers the neutral element (false, 0, "", an empty list) and never throws.
/// An absent value is not a KLValue: it is a null `const KLValue*`, as `find` returns it. JSON null is a KLValue of type Null.
///
/// Threads: a const value may be read from any number of threads at once.
class KALEO_API KLValue {
 public:
  enum class Type : std::uint8_t { Null, Bool, Integer, Double, Date, String, Bytes, Array, Object };
  using Array = std::vector<KLValue>;

  KLValue() noexcept = default;  ///< null
  KLValue(std::nullptr_t) noexcept {}
  KLValue(bool value) noexcept : payload_{.boolean = value}, type_(Type::Bool) {}
  KLValue(int value) noexcept : KLValue(static_cast<std::int64_t>(value)) {}
  KLValue(std::int64_t value) noexcept : payload_{.integer = value}, type_(Type::Integer) {}
  KLValue(long long value) noexcept : KLValue(static_cast<std::int64_t>(value)) {}
  KLValue(double value) noexcept : payload_{.real = value}, type_(Type::Double) {}
  KLValue(const char* value) : KLValue(std::string_view(value)) {}
  KLValue(std::string_view value);
  KLValue(std::string value);
  KLValue(KLDate value) noexcept : payload_{.date = value}, type_(Type::Date) {}
  KLValue(KLBytes value);
  KLValue(Array value);
  KLValue(KLObject value);

  KLValue(const KLValue& other) noexcept : payload_(other.payload_), type_(other.type_) {
    if (isShared()) payload_.shared->owners.fetch_add(1, std::memory_order_relaxed);
  }
  /// `other` becomes null.
  KLValue(KLValue&& other) noexcept : payload_(other.payload_), type_(std::exchange(other.type_, Type::Null)) {}
  KLValue& operator=(KLValue other) noexcept {
    std::swap(payload_, other.payload_);
    std::swap(type_, other.type_);
    return *this;
  }
  ~KLValue() {
    if (isShared()) release();
  }

  Type type() const noexcept { return type_; }
  bool isNull() const noexcept { return type() == Type::Null; }
  bool isBool() const noexcept { return type() == Type::Bool; }
  bool isInteger() const noexcept { return type() == Type::Integer; }
  bool isDouble() const noexcept { return type() == Type::Double; }
  /// Booleans count as numbers, as in the JSON of dynamic platforms.
  bool isNumber() const noexcept { return isBool() || isInteger() || isDouble(); }
  bool isString() const noexcept { return type() == Type::String; }
  bool isDate() const noexcept { return type() == Type::Date; }
  bool isBytes() const noexcept { return type() == Type::Bytes; }
  bool isArray() const noexcept { return type() == Type::Array; }
  bool isObject() const noexcept { return type() == Type::Object; }

  bool asBool() const noexcept;             ///< of a boolean only
  std::int64_t asInteger() const noexcept;  ///< of any number; a double is truncated and clamped to 64 bits, NaN gives 0
  double asDouble() const noexcept;         ///< of any number
  const std::string& asString() const noexcept;
  KLDate asDate() const noexcept;
  const KLBytes& asBytes() const noexcept;
  const Array& asArray() const noexcept;
  const KLObject& asObject() const noexcept;

  /// The member `key` of an object; null when this is no object or has no such member. Valid as long as this value's payload is.
  const KLValue* find(std::string_view key) const noexcept;

  /// Deep equality. Numbers are equal by value whatever their type (1, 1.0 and true are equal); objects whatever their order.
  KALEO_API friend bool operator==(const KLValue& left, const KLValue& right) noexcept;

 private:
  /// What the copies of a string, a byte sequence, an array or an object have in common: a value behind the count of its owners.
  struct Shared {
    mutable std::atomic<std::size_t> owners{1};
  };
  template <class T>
  struct SharedOf;

  union Payload {
    bool boolean;
    std::int64_t integer;
    double real;
    KLDate date;
    const Shared* shared;
  };

  bool isShared() const noexcept { return type_ >= Type::String; }
  void release() const noexcept;
  /// What is shared, which is of type T; the empty T when this value is not of `type`.
  template <class T>
  const T& sharedOrEmpty(Type type) const noexcept;

  Payload payload_{.integer = 0};
  Type type_ = Type::Null;
};

/// A dictionary from text to KLValue. Keeps the order in which keys were first set; a key set again keeps its place.
/// Look-ups are logarithmic in large objects; small ones are searched through and carry no index.
class KALEO_API KLObject {
 public:
  using Entry = std::pair<std::string, KLValue>;

  KLObject() = default;
  KLObject(std::initializer_list<Entry> entries);
  /// The object of many entries, made in one go: as if each were `set` in turn, without the cost of that for large objects.
  static KLObject fromEntries(std::vector<Entry> entries);

  const KLValue* find(std::string_view key) const noexcept;
  bool contains(std::string_view key) const noexcept { return find(key) != nullptr; }
  /// Sets `key`, replacing an earlier value.
  void set(std::string key, KLValue value);
  /// Sets `key` unless `value` is null (absent): an absent value leaves its key out.
  void setIfPresent(std::string key, const KLValue* value);
  bool erase(std::string_view key);
  /// Reserves room for `count` members.
  void reserve(std::size_t count);

  std::size_t size() const noexcept { return entries_.size(); }
  bool empty() const noexcept { return entries_.empty(); }
  std::vector<Entry>::const_iterator begin() const noexcept { return entries_.begin(); }
  std::vector<Entry>::const_iterator end() const noexcept { return entries_.end(); }

  KALEO_API friend bool operator==(const KLObject& left, const KLObject& right) noexcept;

 private:
  /// Where `key` stands in entries_, or size() when it does not.
  std::size_t positionOf(std::string_view key) const noexcept;
  /// Orders index_ anew once entries_ is large, and drops it while it is small.
  void rebuildIndex();

  std::vector<Entry> entries_;
  /// Positions in entries_, ordered by key; empty while entries_ is small.
  std::vector<std::uint32_t> index_;
};

}  // namespace kaleo
