#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Core/Model/KLPopupPlanModel.h"
#include "explain/JourneyRecords.h"

namespace kaleo::tools {

/// A configuration that a record keeps.
class FetchedConfiguration {
 public:
  /// Null when the record keeps none, or it cannot be read.
  static std::shared_ptr<const FetchedConfiguration> in(const JourneyRecord& record);

  /// Its plans: plan id to a sentence about what the server said of it.
  const std::map<std::string, std::string>& plans() const { return plans_; }
  /// Its plans as the library reads them.
  std::vector<std::shared_ptr<KLPopupPlanModel>> models() const;

 private:
  KLValue list_;
  std::map<std::string, std::string> plans_;
};

}  // namespace kaleo::tools
