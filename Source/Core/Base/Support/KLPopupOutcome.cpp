#include "kaleo/KLPopupOutcome.h"

#include "kaleo/KLDiagnosis.h"

namespace kaleo {
namespace {

const char* messageOf(KLPopupOutcome::Kind kind) {
  switch (kind) {
    case KLPopupOutcome::Kind::Shown:
      return "popup shown";
    case KLPopupOutcome::Kind::Ended:
      return "popup ended";
    case KLPopupOutcome::Kind::Failed:
      return "popup failed";
    case KLPopupOutcome::Kind::HandedOver:
      return "popup handed over";
  }
  return "";
}

}  // namespace

KLValue KLPopupOutcome::content() const {
  KLObject content{{kQuillonDiagnosticInfoKeyMessage, messageOf(kind)},
                   {kQuillonDiagnosticInfoKeyCampaignId, planID},
                   {"popup_uuid", popupUUID}};
  if (error) {
    content.set("error_domain", error->domain);
    content.set("error_code", error->code);
    content.set("error", error->localizedDescription);
  }
  return content;
}

}  // namespace kaleo
