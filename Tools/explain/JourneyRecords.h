#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "database/DatabaseReading.h"
#include "database/StoredValue.h"
#include "kaleo/KLDiagnosis.h"

namespace kaleo::tools {

/// A decision as the recorder kept it.
struct JourneyRecord {
  double time = 0;  ///< seconds since 1970
  std::string project;
  StoredId userId, distinctId, planId;
  StoredId event;  ///< name of the event that was decided about; empty: of none, or from before it was kept
  KLDiagnosisState state = {};
  Stored<KLValue> content;  ///< an object

  /// A time or number of the content; nothing when it has none.
  std::optional<double> seconds(std::string_view key) const;
  std::optional<std::int64_t> number(std::string_view key) const;
  /// A text of the content; "" when it has none.
  std::string text(std::string_view key) const;
};

struct JourneyRecords {
  std::vector<JourneyRecord> records;  ///< in the order of recording
  ReadingFaults faults;

  static constexpr int kNewestVersion = 2;  ///< of the schema

  /// Reads what there is. `key` may be null: then what is encrypted stays locked.
  static JourneyRecords read(DatabaseCopy& database, const KLAESCrypt* key);
  /// Why `database` is none of the recorder; "" when it is.
  static std::string whyForeign(DatabaseCopy& database);
};

}  // namespace kaleo::tools
