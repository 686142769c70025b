#include "preview/PreviewPopup.h"

#include "Platform/Linux/KLXDGDirectories.h"

namespace kaleo::tools {
namespace {

constexpr const char* kBundleName = "Kaleo.bundle";

class ErrorLog final : public NBLog {
 public:
  explicit ErrorLog(PreviewHost::Tell tell) : tell_(std::move(tell)) {}
  void log(bool, const std::string& message, int level, const char*, const char*, int, int) override {
    if (level == static_cast<int>(KLLogLevel::Error)) tell_(message);
  }

 private:
  const PreviewHost::Tell tell_;
};

}  // namespace

PreviewHost::PreviewHost(Tell tell) { registry_.registerNBLog(std::make_shared<ErrorLog>(std::move(tell))); }

KLPopupModel layOut(const PreviewDocument& document, const KLScreen& screen, const KLTextMeasurer& measurer, const KLLog& log) {
  KLPopupModel popup(document.layout, {screen, log, KLResourceDirectory() / kBundleName});
  popup.element->layoutWithContainerWidth(KLShorterSide(screen), measurer);
  return popup;
}

}  // namespace kaleo::tools
