#include "Core/Base/Diagnosis/KLFetchedConfigurations.h"

#include <utility>

#include "Foundation/KLCipher.h"
#include "Foundation/KLJSON.h"

namespace kaleo {
namespace {

/// What one configuration has in common with the next. `config`: the base64 text of a whole answer; its clock goes on in each.
std::string digestOf(const KLDiagnosisUser* user, const KLValue& config) {
  const auto bytes = KLBase64Decode(config.asString());
  const auto answer = bytes ? KLJSON::parse(*bytes) : std::nullopt;
  KLValue same = config;
  if (answer && answer->isObject()) {
    KLObject rest = answer->asObject();
    rest.erase("server_current_time");
    same = std::move(rest);
  }
  return KLMD5Hex((user ? user->distinctId : "") + "\n" + KLJSON::serialize(same));
}

}  // namespace

void KLFetchedConfigurations::leaveOutKnown(std::vector<KLDiagnosisRecord>& records) {
  for (KLDiagnosisRecord& record : records) {
    const KLValue* const config = record.state == KLDiagnosisState::ConfigFetched ? record.content.find("config") : nullptr;
    if (!config || !isKnown(record, *config)) continue;
    KLObject content = record.content.asObject();
    content.erase("config");
    content.set("config_is_as_before", true);
    record.content = std::move(content);
  }
}

bool KLFetchedConfigurations::isKnown(const KLDiagnosisRecord& record, const KLValue& config) {
  std::string digest = digestOf(record.user.get(), config);
  if (digest == last_ && record.time >= time_ && record.time - time_ < kKeptFor) return true;
  last_ = std::move(digest);
  time_ = record.time;
  return false;
}

}  // namespace kaleo
