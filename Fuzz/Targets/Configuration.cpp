// Any JSON as the server's answer: parsed, kept and restored, put into force, and tried with events. An object with "configs" gives
// several answers that follow one another, and with "events" the records to try; any other document is one answer.
#include "Foundation/KLJSON.h"
#include "PlanStage.h"
#include "Target.h"

namespace kaleo::fuzz {
namespace {

constexpr std::size_t kMostConfigs = 4;
constexpr std::size_t kMostEvents = 8;

KLValue::Array firstElements(const KLValue* list, std::size_t most) {
  if (list == nullptr || !list->isArray()) return {};
  KLValue::Array elements = list->asArray();
  if (elements.size() > most) elements.resize(most);
  return elements;
}

KLValue someEvent(const std::string& name) {
  return KLObject{{"event", name},
                  {"properties", KLObject{{"a", 1}, {"b", "text"}, {"c", KLDate{1.7e9}}, {"d", KLValue::Array{"x"}}}}};
}

void requireRestored(const KLPopupConfig& config) {
  const auto restored = KLPopupConfig::fromArchivedData(config.archivedData());
  require(restored != nullptr, "a configuration that was parsed can be restored");
  require(restored->encode() == config.encode(), "a restored configuration is the one that was kept");
}

void run(const KLValue& document) {
  KLValue::Array answers = firstElements(document.find("configs"), kMostConfigs);
  if (answers.empty()) answers.push_back(document);
  const KLValue::Array events = firstElements(document.find("events"), kMostEvents);
  PlanStage stage;
  for (const KLValue& answer : answers) {
    const auto config = stage.parse(answer);
    requireRestored(*config);
    stage.install(config);
    for (const KLValue& event : events) stage.track(event);
    for (const std::string& name : stage.neededEvents(kMostEvents)) stage.track(someEvent(name));
  }
}

}  // namespace
}  // namespace kaleo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kaleo;
  if (const auto document = KLJSON::parse(KLBytes(data, data + size))) fuzz::run(*document);
  return 0;
}
