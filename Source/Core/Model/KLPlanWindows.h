#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "Core/Base/Log/KLLog.h"
#include "Core/Model/KLCoercions.h"
#include "Core/Model/KLFieldTable.h"
#include "Core/Model/KLPlanTimeModel.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Utils/KLDateUtilities.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {

// The windows of time that frequency rules live in. All are value objects; instants are seconds since 1970.
// Threads: one at a time for each object.

enum class KLWindowType : std::uint8_t {
  Forward = 0,   ///< runs from its start
  Backward = 1,  ///< ends at its anchor
};

template <>
struct KLCoercion<KLWindowType> {
  static void decode(const KLValue& archived, KLWindowType& member) {
    member = quillon_integerValue(&archived) == 1 ? KLWindowType::Backward : KLWindowType::Forward;
  }
  static std::optional<KLValue> encode(KLWindowType member) { return KLValue(static_cast<std::int64_t>(member)); }
};

/// A stretch of time.
class KLPlanAbstractWindow {
 public:
  /// The latest instant taken from an archive: beyond any calendar, and safe to count in milliseconds.
  static constexpr double kLatestInstant = 1e14;

  double startTime = 0;
  double endTime = 0;
  KLWindowType type = KLWindowType::Forward;

  bool isFinished(double now) const { return now > endTime; }

  static constexpr auto fields() {
    return std::tuple{KLArchivedField(&KLPlanAbstractWindow::startTime, "startTime"),
                      KLArchivedField(&KLPlanAbstractWindow::endTime, "endTime"),
                      KLArchivedField(&KLPlanAbstractWindow::type, "type")};
  }
  /// Brings restored instants into range.
  void compile();
};

/// A window whose length a time model gives.
class KLPlanWindow : public KLPlanAbstractWindow {
 public:
  KLPlanTimeModel timeModel;

  /// Places the window by the present instant.
  void startWindow(const KLPlanTime& time);
  /// After `timeModel` changed: recomputes the end and keeps the start; backward the other way round.
  void updateWindow(const KLPlanTime& time);

  void calculateTime(const KLPlanTime& time);
  /// Aligned to the period of the unit that holds the present instant; both times 0 for a unit without periods.
  void calculateNaturalTime(const KLPlanTime& time);
  /// Rolling from the present instant.
  void calculateNoNaturalTime(const KLPlanTime& time);
  /// The window's length as a calendar offset.
  KLDateComponents dateComponents() const;
  KLDateComponents componentsWithWindowType(KLWindowType windowType) const;
  KLDateComponents naturalComponentsWithWindowType(KLWindowType windowType) const;

  static constexpr auto fields() {
    return std::tuple_cat(KLPlanAbstractWindow::fields(), std::tuple{KLArchivedField(&KLPlanWindow::timeModel, "timeModel")});
  }
};

/// The archive of a window or record under its class name.
template <class Self>
class KLArchivable {
 public:
  KLValue encode() const { return KLFields::encode(static_cast<const Self&>(*this)); }
  static Self decode(const KLValue& archive) {
    Self object;
    KLFields::decode(object, archive);
    return object;
  }
  KLBytes archivedData() const { return KLKeyedArchive::archive(Self::kClassName, encode()); }
  /// Nothing when `data` is no archive of this class.
  static std::optional<Self> fromArchivedData(const KLBytes& data) {
    const auto root = KLKeyedArchive::unarchive(data, Self::kClassName);
    return root && root->isObject() ? std::optional(decode(*root)) : std::nullopt;
  }
  friend bool operator==(const Self& left, const Self& right) { return KLFields::equal(left, right); }
};

/// A window with a cap.
class KLPlanLimitWindow : public KLPlanWindow {
 public:
  std::int64_t limit = 0;

  static constexpr auto fields() {
    return std::tuple_cat(KLPlanWindow::fields(), std::tuple{KLArchivedField(&KLPlanLimitWindow::limit, "limit")});
  }
};

