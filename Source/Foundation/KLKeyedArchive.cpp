#include "Foundation/KLKeyedArchive.h"

#include <cbor.h>

#include <array>

#include "Foundation/KLCBORReader.h"
#include "Foundation/KLUTF8.h"

namespace kaleo {
namespace {

constexpr const char* kVersionKey = "kl";
constexpr const char* kClassKey = "class";
constexpr const char* kRootKey = "root";
// The longest head of a CBOR item, and the longest number: one byte and 64 bits.
constexpr std::size_t kLongestHead = 9;

class Writer {
 public:
  void write(const KLValue& value, std::size_t depth = 0);
  // Empty when what was written would not be read again.
  KLBytes take() { return isTooLarge() ? KLBytes() : std::move(bytes_); }

 private:
  bool isTooLarge() const { return items_ > KLKeyedArchive::kMaxItems || bytes_.size() > KLKeyedArchive::kMaxBytes; }
  // Appends the head of an item, which `encode` (of libcbor) makes of `arguments`.
  template <class Encode, class... Arguments>
  void append(Encode encode, Arguments... arguments) {
    ++items_;
    std::array<unsigned char, kLongestHead> head;
    const std::size_t length = encode(arguments..., head.data(), head.size());
    bytes_.insert(bytes_.end(), head.begin(), head.begin() + length);
  }
  void writeInteger(std::int64_t value);
  void writeText(const std::string& text);
  void writeArray(const KLValue::Array& array, std::size_t depth);
  void writeObject(const KLObject& object, std::size_t depth);

  KLBytes bytes_;
  std::size_t items_ = 0;
};

void Writer::write(const KLValue& value, std::size_t depth) {
  if (isTooLarge()) return;
  switch (value.type()) {
    case KLValue::Type::Null:
      return append(cbor_encode_null);
    case KLValue::Type::Bool:
      return append(cbor_encode_bool, value.asBool());
    case KLValue::Type::Integer:
      return writeInteger(value.asInteger());
    case KLValue::Type::Double:
      return append(cbor_encode_double, value.asDouble());
    case KLValue::Type::String:
      return writeText(value.asString());
    case KLValue::Type::Date:
      append(cbor_encode_tag, KLCBORReader::kDateTag);
      return append(cbor_encode_double, value.asDate().secondsSince1970);
    case KLValue::Type::Bytes:
      append(cbor_encode_bytestring_start, value.asBytes().size());
      bytes_.insert(bytes_.end(), value.asBytes().begin(), value.asBytes().end());
      return;
    case KLValue::Type::Array:
      return writeArray(value.asArray(), depth);
    case KLValue::Type::Object:
      return writeObject(value.asObject(), depth);
  }
}

void Writer::writeInteger(std::int64_t value) {
  if (value >= 0) {
    append(cbor_encode_uint, static_cast<std::uint64_t>(value));
  } else {
    append(cbor_encode_negint, static_cast<std::uint64_t>(-1 - value));
  }
}

void Writer::writeText(const std::string& text) {
  const bool valid = KLUTF8ErrorOffset(text) == text.size();
  const std::string& written = valid ? text : KLUTF8Repaired(text);
  append(cbor_encode_string_start, written.size());
  bytes_.insert(bytes_.end(), written.begin(), written.end());
}

void Writer::writeArray(const KLValue::Array& array, std::size_t depth) {
  if (depth >= KLKeyedArchive::kMaxDepth) return append(cbor_encode_null);
  append(cbor_encode_array_start, array.size());
  for (const KLValue& element : array) write(element, depth + 1);
}

void Writer::writeObject(const KLObject& object, std::size_t depth) {
  if (depth >= KLKeyedArchive::kMaxDepth) return append(cbor_encode_null);
  append(cbor_encode_map_start, object.size());
  for (const auto& [key, member] : object) {
    writeText(key);
    write(member, depth + 1);
  }
}

}  // namespace

KLBytes KLKeyedArchive::archive(std::string_view className, const KLValue& root) {
  Writer writer;
  writer.write(KLObject{{kVersionKey, kVersion}, {kClassKey, className}, {kRootKey, root}});
  return writer.take();
}

std::optional<KLValue> KLKeyedArchive::unarchive(const KLBytes& bytes, std::string_view className) {
  if (bytes.size() > kMaxBytes) return std::nullopt;
  const auto container = KLCBORReader(kMaxDepth, kMaxItems).read(bytes);
  if (!container) return std::nullopt;
  const KLValue* version = container->find(kVersionKey);
  const KLValue* name = container->find(kClassKey);
  const KLValue* root = container->find(kRootKey);
  if (!version || *version != KLValue(kVersion) || !name || name->asString() != className || !root) return std::nullopt;
  return *root;
}

}  // namespace kaleo
