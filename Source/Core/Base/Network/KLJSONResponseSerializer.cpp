#include "Core/Base/Network/KLJSONResponseSerializer.h"

#include <exception>

#include "Foundation/KLJSON.h"

namespace kaleo {

std::optional<KLValue> KLJSONResponseSerializer::responseObjectForResponseData(const std::optional<KLBytes>& data) const {
  if (!data) {
    log_.info("response data is nil");
    return std::nullopt;
  }
  try {
    auto value = KLJSON::parse(*data);
    return value && (value->isObject() || value->isArray()) ? value : std::nullopt;
  } catch (const std::exception& exception) {
    log_.info("{}", exception.what());
    return std::nullopt;
  }
}

}  // namespace kaleo
