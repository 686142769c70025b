#include "Foundation/KLCBORReader.h"

#include <cbor.h>

#include <algorithm>
#include <limits>

#include "Foundation/KLUTF8.h"

namespace kaleo {
namespace {

/// Room that is made on the word of a count: what is claimed to be larger grows as it comes.
constexpr std::size_t kMostReserved = 64;

}  // namespace

struct KLCBORReader::Callbacks {
  static KLCBORReader& reader(void* context) { return *static_cast<KLCBORReader*>(context); }
  static void refuse(void* context) { reader(context).isRefused_ = true; }

  static void positive(void* context, std::uint64_t magnitude) {
    if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return refuse(context);
    reader(context).number(static_cast<std::int64_t>(magnitude));
  }
  // CBOR keeps a negative number n as -1 - n.
  static void negative(void* context, std::uint64_t complement) {
    if (complement > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return refuse(context);
    reader(context).number(-1 - static_cast<std::int64_t>(complement));
  }
  static void tag(void* context, std::uint64_t tag) {
    if (tag != kDateTag || reader(context).isDateNext_) return refuse(context);
    reader(context).isDateNext_ = true;
  }
  static void bytes(void* context, cbor_data data, std::size_t length) { reader(context).accept(KLBytes(data, data + length)); }

  static cbor_callbacks all() {
    cbor_callbacks all{};
    all.uint8 = [](void* context, std::uint8_t value) { positive(context, value); };
    all.uint16 = [](void* context, std::uint16_t value) { positive(context, value); };
    all.uint32 = [](void* context, std::uint32_t value) { positive(context, value); };
    all.uint64 = positive;
    all.negint8 = [](void* context, std::uint8_t value) { negative(context, value); };
    all.negint16 = [](void* context, std::uint16_t value) { negative(context, value); };
    all.negint32 = [](void* context, std::uint32_t value) { negative(context, value); };
    all.negint64 = negative;
    all.float2 = all.float4 = [](void* context, float value) { reader(context).number(static_cast<double>(value)); };
    all.float8 = [](void* context, double value) { reader(context).number(value); };
    all.boolean = [](void* context, bool value) { reader(context).accept(value); };
    all.null = [](void* context) { reader(context).accept(nullptr); };
    all.string = [](void* context, cbor_data data, std::size_t length) { reader(context).text(data, length); };
    all.byte_string = bytes;
    all.array_start = [](void* context, std::size_t count) { reader(context).open(false, count); };
    all.map_start = [](void* context, std::size_t count) { reader(context).open(true, count); };
    all.tag = tag;
    all.undefined = all.indef_break = all.string_start = all.byte_string_start = all.indef_array_start = all.indef_map_start =
        refuse;
    return all;
  }
};

std::optional<KLValue> KLCBORReader::read(const KLBytes& bytes) {
  static const cbor_callbacks callbacks = Callbacks::all();
  const std::uint8_t* next = bytes.data();
  bytesLeft_ = bytes.size();
  while (!root_ && !isRefused_) {
    if (itemsLeft_ == 0) return std::nullopt;
    --itemsLeft_;
    const auto result = cbor_stream_decode(next, bytesLeft_, &callbacks, this);
    if (result.status != CBOR_DECODER_FINISHED) return std::nullopt;
    next += result.read;
    bytesLeft_ -= result.read;
  }
  return isRefused_ || bytesLeft_ > 0 ? std::nullopt : root_;
}

// An item takes a byte at least, so that a count which the remaining bytes cannot hold is refused before anything is read for it.
void KLCBORReader::open(bool isMap, std::size_t count) {
  if (isDateNext_ || stack_.size() >= maxDepth_ || count > bytesLeft_) {
    isRefused_ = true;
  } else if (count == 0) {
    accept(isMap ? KLValue(KLObject{}) : KLValue(KLValue::Array{}));
  } else {
    Open& open = stack_.emplace_back(Open{.isMap = isMap, .left = count});
    const std::size_t room = std::min(count, kMostReserved);
    if (isMap) {
      open.members.reserve(room);
    } else {
      open.elements.reserve(room);
    }
  }
}

void KLCBORReader::number(KLValue value) {
  const bool isDate = std::exchange(isDateNext_, false);
  accept(isDate ? KLValue(KLDate{value.asDouble()}) : std::move(value));
}

void KLCBORReader::text(const std::uint8_t* data, std::size_t length) {
  std::string text(reinterpret_cast<const char*>(data), length);
  if (KLUTF8ErrorOffset(text) != length) {
    isRefused_ = true;
  } else if (!stack_.empty() && stack_.back().isMap && !stack_.back().key && !isDateNext_) {
    stack_.back().key = std::move(text);
  } else {
    accept(std::move(text));
  }
}

void KLCBORReader::accept(KLValue value) {
  isRefused_ = isRefused_ || isDateNext_;  // the tag of a date stood before something else
  while (!isRefused_ && !stack_.empty()) {
    if (!put(stack_.back(), std::move(value))) return;
    value = close(stack_.back());
    stack_.pop_back();
  }
  if (!isRefused_) root_ = std::move(value);
}

// Answers whether `open` is full now.
bool KLCBORReader::put(Open& open, KLValue value) {
  if (!open.isMap) {
    open.elements.push_back(std::move(value));
  } else if (open.key) {
    open.members.emplace_back(std::move(*open.key), std::move(value));
    open.key.reset();
  } else {
    isRefused_ = true;  // a key that is no text
    return false;
  }
  return --open.left == 0;
}

KLValue KLCBORReader::close(Open& open) {
  return open.isMap ? KLValue(KLObject::fromEntries(std::move(open.members))) : KLValue(std::move(open.elements));
}

}  // namespace kaleo
