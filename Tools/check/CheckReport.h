#pragma once

#include <iosfwd>
#include <vector>

#include "check/Findings.h"

namespace kaleo::tools {

/// For people: a block for each finding, the first of its code with why and how to mend it, then how many there are. `coloured`:
/// for a terminal.
void writeFindings(const std::vector<Finding>& findings, bool coloured, std::ostream& out);
/// For programs: one JSON document.
void writeFindingsAsJSON(const std::vector<Finding>& findings, std::ostream& out);
/// Every code as a page of Markdown.
void writeCodes(std::ostream& out);

/// 0: nothing but notes; 1: warnings; 2: errors.
int exitStatus(const std::vector<Finding>& findings);

}  // namespace kaleo::tools
