#pragma once

#include <string>

#include "database/DatabaseReading.h"

namespace kaleo::tools {

/// What `kaleo explain` is asked for beyond what it reads.
struct ExplanationArguments : ReadingArguments {
  std::string plan;   ///< its id; empty: all
  std::string since;  ///< "2026-11-21", "2026-11-21 18:00", "90m", "36h", "7d" or seconds since 1970; empty: from the beginning
};

/// Tells what became of plans, from the recorder's database, and answers the exit status.
int explain(const ExplanationArguments& arguments, const ReadingOutput& output);

}  // namespace kaleo::tools
