#include "SourceDirectory.h"

namespace kaleo::testing {

// The one file that is compiled with the path, so that a compiler cache serves the others to any checkout.
std::filesystem::path sourceDirectory() { return KALEO_SOURCE_DIR; }

}  // namespace kaleo::testing
