#pragma once

#include "kaleo/KLPlatform.h"

namespace kaleo {

/// Puts the recorder of decisions into `platform`: a library that runs on it keeps why each popup showed or did not, in the
/// database "QuillonDiagnosticJourneys" beside its own, for `KLConfigOptions::diagnosisExpiration` seconds, encrypted as its own.
/// When the server's configuration asks for records with "diagnose_config", they are uploaded to "klo/user_diagnose_logs";
/// docs/diagnosis.md has the forms of both. `kaleo explain` tells the story of a plan from the database.
///
/// Before the library is made. Threads: any.
KALEO_API void installCampaignDiagnosis(KLPlatform& platform);

}  // namespace kaleo