/// Counts the popups of a plan.
class KLPopupReEnterWindow : public KLPlanLimitWindow, public KLArchivable<KLPopupReEnterWindow> {
 public:
  static constexpr const char* kClassName = "KLPopupReEnterWindow";
  std::int64_t count = 0;

  static constexpr auto fields() {
    return std::tuple_cat(KLPlanLimitWindow::fields(), std::tuple{KLArchivedField(&KLPopupReEnterWindow::count, "count")});
  }
};

/// Counts the matching events of one matcher.
class KLPopupTriggerWindow : public KLPlanWindow, public KLArchivable<KLPopupTriggerWindow> {
 public:
  static constexpr const char* kClassName = "KLPopupTriggerWindow";
  std::int64_t count = 0;

  static constexpr auto fields() {
    return std::tuple_cat(KLPlanWindow::fields(), std::tuple{KLArchivedField(&KLPopupTriggerWindow::count, "count")});
  }
};

/// The trigger windows of a plan, by matcher index. Archived as one object of class "KLTriggerWindows", index text to window.
using KLTriggerWindows = std::map<std::size_t, KLPopupTriggerWindow>;
/// The index that `key` is in decimal without padding; nothing for another text, or an index that no plan has.
std::optional<std::size_t> KLMatcherIndex(std::string_view key);
KLBytes KLArchivedTriggerWindows(const KLTriggerWindows& windows);
/// Nothing when `data` is no such archive. Keys that are no index of a matcher are left out.
std::optional<KLTriggerWindows> KLTriggerWindowsFromArchivedData(const KLBytes& data);

/// Waits for the conversion of one shown popup.
class KLPopupConvertWindow : public KLPlanWindow, public KLArchivable<KLPopupConvertWindow> {
 public:
  static constexpr const char* kClassName = "KLPopupConvertWindow";
  std::optional<std::string> uuid;  ///< of the display

  /// Whether the host's store holds a result that says so.
  bool isConverted(const KLStoreManager& store, const KLLog& log) const;

  static constexpr auto fields() {
    return std::tuple_cat(KLPlanWindow::fields(), std::tuple{KLArchivedField(&KLPopupConvertWindow::uuid, "uuid")});
  }
};

/// The quiet time after a plan's popup.
class KLPopupIntervalWindow : public KLPlanWindow, public KLArchivable<KLPopupIntervalWindow> {
 public:
  static constexpr const char* kClassName = "KLPopupIntervalWindow";
};

/// The quiet time after any popup.
class KLPopupGlobalIntervalWindow : public KLPlanWindow, public KLArchivable<KLPopupGlobalIntervalWindow> {
 public:
  static constexpr const char* kClassName = "KLPopupGlobalIntervalWindow";
};

/// The record of the global limit. It has nothing of its own: its archive is the array of the instants at which popups were shown.
class KLPopupGlobalLimit {
 public:
  static constexpr const char* kClassName = "KLPopupGlobalLimit";
};

/// What the server says about the conversion of one shown popup.
class KLPopupConvertResult : public KLArchivable<KLPopupConvertResult> {
 public:
  static constexpr const char* kClassName = "KLPopupConvertResult";
  std::optional<std::string> distinctID;
  std::optional<std::string> popupDisplayUUID;
  std::optional<std::string> displayTime;
  std::optional<std::string> convertTime;

  bool isConverted() const { return convertTime && !convertTime->empty(); }
  static KLPopupConvertResult fromResponseData(const KLValue* data);
  /// Where the result for a display lies in the host's store.
  static std::string storeKey(const std::string& uuid) { return "ConvertResult_" + uuid; }

  static constexpr auto fields() {
    return std::tuple{KLFieldOf(&KLPopupConvertResult::distinctID, "distinct_id", "distinctID"),
                      KLFieldOf(&KLPopupConvertResult::popupDisplayUUID, "popup_display_uuid", "popupDisplayUUID"),
                      KLFieldOf(&KLPopupConvertResult::displayTime, "display_time", "displayTime"),
                      KLFieldOf(&KLPopupConvertResult::convertTime, "convert_time", "convertTime")};
  }
};

}  // namespace kaleo
