// Lets libFuzzer change JSON as the driver of our own does, beside its own changes.
#include <algorithm>
#include <cstring>

#include "Mutator.h"

extern "C" {

std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned int seed) {
  if (seed % 2 == 0) return LLVMFuzzerMutate(data, size, maxSize);
  std::string input(reinterpret_cast<const char*>(data), size);
  input = kaleo::fuzz::Mutator({input}, seed, maxSize).mutated(input);
  std::memcpy(data, input.data(), input.size());
  return input.size();
}
}
