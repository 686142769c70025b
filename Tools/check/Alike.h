#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "check/CheckedDocument.h"

namespace kaleo::tools {

/// Numbers values so that equal ones, whatever the order of their members, have the same number.
class Alike {
 public:
  /// 0 for nothing and JSON null.
  std::size_t numberOf(const At& at);

 private:
  std::map<std::string, std::size_t, std::less<>> numbers_;
};

}  // namespace kaleo::tools
