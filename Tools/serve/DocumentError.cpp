#include "serve/DocumentError.h"

#include <fmt/format.h>

#include "json/JSONFault.h"

namespace kaleo::tools {

void refuseJSONFaults(const std::string& name, std::string_view text) {
  if (const auto fault = findJSONFault(text)) {
    throw DocumentError(500, fmt::format("{}:{}:{}: {}", name, fault->line, fault->column, fault->message));
  }
}

}  // namespace kaleo::tools
