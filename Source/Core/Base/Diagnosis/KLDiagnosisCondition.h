#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo {

/// What the server asks for with the object "diagnose_config" of a configuration. Every member is optional, and null is as absent:
///
///   "requests"      which request kinds are meant, an array of texts. Records are uploaded when it names
///                   "report_user_diagnose_logs".
///                   "fetch_popup_configs" beside it adds the fetched configurations themselves to their records, which are left
///                   out otherwise, being large. "test_popup_window" asks for nothing here: test popups pass no check.
///   "user_ids"      the server's user ids and
///   "distinct_ids"  the host's distinct ids, arrays of texts or numbers, or just one: records of any of them. Without both, or
///                   with empty ones: of everyone.
///   "plan_ids"      the same of plans: records about these, and those about none. Without it, or empty: about all plans.
///   "start_time",
///   "end_time"      milliseconds since 1970, numbers or their texts: records from then on, and up to then, both included.
///   "limit"         how many records at most this one fetch of the configuration may cause to be sent: 1000 unless it says so,
///                   never more than 10000. The oldest go first.
///
/// With a member of another form it asks for nothing, rather than for what nobody has meant.
/// The condition holds until the next configuration; one without it asks for nothing.
struct KLDiagnosisCondition {
  static constexpr std::int64_t kDefaultLimit = 1000;
  static constexpr std::int64_t kMaxLimit = 10000;
  static constexpr std::size_t kMaxIds = 200;  ///< of each kind; further ones are not looked for

  bool wantsUpload = false;
  bool wantsConfigurations = false;
  std::vector<std::string> userIds, distinctIds, planIds;
  std::int64_t startTime = std::numeric_limits<std::int64_t>::min();
  std::int64_t endTime = std::numeric_limits<std::int64_t>::max();
  std::int64_t limit = kDefaultLimit;
  std::string fault;  ///< the member that cannot be read; empty: none

  /// `condition` may be null.
  static KLDiagnosisCondition fromResponseData(const KLValue* condition);
};

}  // namespace kaleo
