#include "Nimbra/EventTracker.h"

#include "Nimbra/JSON.h"

namespace nimbra {
namespace {

using kaleo::KLValue;

constexpr const char* kRecorded = "recorded";

}  // namespace

void EventTracker::setTrackEventHook(Hook hook) {
  auto shared = hook ? std::make_shared<const Hook>(std::move(hook)) : nullptr;
  const std::lock_guard lock(mutex_);
  hook_.swap(shared);
}

KLValue EventTracker::trackEvent(const KLValue& record, bool isSignUp) {
  std::shared_ptr<const Hook> hook;
  {
    const std::lock_guard lock(mutex_);
    hook = hook_;
  }
  KLValue recorded = hook ? (*hook)(record, isSignUp) : record;
  file_.append(toJSON(recorded));
  observers_.post(kRecorded, recorded);
  return recorded;
}

EventTracker::Token EventTracker::addObserver(Observer observer) {
  return observers_.addObserver(kRecorded, [observer = std::move(observer)](const std::optional<KLValue>& record) {
    if (record) observer(*record);
  });
}

}  // namespace nimbra
