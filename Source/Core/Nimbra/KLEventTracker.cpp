#include "Core/Nimbra/KLEventTracker.h"

namespace kaleo {
namespace {

struct IdentityKey {
  const char* property;
  const char* recordKey;
};
constexpr IdentityKey kIdentityKeys[] = {
    {"kl_loginId", "login_id"}, {"kl_distinctId", "distinct_id"}, {"kl_anonymousId", "anonymous_id"}};
constexpr const char* kDisplayEvent = "$PlanPopupDisplay";

bool isDisplayEvent(const KLValue& record) {
  const KLValue* event = record.find("event");
  const KLValue* properties = record.find("properties");
  return event && event->isString() && event->asString() == kDisplayEvent && properties && properties->isObject();
}

}  // namespace

KLValue nb_trackEvent(const KLValue& record) {
  if (!isDisplayEvent(record)) return record;
  KLObject rewritten = record.asObject();
  KLObject properties = record.find("properties")->asObject();
  for (const IdentityKey& key : kIdentityKeys) {
    rewritten.setIfPresent(key.recordKey, properties.find(key.property));
    properties.erase(key.property);
  }
  rewritten.set("properties", std::move(properties));
  return rewritten;
}

void KLSwizzler::swizzle(KLHostRegistry& host) {
  host.setTrackEventHook([](const KLValue& record, bool) { return nb_trackEvent(record); });
}

void KLSwizzler::restore(KLHostRegistry& host) { host.setTrackEventHook({}); }

}  // namespace kaleo
