#include <algorithm>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLURL.h"

namespace kaleo {

std::optional<std::string> quillon_queryValueForParameter(std::string_view text, std::string_view name) {
  const auto url = KLURL::parse(text);
  if (!url) return std::nullopt;
  const auto items = url->queryItems();
  const auto found = std::find_if(items.begin(), items.end(), [name](const auto& item) { return item.first == name; });
  return found == items.end() ? std::nullopt : found->second;
}

}  // namespace kaleo
