#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kaleo::tools {

/// "1 record", "2 records".
inline std::string counted(std::size_t count, std::string_view thing) {
  return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

}  // namespace kaleo::tools
