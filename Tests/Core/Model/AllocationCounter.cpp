#include "Core/Model/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool counting = false;
thread_local int allocations = 0;
}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (counting) ++allocations;
  return std::malloc(size);
}
void* operator new(std::size_t size) {
  if (void* memory = operator new(size, std::nothrow)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace kaleo::testing {

AllocationCounter::AllocationCounter() {
  allocations = 0;
  counting = true;
}

AllocationCounter::~AllocationCounter() { counting = false; }

int AllocationCounter::count() {
  counting = false;
  return allocations;
}

}  // namespace kaleo::testing
