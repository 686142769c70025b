// Any JSON as event records: an array is one record after the other, anything else one record; run through plans that between them
// use every operator and every kind of rule.
#include "Foundation/KLFile.h"
#include "Foundation/KLJSON.h"
#include "PlanStage.h"
#include "Support/SourceDirectory.h"
#include "Target.h"

namespace kaleo::fuzz {
namespace {

constexpr std::size_t kMostEvents = 16;
const std::filesystem::path kConfiguration = testing::sourceDirectory() / "Fuzz/corpus/configuration/every-rule.json";

KLValue everyRule() {
  const auto text = KLFile::read(kConfiguration);
  const auto answer = text ? KLJSON::parse(*text) : std::nullopt;
  require(answer.has_value(), kConfiguration.c_str());
  return *answer;
}

void run(const KLValue& document) {
  PlanStage stage;
  static const auto config = stage.parse(everyRule());
  stage.use(config);
  if (!document.isArray()) return stage.track(document);
  const auto& records = document.asArray();
  for (std::size_t index = 0; index < std::min(records.size(), kMostEvents); ++index) stage.track(records[index]);
}

}  // namespace
}  // namespace kaleo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kaleo;
  if (const auto document = KLJSON::parse(KLBytes(data, data + size))) fuzz::run(*document);
  return 0;
}
