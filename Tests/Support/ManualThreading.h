#pragma once

#include "Platform/Headless/KLVirtualThreading.h"

namespace kaleo::testing {

/// Virtual time that begins somewhere in 2023 and goes on when the test says so.
class ManualThreading : public KLVirtualThreading {
 public:
  explicit ManualThreading(double now = 1'700'000'000) : KLVirtualThreading(now) {}
};

}  // namespace kaleo::testing
