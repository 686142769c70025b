#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// What every target defines: runs one input. Whatever the bytes are it returns 0; what must hold of them and does not, ends the
/// process (see `require`), as do the sanitizers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace kaleo::fuzz {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: does not hold: %s\n", what);
  std::abort();
}

}  // namespace kaleo::fuzz
