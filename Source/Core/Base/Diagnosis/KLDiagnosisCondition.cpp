#include "Core/Base/Diagnosis/KLDiagnosisCondition.h"

#include <algorithm>
#include <string_view>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

bool isWholeNumber(const KLValue& value) {
  if (!value.isString()) return value.isInteger() || value.isDouble();
  std::string_view text = value.asString();
  if (text.starts_with('-')) text.remove_prefix(1);
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Reads the members of a condition. Null is the same as absent.
class Reader {
 public:
  explicit Reader(const KLValue& condition) : condition_(condition) {}

  /// The first member that has none of the forms that it may have. Nobody can tell whom or what it means.
  const std::string& fault() const { return fault_; }

  bool asksFor(std::string_view request) {
    const KLValue* const requests = memberOrNull("requests");
    if (!requests) return false;
    if (!requests->isArray()) refuse("requests");
    const auto& list = requests->asArray();
    return std::any_of(list.begin(), list.end(), [&](const KLValue& name) { return name.asString() == request; });
  }

  void readIds(const char* key, std::vector<std::string>& ids) {
    const KLValue* const given = memberOrNull(key);
    if (!given) return;
    const KLValue::Array one{*given};
    const KLValue::Array& list = given->isArray() ? given->asArray() : one;
    for (const KLValue& id : list) {
      if (!id.isString() && !id.isInteger() && !id.isDouble()) return refuse(key);
      if (ids.size() < KLDiagnosisCondition::kMaxIds) ids.push_back(quillon_stringValue(&id).value_or(""));
    }
  }

  void readNumber(const char* key, std::int64_t& number) {
    const KLValue* const given = memberOrNull(key);
    if (!given) return;
    if (!isWholeNumber(*given)) return refuse(key);
    number = quillon_integerValue(given);
  }

 private:
  const KLValue* memberOrNull(const char* key) const {
    const KLValue* const member = condition_.find(key);
    return member && !member->isNull() ? member : nullptr;
  }
  void refuse(const char* key) {
    if (fault_.empty()) fault_ = key;
  }

  const KLValue& condition_;
  std::string fault_;
};

}  // namespace

KLDiagnosisCondition KLDiagnosisCondition::fromResponseData(const KLValue* condition) {
  KLDiagnosisCondition wanted;
  if (!condition) return wanted;
  Reader reader(*condition);
  const bool isAsked = reader.asksFor("report_user_diagnose_logs");
  wanted.wantsConfigurations = reader.asksFor("fetch_popup_configs");
  reader.readIds("user_ids", wanted.userIds);
  reader.readIds("distinct_ids", wanted.distinctIds);
  reader.readIds("plan_ids", wanted.planIds);
  reader.readNumber("start_time", wanted.startTime);
  reader.readNumber("end_time", wanted.endTime);
  reader.readNumber("limit", wanted.limit);
  wanted.limit = std::clamp<std::int64_t>(wanted.limit, 0, kMaxLimit);
  wanted.fault = reader.fault();
  wanted.wantsUpload = isAsked && wanted.fault.empty();
  return wanted;
}

}  // namespace kaleo
