#pragma once

namespace kaleo {

enum class KLDatabaseTable : int { PopupConfig = 0, PlanWindows = 1, Users = 2 };

/// Columns; the first four are a plan's windows.
enum class KLDatabaseProperName : int {
  TriggerWindows = 0,
  ConvertWindow = 1,
  ReEnterWindow = 2,
  IntervalWindow = 3,
  GlobalInterval = 4,
  GlobalLimit = 5,
  PopupConfig = 6,
  PlanId = 7,
  UpdateTime = 8,
  EncryptedStatus = 9,
};

}  // namespace kaleo
