#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kaleo::tools {

enum class Severity : std::uint8_t {
  Note,     ///< read as written, but perhaps not as meant
  Warning,  ///< very likely not what was meant
  Error,    ///< a plan or an element can never do what it is there for
};

/// What `kaleo check` looks for. The order is that of kCheckCodes.
enum class Check : std::uint8_t {
  // The document
  NotJSON,
  NotAConfiguration,
  DuplicateKey,
  UnknownKey,
  MisspeltKey,
  WrongKind,
  BeyondBounds,
  // Plans
  PlanId,
  DuplicatePlan,
  NoExpiry,
  Expired,
  NeverActive,
  NotAudience,
  ControlGroup,
  StrategyWithoutTrigger,
  AlwaysInhibited,
  UnknownWindow,
  PageFilter,
  // Events
  NoMatchers,
  PatternAnd,
  UnknownRelation,
  NoEventName,
  CountNotANumber,
  CountNeverReached,
  IdleWindow,
  IdleFunction,
  IgnoredFilter,
  IdleMatcher,
  // Conditions
  NoRelation,
  BothNeeded,
  NoField,
  StrayBlank,
  UnknownOperator,
  BadParams,
  ExtraParams,
  ListOperator,
  NotANumber,
  NotADate,
  EmptyRange,
  Contradiction,
  AlwaysHolds,
  // Time
  UnknownUnit,
  NaturalUnit,
  EmptyWindow,
  EndlessQuietPeriod,
  EndlessReEntry,
  ReEntryWithoutLimit,
  LimitNeverReached,
  // Limits
  CapOfZero,
  LimitNotInUse,
  // Display times
  NoDisplayTime,
  DisplayTime,
  DisplayDay,
  IdleDay,
  SaturdayNight,
  UnknownCycle,
  // The answer as a whole
  PullInterval,
  ShortPull,
  MinimumVersion,
  // Content
  NoContent,
  UnknownPopupType,
  NoTemplate,
  EmptyPopup,
  TooHigh,
  NoWayOut,
  // Elements
  UnknownElement,
  LeafSubviews,
  UnknownWord,
  NoLayout,
  BadLength,
  LengthUnit,
  Fraction,
  ZeroWidth,
  Overflow,
  NoHeight,
  IdleHeight,
  ScrollsWithoutHeight,
  WholeWidthInRow,
  NoText,
  TinyText,
  Placeholder,
  BadColour,
  ColourScale,
  InvisibleColour,
  Contrast,
  BadURL,
  PictureFormat,
  NoPicture,
  UnknownPicture,
  UnknownAction,
  IdleAction,
  UnreportedAction,
  LostValue,
  CopyStaysOpen,
  MisplacedHidden,
  Count,
};

/// How `kaleo check` speaks of one kind of finding.
struct CheckCode {
  Check check;
  std::string_view name;  ///< for people and programs; never changes
  Severity severity;
  std::string_view why;   ///< one sentence: what the library does with it
  std::string_view mend;  ///< one sentence: what to write instead
};

/// Every code, in the order of Check.
std::span<const CheckCode> checkCodes();
const CheckCode& checkCode(Check check);
std::string_view severityName(Severity severity);

}  // namespace kaleo::tools
