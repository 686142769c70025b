#pragma once

#include <gtest/gtest.h>

#include "Support/Configurations.h"
#include "Support/CoreParts.h"

namespace kaleo::testing {

/// The core's parts, for each test anew.
class CoreFixture : public ::testing::Test, protected CoreParts {};

}  // namespace kaleo::testing
