#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLJSON.h"

namespace kaleo {

std::string quillon_description(const KLValue& value) {
  if (value.isNull()) return "<null>";
  if (value.isString() || value.isNumber()) return *quillon_stringValue(&value);
  return KLJSON::serialize(value);
}

}  // namespace kaleo
