#pragma once

#include <functional>
#include <string>

#include "Campaign/Popup/Model/KLPopupModel.h"
#include "kaleo/KLHost.h"
#include "kaleo/KLPresentation.h"
#include "preview/PreviewDocument.h"

namespace kaleo::tools {

/// A host that hands what the library logs as errors to a tool's user.
class PreviewHost {
 public:
  using Tell = std::function<void(const std::string&)>;

  /// `tell` gets each message, on the thread that logs it.
  explicit PreviewHost(Tell tell);
  const KLLog& log() const { return log_; }

 private:
  KLHostRegistry registry_;
  const KLLog log_{registry_};
};

/// The popup of a document as the library lays it out for `screen`; its element is not null.
KLPopupModel layOut(const PreviewDocument& document, const KLScreen& screen, const KLTextMeasurer& measurer, const KLLog& log);

}  // namespace kaleo::tools
