#pragma once

#include "check/Findings.h"

namespace kaleo::tools {

struct CheckedActions {
  bool any = false;
  bool closes = false;  ///< one of them closes the popup
  bool isList = true;   ///< false: what stands there is no list of actions, which is reported
};

/// What a tap does: an element's "action", or the "maskAction" of a popup.
CheckedActions checkActions(const At& holder, Findings& findings);

}  // namespace kaleo::tools
