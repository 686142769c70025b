#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Core/Utils/KLDateUtilities.h"
#include "database/DatabaseReading.h"
#include "inspect/StoredState.h"

namespace kaleo::tools {

/// Prints what a database of the library holds and what it holds back, and answers the exit status.
int inspect(const ReadingArguments& arguments, const ReadingOutput& output);

/// What is shown: the file's state at one time.
struct Inspection {
  std::filesystem::path file;
  StoredState state;
  std::vector<std::string> remarks;  ///< what whoever reads this has to know; each a sentence
  const KLPlanTime& time;            ///< borrowed
};

/// For people: tables.
std::string inspectionText(const Inspection& inspection, bool coloured);
/// For programs: one JSON document.
std::string inspectionJSON(const Inspection& inspection);

}  // namespace kaleo::tools
