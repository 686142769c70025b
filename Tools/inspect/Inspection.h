#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Core/Utils/KLDateUtilities.h"
#include "inspect/StoredState.h"

namespace kaleo::tools {

/// What `kaleo inspect` is asked for.
struct InspectionArguments {
  std::filesystem::path file;  ///< a "Kaleo_Popup.sqlite"
  std::filesystem::path key;   ///< the library's key file; empty: none
  std::string user;            ///< a user id or distinct id; empty: all
  std::string timeZone;        ///< IANA name; empty: the machine's
  bool json = false;
};

/// Where it speaks, and the time. Lifetime: borrowed.
struct InspectionOutput {
  std::ostream& out;
  std::ostream& err;
  double now = 0;         ///< seconds since 1970
  bool coloured = false;  ///< whether `out` shows colours
};

/// The exit statuses.
inline constexpr int kInspected = 0;
inline constexpr int kPartlyInspected = 1;  ///< something in the file could not be read
inline constexpr int kCannotInspect = 2;

/// Prints what a database of the library holds and what it holds back, and answers the exit status.
int inspect(const InspectionArguments& arguments, const InspectionOutput& output);

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
