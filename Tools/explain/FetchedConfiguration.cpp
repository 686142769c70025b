#include "explain/FetchedConfiguration.h"

#include <fmt/format.h>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "text/TerminalText.h"

namespace kaleo::tools {

std::shared_ptr<const FetchedConfiguration> FetchedConfiguration::in(const JourneyRecord& record) {
  const auto bytes = KLBase64Decode(record.text("config"));
  const auto answer = bytes && !bytes->empty() ? KLJSON::parse(*bytes) : std::nullopt;
  if (!answer) return nullptr;
  auto configuration = std::make_shared<FetchedConfiguration>();
  const KLValue* const list = answer->find("popup_plans");
  if (!list) return configuration;
  configuration->list_ = *list;
  for (const KLValue& plan : list->asArray()) {
    const std::string name = printable(quillon_stringValue(plan.find("cname")).value_or(""));
    configuration->plans_[fmt::format("{}", quillon_integerValue(plan.find("plan_id")))] =
        fmt::format("Fetched: the configuration has it{}, {}, priority {}.", name.empty() ? "" : fmt::format(" as \"{}\"", name),
                    printable(quillon_stringValue(plan.find("status")).value_or("without status")),
                    quillon_integerValue(plan.find("absolute_priority")));
  }
  return configuration;
}

std::vector<std::shared_ptr<KLPopupPlanModel>> FetchedConfiguration::models() const {
  return KLPopupPlanModel::plansFromResponseData(&list_);
}

}  // namespace kaleo::tools
