#include "ToolProcess.h"

namespace kaleo::testing {

const char* toolPath() { return KALEO_TOOL; }

}  // namespace kaleo::testing
