#include "Core/Base/Diagnosis/KLCampaignDiagnosis.h"
#include "kaleo-diagnosis/KLCampaignDiagnosis.h"

namespace kaleo {

void installCampaignDiagnosis(KLPlatform& platform) {
  platform.makeDiagnosis = [](const KLDiagnosisSurroundings& surroundings) {
    return std::make_shared<KLCampaignDiagnosis>(surroundings);
  };
}

}  // namespace kaleo
