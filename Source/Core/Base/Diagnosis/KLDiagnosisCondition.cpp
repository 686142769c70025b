#include "Core/Base/Diagnosis/KLDiagnosisCondition.h"

#include <algorithm>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

std::vector<std::string> idsAt(const KLValue& condition, std::string_view key) {
  std::vector<std::string> ids;
  const KLValue* const list = condition.find(key);
  if (!list) return ids;
  for (const KLValue& id : list->asArray()) {
    if (ids.size() == KLDiagnosisCondition::kMaxIds) break;
    ids.push_back(quillon_stringValue(&id).value_or(""));
  }
  return ids;
}

bool names(const KLValue& condition, std::string_view request) {
  const auto requests = quillon_stringValues(condition.find("requests"));
  return std::find(requests.begin(), requests.end(), request) != requests.end();
}

}  // namespace

KLDiagnosisCondition KLDiagnosisCondition::fromResponseData(const KLValue* condition) {
  KLDiagnosisCondition wanted;
  if (!condition || !names(*condition, "report_user_diagnose_logs")) return wanted;
  wanted.wantsUpload = true;
  wanted.wantsConfigurations = names(*condition, "fetch_popup_configs");
  wanted.userIds = idsAt(*condition, "user_ids");
  wanted.distinctIds = idsAt(*condition, "distinct_ids");
  wanted.planIds = idsAt(*condition, "plan_ids");
  if (const KLValue* start = condition->find("start_time")) wanted.startTime = quillon_integerValue(start);
  if (const KLValue* end = condition->find("end_time")) wanted.endTime = quillon_integerValue(end);
  if (const KLValue* limit = condition->find("limit")) {
    wanted.limit = std::clamp<std::int64_t>(quillon_integerValue(limit), 0, kMaxLimit);
  }
  return wanted;
}

}  // namespace kaleo
