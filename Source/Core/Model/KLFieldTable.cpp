#include "Core/Model/KLFieldTable.h"

#include <algorithm>

#include "Core/Base/Log/KLLog.h"

namespace kaleo {

std::size_t KLParseContext::admit(std::size_t count, std::size_t limit) {
  const std::size_t admitted = std::min({count, limit, objectsLeft});
  objectsLeft -= admitted;
  if (admitted < count && log) log->error("A list of the popup config has {} entries, only {} are read", count, admitted);
  return admitted;
}

bool KLParseContext::admitText(const std::string& text) const {
  const bool admitted = text.size() <= kMaxTextLength;
  if (!admitted && log) {
    log->error("A text of the popup config has {} bytes, more than {}, and is not read", text.size(), kMaxTextLength);
  }
  return admitted;
}

void KLParseContext::reportNesting() const {
  if (log) log->error("Event permission filters are nested more than {} deep, no event is admitted there", kMaxFilterNesting);
}

}  // namespace kaleo
