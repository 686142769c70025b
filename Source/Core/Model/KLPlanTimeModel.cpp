#include "Core/Model/KLPlanTimeModel.h"

#include <array>
#include <utility>

namespace kaleo {
namespace {

constexpr std::array<std::pair<std::string_view, KLTimeUnit>, 6> kUnits{{{"SECOND", KLTimeUnit::Second},
                                                                         {"MINUTE", KLTimeUnit::Minute},
                                                                         {"HOUR", KLTimeUnit::Hour},
                                                                         {"DAY", KLTimeUnit::Day},
                                                                         {"WEEK", KLTimeUnit::Week},
                                                                         {"MONTH", KLTimeUnit::Month}}};

}  // namespace

KLPlanTimeModel::KLPlanTimeModel(std::string unitName, bool isNatural, std::int64_t units)
    : unit(std::move(unitName)), natural(isNatural), value(units) {
  compile();
}

void KLPlanTimeModel::compile() {
  timeUnit_ = KLTimeUnit::Unknown;
  for (const auto& [name, timeUnit] : kUnits) {
    if (unit == name) timeUnit_ = timeUnit;
  }
}

KLPlanLimitModel KLPlanLimitModel::fromResponseData(const KLValue* data) {
  KLParseContext context;
  KLPlanLimitModel model;
  KLFields::parse(model, data, context);
  return model;
}

KLPlanLimitModel KLPlanLimitModel::decode(const KLValue& archive) {
  KLPlanLimitModel model;
  KLFields::decode(model, archive);
  return model;
}

std::vector<KLPlanLimitModel> KLPlanLimitModel::limitModelsFromResponseData(const KLValue* data) {
  KLParseContext context;
  std::vector<KLPlanLimitModel> models;
  KLList<KLStrangers::Neutral>::parse(data, models, context);
  return models;
}

}  // namespace kaleo
