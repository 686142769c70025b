#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace kaleo::fuzz {

/// Changes inputs at random: the bytes of any, and the values of JSON texts, which get other types, huge numbers, long texts, deep
/// nesting, repeated and duplicated members, and parts of other inputs.
class Mutator {
 public:
  /// `corpus` gives the parts of other inputs. The same seed gives the same inputs.
  Mutator(std::vector<std::string> corpus, std::uint64_t seed, std::size_t maxLength)
      : corpus_(std::move(corpus)), random_(seed), maxLength_(maxLength) {}

  /// An input of the corpus after a few changes.
  std::string next();
  /// `input` after one change, cut to the longest length.
  std::string mutated(std::string input);

 private:
  std::size_t below(std::size_t bound) { return bound == 0 ? 0 : random_() % bound; }
  const std::string& anyInput() { return corpus_[below(corpus_.size())]; }
  void changeJSON(std::string& input);
  void changeBytes(std::string& input);
  std::string stranger();
  std::string partOfAnother();

  std::vector<std::string> corpus_;
  std::mt19937_64 random_;
  std::size_t maxLength_;
};

}  // namespace kaleo::fuzz
