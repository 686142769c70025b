#pragma once

#include <malloc.h>

#include <cstddef>

namespace kaleo::bench {

/// What the process has taken from malloc and not given back, in bytes.
inline std::size_t bytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace kaleo::bench
