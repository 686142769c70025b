#include "database/StoredValue.h"

#include <algorithm>

#include "text/TerminalText.h"

namespace kaleo::tools {

std::string StoredId::label() const {
  constexpr std::size_t kShown = 8;
  if (!isLocked) return text.empty() ? "(none)" : printable(text);
  return "encrypted…" + printable(text.substr(text.size() - std::min(text.size(), kShown)));
}

StoredId CellReader::id(const std::optional<std::string>& cell) const {
  if (!cell || cell->empty() || !isEncrypted_) return {cell.value_or("")};
  auto plain = key_ ? key_->decryptString(*cell) : std::nullopt;
  return plain ? StoredId{std::move(*plain)} : StoredId{*cell, true};
}

}  // namespace kaleo::tools
