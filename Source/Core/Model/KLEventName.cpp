#include "Core/Model/KLEventName.h"

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {

KLEventName::KLEventName(const KLValue& event) {
  const KLValue* name = event.find("event");
  isPresent_ = name != nullptr;
  if (name && name->isString()) {
    text_ = name->asString();
  } else {
    coerced_ = quillon_stringValue(name).value_or("(null)");
    text_ = coerced_;
  }
}

}  // namespace kaleo
