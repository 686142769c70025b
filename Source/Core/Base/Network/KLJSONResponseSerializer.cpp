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
    KLError error;
    auto value = KLJSON::parse(*data, &error);
    if (!value && error.domain == KLJSON::kBoundErrorDomain) log_.error("response data is refused: {}", error.localizedDescription);
    return value && (value->isObject() || value->isArray()) ? value : std::nullopt;
  } catch (const std::exception& exception) {
    log_.info("{}", exception.what());
    return std::nullopt;
  }
}

}  // namespace kaleo
