#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

#include "Foundation/KLCalendar.h"
#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// The diagnosis records that were uploaded last, in plain sentences, for the person who watches the server. Bounded; the oldest
/// goes first. Threads: any.
class UploadedDecisions {
 public:
  static constexpr std::size_t kMaxKept = 300;

  /// The new records of a page, in its order.
  void add(const KLValue::Array& records);

  /// {"next", "decisions"}: those from number `after` on, oldest first; "next" is the `after` of the next call. Each has "time"
  /// (seconds since 1970), "plan_id", "user_id", "distinct_id", "state", "event" and "sentence", its times in the time zone here.
  KLValue state(std::int64_t after) const;

 private:
  const KLCalendar calendar_{"", KLWeekday::Monday};
  mutable std::mutex mutex_;  ///< guards what follows
  std::int64_t next_ = 0;     ///< number of the record to come
  std::deque<KLValue> decisions_;
};

}  // namespace kaleo::tools
