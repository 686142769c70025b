#pragma once

#include <optional>
#include <string>

#include "Core/DataStore/KLAESCrypt.h"
#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// Something that the database keeps: there, not there, or there and of no use.
template <class Value>
struct Stored {
  enum class State {
    Absent,
    Locked,   ///< encrypted, and not under the key at hand
    Damaged,  ///< not what it should be
    Present,
  };
  State state = State::Absent;
  std::optional<Value> value = {};  ///< when present

  const Value* get() const { return value ? &*value : nullptr; }
  bool isUnreadable() const { return state == State::Locked || state == State::Damaged; }
};

/// An id. One that cannot be decrypted still tells rows apart, as equal ids are encrypted to equal texts.
struct StoredId {
  std::string text;  ///< plain, or as it is stored when that cannot be decrypted
  bool isLocked = false;

  /// For people: the end of the stored text stands for what is locked, as all begin alike.
  std::string label() const;
  friend auto operator<=>(const StoredId&, const StoredId&) = default;
};

/// Takes cells of rows apart. `key` may be null. Lifetime: borrows the key.
class CellReader {
 public:
  /// `isEncrypted`: as the row says.
  CellReader(const KLAESCrypt* key, bool isEncrypted) : key_(key), isEncrypted_(isEncrypted) {}

  StoredId id(const std::optional<std::string>& cell) const;

  /// `restore` makes an optional value of plain bytes.
  template <class Value, class Restore>
  Stored<Value> blob(const std::optional<KLBytes>& cell, Restore&& restore) const {
    using State = typename Stored<Value>::State;
    if (!cell) return {};
    const auto plain = isEncrypted_ ? decrypted(*cell) : cell;
    if (!plain) return {State::Locked};
    std::optional<Value> value = restore(*plain);
    return value ? Stored<Value>{State::Present, std::move(value)} : Stored<Value>{State::Damaged};
  }

 private:
  std::optional<KLBytes> decrypted(const KLBytes& cell) const { return key_ ? key_->decryptData(cell) : std::nullopt; }

  const KLAESCrypt* key_;
  bool isEncrypted_;
};

}  // namespace kaleo::tools
