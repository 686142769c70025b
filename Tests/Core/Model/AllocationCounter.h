#pragma once

namespace kaleo::testing {

/// Counts what the present thread takes from the free store, from its making until `count` is first asked.
/// The program's `operator new` is replaced for this, in a file of its own.
class AllocationCounter {
 public:
  AllocationCounter();
  ~AllocationCounter();
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;

  int count();
};

}  // namespace kaleo::testing
