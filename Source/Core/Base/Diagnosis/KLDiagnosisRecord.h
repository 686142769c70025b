#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kaleo/KLDiagnosis.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// Whom a record is about.
struct KLDiagnosisUser {
  std::string userId;  ///< the server's; empty: not known yet
  std::string distinctId;
};

/// A record as it goes into the database.
struct KLDiagnosisRecord {
  std::int64_t time = 0;  ///< milliseconds since 1970
  std::shared_ptr<const KLDiagnosisUser> user;
  std::string planId;  ///< empty: about no plan
  KLDiagnosisState state;
  KLDiagnosisType type;
  KLValue content;
  std::string event = {};  ///< name of the event that was decided about; empty: about none
};

/// A decision as it is kept.
struct KLKeptDiagnosisRecord {
  std::int64_t id = 0;    ///< ascending in the order of recording, never used twice
  std::int64_t time = 0;  ///< milliseconds since 1970
  std::string project;
  KLDiagnosisUser user;
  std::string planId;
  std::int64_t state = 0, type = 0;
  std::string content;  ///< JSON
  std::string event;
};

}  // namespace kaleo
