#include "Core/Nimbra/KaleoUser.h"

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo {
namespace {

struct Field {
  std::optional<std::string> KaleoUser::*member;
  const char* key;
};
constexpr Field kFields[] = {
    {&KaleoUser::distinctId, "distinctId"}, {&KaleoUser::loginId, "loginId"}, {&KaleoUser::anonymousId, "anonymousId"}};

}  // namespace

KLValue KaleoUser::encode() const {
  KLObject archive;
  for (const Field& field : kFields) {
    if (const auto& text = this->*field.member) archive.set(field.key, *text);
  }
  return archive;
}

KaleoUser KaleoUser::decode(const KLValue& archive) {
  KaleoUser user;
  for (const Field& field : kFields) user.*field.member = quillon_stringValue(archive.find(field.key));
  return user;
}

}  // namespace kaleo
