#include "Core/Base/Log/KLLog.h"

namespace kaleo {

void KLLog::log(bool asynchronous, KLLogLevel level, const char* file, const char* function, int line, int context,
                std::string_view message) const {
  const auto logger = host_.nbLog();
  if (!logger) return;
  try {
    logger->log(asynchronous, std::string(message), static_cast<int>(level), file, function, line, context);
  } catch (...) {  // a host's logger that throws must not take a decision with it
  }
}

void KLLog::send(KLLogLevel level, const std::source_location& where, std::string_view message) const {
  log(true, level, where.file_name(), where.function_name(), static_cast<int>(where.line()), 0, message);
}

}  // namespace kaleo
