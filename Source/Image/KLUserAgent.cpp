#include "Image/KLUserAgent.h"

#include <fmt/format.h>

#include "Foundation/KLTransliteration.h"

namespace kaleo {

std::string KLUserAgent(const KLApplicationInfo& application, double scale) {
  const auto text = fmt::format("{}/{} ({}; iOS {}; Scale/{:0.2f})", application.name, application.version, application.deviceModel,
                                application.systemVersion, scale);
  return KLIsASCII(text) ? text : KLTransliteratedToASCII(text);
}

}  // namespace kaleo
