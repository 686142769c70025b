#pragma once

#include <map>
#include <optional>
#include <string>

#include "explain/JourneyRecords.h"

namespace kaleo::tools {

/// The plans of a configuration that a record keeps: plan id to a sentence about what the server said of it. Nothing when the
/// record does not keep the configuration, or it cannot be read.
std::optional<std::map<std::string, std::string>> fetchedPlans(const JourneyRecord& record);

}  // namespace kaleo::tools
