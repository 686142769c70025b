#pragma once

#include <ostream>
#include <string_view>

namespace kaleo::tools {

/// Sends all of `out` on its way. False when it could not be written, which it says on `err` in the name of `command`.
bool endOutput(std::ostream& out, std::ostream& err, std::string_view command);

}  // namespace kaleo::tools
