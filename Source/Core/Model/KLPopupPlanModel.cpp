#include "Core/Model/KLPopupPlanModel.h"

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

constexpr double kMillisecondsPerSecond = 1000.0;
constexpr const char* kActiveStatus = "ACTIVE";

}  // namespace

bool KLPopupPlanModel::isExpired(double now) const { return now * kMillisecondsPerSecond > expireAtMilliseconds_; }

bool KLPopupPlanModel::isActive() const { return status == kActiveStatus; }

void KLPopupPlanModel::compile() {
  planKey_ = std::to_string(planID);
  expireAtMilliseconds_ = expireAt ? quillon_doublePrefix(*expireAt) : 0;
}

std::shared_ptr<KLPopupPlanModel> KLPopupPlanModel::fromResponseData(const KLValue* data) {
  KLParseContext context;
  return fromResponseData(data, context);
}

std::shared_ptr<KLPopupPlanModel> KLPopupPlanModel::fromResponseData(const KLValue* data, KLParseContext& context) {
  auto model = std::make_shared<KLPopupPlanModel>();
  KLFields::parse(*model, data, context);
  return model;
}

std::vector<std::shared_ptr<KLPopupPlanModel>> KLPopupPlanModel::plansFromResponseData(const KLValue* data) {
  KLParseContext context;
  return plansFromResponseData(data, context);
}

std::vector<std::shared_ptr<KLPopupPlanModel>> KLPopupPlanModel::plansFromResponseData(const KLValue* data,
                                                                                       KLParseContext& context) {
  std::vector<std::shared_ptr<KLPopupPlanModel>> models;
  if (!data) return models;
  const auto& plans = data->asArray();
  const std::size_t count = context.admit(plans.size(), KLParseContext::kMaxPlans);
  models.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (plans[i].isObject()) models.push_back(fromResponseData(&plans[i], context));
  }
  return models;
}

KLValue KLPopupPlanModel::encode() const { return KLFields::encode(*this); }

std::shared_ptr<KLPopupPlanModel> KLPopupPlanModel::decode(const KLValue& archive) {
  auto model = std::make_shared<KLPopupPlanModel>();
  KLFields::decode(*model, archive);
  return model;
}

bool operator==(const KLPopupPlanModel& left, const KLPopupPlanModel& right) { return KLFields::equal(left, right); }

}  // namespace kaleo
