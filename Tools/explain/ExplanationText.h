#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "explain/PlanStory.h"

namespace kaleo::tools {

/// What is told.
struct Explanation {
  std::filesystem::path file;
  std::size_t records = 0;           ///< in the file
  std::vector<std::string> remarks;  ///< what whoever reads this has to know; each a sentence
  std::vector<PlanStory> stories;
};

/// For people.
std::string explanationText(const Explanation& explanation, const TimeText& times, bool coloured);
/// For programs: one JSON document.
std::string explanationJSON(const Explanation& explanation, double now);

}  // namespace kaleo::tools
