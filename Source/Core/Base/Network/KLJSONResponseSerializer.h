#pragma once

#include <optional>

#include "Core/Base/Log/KLLog.h"
#include "kaleo/KLValue.h"

namespace kaleo {

/// Reads the JSON body of an answer. Threads: any. Lifetime: borrows the log.
class KLJSONResponseSerializer {
 public:
  static KLJSONResponseSerializer serializer(const KLLog& log) { return KLJSONResponseSerializer(log); }

  /// The object or array in `data`; nothing when there is no data or it holds anything else.
  std::optional<KLValue> responseObjectForResponseData(const std::optional<KLBytes>& data) const;

 private:
  explicit KLJSONResponseSerializer(const KLLog& log) : log_(log) {}
  const KLLog& log_;
};

}  // namespace kaleo
