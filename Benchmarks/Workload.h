#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::bench {

/// The three conditions of a plan, joined by AND.
struct Rule {
  int planID = 0;
  int priority = 0;
  std::string city;  ///< "$city" equals it: one of 4 texts
  int low = 0;       ///< "amount" lies between low and high, 500 of 1,000 apart
  int high = 0;
  std::string word;  ///< "title", a text of 4 words, contains it: one of 8 words
};

inline constexpr std::size_t kEventNames = 100;
inline constexpr std::size_t kEvents = 100'000;
inline constexpr const char* kCity = "$city";
inline constexpr const char* kAmount = "amount";
inline constexpr const char* kTitle = "title";

std::string eventName(std::size_t index);

/// Rule i of `count`; the same at every run, whatever `count`.
std::vector<Rule> makeRules(std::size_t count);

/// 100,000 records of ten properties with one of 100 names each; the same at every run. Made at the first call.
const std::vector<KLValue>& events();
/// As `events`, all of the name `name`.
std::vector<KLValue> eventsNamed(const std::string& name, std::size_t count);

/// A plan that may run and listens to `event` under `rule`. Each matching event makes its popup due.
KLObject planObject(const Rule& rule, const std::string& event);
/// A server's answer with plan i listening to name i mod 100. `usesGlobalLimit`: the cap on all popups is in use.
KLValue answer(std::size_t plans, bool usesGlobalLimit = false);
/// A server's answer with `plans` plans, of which the first 10 listen to name 0 and the others to names that nobody tracks.
KLValue answerWithTenListening(std::size_t plans);
/// As `answer`, with plans that carry layouts, 3 kB each.
KLValue answerWithLayouts(std::size_t plans);
/// The text of an answer with 1,000 plans that carry layouts, about 3 MB.
std::string largeAnswer();

}  // namespace kaleo::bench
