#include "Core/Model/KLPopupConfig.h"

#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo {
namespace {

constexpr const char* kClassName = "KLPopupConfig";
constexpr std::size_t kBase64LineLength = 64;

}  // namespace

void KLPlanList::parse(const KLValue* json, Plans& member, KLParseContext& context) {
  const auto plans = KLPopupPlanModel::plansFromResponseData(json, context);
  member.assign(plans.begin(), plans.end());
}

void KLPlanList::decode(const KLValue& archived, Plans& member) {
  member.clear();
  for (const KLValue& plan : archived.asArray()) {
    if (plan.isObject() && member.size() < KLParseContext::kMaxPlans) member.push_back(KLPopupPlanModel::decode(plan));
  }
}

std::optional<KLValue> KLPlanList::encode(const Plans& member) {
  KLValue::Array plans;
  plans.reserve(member.size());
  for (const auto& plan : member) plans.push_back(plan->encode());
  return KLValue(std::move(plans));
}

void KLCoercion<std::optional<KaleoUser>>::parse(const KLValue*, std::optional<KaleoUser>& member, KLParseContext&) {
  member.reset();
}

void KLCoercion<std::optional<KaleoUser>>::decode(const KLValue& archived, std::optional<KaleoUser>& member) {
  if (archived.isObject()) member = KaleoUser::decode(archived);
}

std::optional<KLValue> KLCoercion<std::optional<KaleoUser>>::encode(const std::optional<KaleoUser>& member) {
  return member ? std::optional(member->encode()) : std::nullopt;
}

std::shared_ptr<KLPopupConfig> KLPopupConfig::fromResponseData(const KLValue* data, const KLLog& log) {
  KLParseContext context{.log = &log};
  auto config = std::make_shared<KLPopupConfig>();
  KLFields::parse(*config, data, context);
  config->answer_ = data ? *data : KLValue();
  return config;
}

std::optional<std::string> KLPopupConfig::originalConfig() const {
  return answer_ ? std::optional(base64EncodedConfig(&*answer_)) : std::nullopt;
}

std::string KLPopupConfig::base64EncodedConfig(const KLValue* data) {
  if (!data || !data->isObject() || !KLJSON::isValidJSONObject(*data)) return "";
  const std::string text = KLJSON::serialize(*data, KLJSON::Style::Pretty);
  return KLBase64EncodeLines(KLBytes(text.begin(), text.end()), kBase64LineLength);
}

void KLPopupConfig::setUser(const KaleoUser& newUser) {
  user = newUser;
  for (auto& plan : popupPlanModels) {
    if (plan.use_count() > 1) plan = std::make_shared<KLPopupPlanModel>(*plan);
    // Made here or by the parser, so not const by itself, and nobody else has it.
    std::const_pointer_cast<KLPopupPlanModel>(plan)->user = newUser;
  }
}

std::shared_ptr<KLPopupConfig> KLPopupConfig::copy() const {
  auto copy = std::make_shared<KLPopupConfig>(*this);
  copy->answer_.reset();
  copy->diagnosticCondition.reset();
  return copy;
}

std::shared_ptr<KLPopupConfig> KLPopupConfig::withoutPlans() const {
  auto copy = std::make_shared<KLPopupConfig>(*this);
  copy->popupPlanModels.clear();
  return copy;
}

KLBytes KLPopupConfig::archivedData() const { return KLKeyedArchive::archive(kClassName, encode()); }

std::shared_ptr<KLPopupConfig> KLPopupConfig::fromArchivedData(const KLBytes& data) {
  const auto root = KLKeyedArchive::unarchive(data, kClassName);
  return root && root->isObject() ? decode(*root) : nullptr;
}

KLValue KLPopupConfig::encode() const { return KLFields::encode(*this); }

std::shared_ptr<KLPopupConfig> KLPopupConfig::decode(const KLValue& archive) {
  auto config = std::make_shared<KLPopupConfig>();
  KLFields::decode(*config, archive);
  if (config->user) config->setUser(KaleoUser(*config->user));
  return config;
}

}  // namespace kaleo
