#pragma once

#include <string>

#include "explain/JourneyRecords.h"
#include "text/TimeText.h"

namespace kaleo::tools {

/// A record about a plan in a plain sentence, with the values that were compared. The same sentence twice means that the same
/// happened.
std::string sentenceOf(const JourneyRecord& record, const TimeText& times);

}  // namespace kaleo::tools
