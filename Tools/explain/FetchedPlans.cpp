#include "explain/FetchedPlans.h"

#include <fmt/format.h>

#include "Core/Utils/KLJSONSerialization.h"
#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"
#include "text/TerminalText.h"

namespace kaleo::tools {

std::optional<std::map<std::string, std::string>> fetchedPlans(const JourneyRecord& record) {
  const auto bytes = KLBase64Decode(record.text("config"));
  const auto configuration = bytes && !bytes->empty() ? KLJSON::parse(*bytes) : std::nullopt;
  if (!configuration) return std::nullopt;
  std::map<std::string, std::string> plans;
  const KLValue* const list = configuration->find("popup_plans");
  if (!list) return plans;
  for (const KLValue& plan : list->asArray()) {
    const std::string name = printable(quillon_stringValue(plan.find("cname")).value_or(""));
    plans[fmt::format("{}", quillon_integerValue(plan.find("plan_id")))] =
        fmt::format("Fetched: the configuration has it{}, {}, priority {}.", name.empty() ? "" : fmt::format(" as \"{}\"", name),
                    printable(quillon_stringValue(plan.find("status")).value_or("without status")),
                    quillon_integerValue(plan.find("absolute_priority")));
  }
  return plans;
}

}  // namespace kaleo::tools
