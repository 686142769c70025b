#include "Nimbra/Identity.h"

#include "Nimbra/Files.h"
#include "Nimbra/JSON.h"

namespace nimbra {
namespace {

using kaleo::KLObject;
using kaleo::KLValue;

constexpr const char* kAnonymousId = "anonymous_id";
constexpr const char* kLoginId = "login_id";

}  // namespace

Identity loadIdentity(const std::filesystem::path& file) {
  const auto text = readFile(file);
  const KLValue stored = text ? fromJSON(*text).value_or(KLValue()) : KLValue();
  Identity identity;
  if (const KLValue* id = stored.find(kAnonymousId)) identity.anonymousId = id->asString();
  if (const KLValue* id = stored.find(kLoginId); id != nullptr && id->isString()) identity.loginId = id->asString();
  return identity;
}

bool saveIdentity(const Identity& identity, const std::filesystem::path& file) {
  KLObject stored{{kAnonymousId, identity.anonymousId}};
  if (identity.loginId) stored.set(kLoginId, *identity.loginId);
  return replaceFile(file, toJSON(stored));
}

}  // namespace nimbra
