#include "Core/Base/Diagnosis/KLDiagnosisUpload.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Core/Utils/KLVersion.h"
#include "Foundation/KLJSON.h"

namespace kaleo {
namespace {

constexpr const char* kPlatform = "IOS";  // as in every request to the popup server

KLValue contentOf(const KLKeptDiagnosisRecord& record, bool withConfiguration) {
  KLValue content = KLJSON::parse(record.content).value_or(KLValue(KLObject{}));
  // A page that is nested too deeply would be sent without any of its records.
  if (!KLJSON::isValidJSONObject(KLValue::Array{KLValue::Array{KLValue::Array{content}}})) {
    KLObject rest;
    rest.setIfPresent(kQuillonDiagnosticInfoKeyMessage, content.find(kQuillonDiagnosticInfoKeyMessage));
    return rest;
  }
  if (withConfiguration || record.state != static_cast<int>(KLDiagnosisState::ConfigFetched)) return content;
  KLObject rest = content.asObject();
  rest.erase("config");
  return rest;
}

KLValue documentOf(const KLKeptDiagnosisRecord& record, bool withConfiguration) {
  return KLObject{{"record_id", record.id},
                  {"time", record.time},
                  {"project", record.project},
                  {"user_id", record.user.userId},
                  {"distinct_id", record.user.distinctId},
                  {"plan_id", record.planId},
                  {"state", record.state},
                  {"type", record.type},
                  {"event", record.event},
                  {"content", contentOf(record, withConfiguration)}};
}

}  // namespace

double KLDiagnosisUpload::delayAfter(int failures) {
  return std::min(kLongestDelay, kFirstDelay * std::exp2(std::clamp(failures, 1, kMaxFailures) - 1));
}

void KLDiagnosisUpload::flush(const KLDiagnosisCondition& condition) {
  if (!condition.fault.empty()) log_.error("diagnose_config asks for nothing: its \"{}\" cannot be read", condition.fault);
  condition_ = condition;
  isOfCondition_ = false;
  left_ = condition.wantsUpload ? condition.limit : 0;
  failures_ = std::min(failures_, kMaxFailures - 1);
  if (!isSending_ && !isPaused_) sendNext();
}

void KLDiagnosisUpload::sendNext() {
  if (!keepAcknowledged() || left_ <= 0) return;
  const auto records = database_.unacknowledged(condition_, std::min(left_, kPageRecords), kPageBytes);
  if (records.empty()) return;
  installation_ = database_.installationId();
  if (!installation_.empty()) send(records);
}

void KLDiagnosisUpload::send(const std::vector<KLKeptDiagnosisRecord>& records) {
  KLValue::Array documents;
  sent_.clear();
  for (const auto& record : records) {
    documents.push_back(documentOf(record, condition_.wantsConfigurations));
    sent_.push_back(record.id);
  }
  isSending_ = isOfCondition_ = true;
  log_.info("Upload {} diagnosis records", records.size());
  post_(KLObject{{"installation_id", installation_},
                 {"platform", kPlatform},
                 {"sdk_version", kKLSDKVersion},
                 {"records", std::move(documents)}},
        [weak = weak_from_this(), queue = queue_](bool accepted) {
          queue->async([weak, accepted] {
            if (const auto self = weak.lock()) self->takeAnswer(accepted);
          });
        });
}

void KLDiagnosisUpload::takeAnswer(bool accepted) {
  if (!isSending_) return;
  isSending_ = false;
  if (!accepted) return pause();
  failures_ = 0;
  if (isOfCondition_) left_ -= static_cast<std::int64_t>(sent_.size());
  acknowledged_.insert(acknowledged_.end(), sent_.begin(), sent_.end());
  sendNext();
}

bool KLDiagnosisUpload::keepAcknowledged() {
  if (acknowledged_.empty()) return true;
  if (!database_.acknowledge(acknowledged_, installation_)) {
    log_.error("Acknowledged diagnosis records cannot be marked; none are sent for now");
    return false;
  }
  acknowledged_.clear();
  return true;
}

void KLDiagnosisUpload::pause() {
  if (++failures_ >= kMaxFailures) {
    log_.error("Diagnosis records could not be uploaded {} times in a row", failures_);
    return;
  }
  const double seconds = delayAfter(failures_);
  log_.info("Diagnosis records could not be uploaded, next try in {} seconds", seconds);
  isPaused_ = true;
  queue_->asyncAfter(seconds, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->isPaused_ = false;
    self->sendNext();
  });
}

}  // namespace kaleo
