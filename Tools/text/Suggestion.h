#pragma once

#include <string_view>
#include <vector>

namespace kaleo::tools {

/// The one of `known` that `word` is most likely a misspelling of; "" when none comes near.
std::string_view suggestionFor(std::string_view word, const std::vector<std::string_view>& known);

}  // namespace kaleo::tools
