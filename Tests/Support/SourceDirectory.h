#pragma once

#include <filesystem>

namespace kaleo::testing {

/// The project's own directory, for the files that tests read from it.
std::filesystem::path sourceDirectory();

}  // namespace kaleo::testing
