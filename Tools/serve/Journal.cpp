#include "serve/Journal.h"

#include <algorithm>
#include <utility>

namespace kaleo::tools {

void Journal::add(Request request) {
  const std::lock_guard lock(mutex_);
  ++next_;
  requests_.push_back(std::move(request));
  if (requests_.size() > kMaxRequests) requests_.pop_front();
}

void Journal::serveConfiguration(double time, const std::string& distinctId, std::string text) {
  const std::lock_guard lock(mutex_);
  configuration_ = {configuration_.version + 1, time, distinctId, std::move(text)};
}

void Journal::askForPopups(double time, const std::string& project, const std::vector<std::string>& uuids) {
  const std::lock_guard lock(mutex_);
  for (const std::string& uuid : uuids) askForPopup(time, project, uuid);
}

void Journal::askForPopup(double time, const std::string& project, const std::string& uuid) {
  auto popup = std::ranges::find(popups_, uuid, &Popup::uuid);
  if (popup == popups_.end()) {
    if (popups_.size() == kMaxPopups) popups_.pop_front();
    popup = popups_.insert(popups_.end(), Popup{uuid, project, time});
  }
  popup->last = time;
  ++popup->times;
}

bool Journal::setConversion(const std::string& uuid, const std::string& time) {
  const std::lock_guard lock(mutex_);
  if (conversions_.size() >= kMaxPopups && !conversions_.contains(uuid)) return false;
  conversions_[uuid] = time;
  return true;
}

std::optional<std::string> Journal::conversion(const std::string& uuid) const {
  const std::lock_guard lock(mutex_);
  const auto found = conversions_.find(uuid);
  return found == conversions_.end() ? std::nullopt : std::optional(found->second);
}

KLValue::Array Journal::requestsFrom(std::int64_t number) const {
  KLValue::Array list;
  std::int64_t at = next_ - static_cast<std::int64_t>(requests_.size());
  for (const Request& request : requests_) {
    if (at++ < number) continue;
    list.push_back(KLObject{{"time", request.time},
                            {"method", request.method},
                            {"target", request.target},
                            {"status", request.status},
                            {"bytes", static_cast<std::int64_t>(request.bytes)},
                            {"fault", request.fault},
                            {"reason", request.reason}});
  }
  return list;
}

KLValue::Array Journal::popups() const {
  KLValue::Array list;
  for (const Popup& popup : popups_) {
    KLObject entry{
        {"uuid", popup.uuid}, {"project", popup.project}, {"first", popup.first}, {"last", popup.last}, {"times", popup.times}};
    const auto set = conversions_.find(popup.uuid);
    if (set != conversions_.end()) entry.set("convert_time", set->second);
    list.push_back(std::move(entry));
  }
  return list;
}

KLValue Journal::state(std::int64_t after) const {
  const std::lock_guard lock(mutex_);
  KLObject state{{"began", began_}, {"next", next_}, {"requests", requestsFrom(after)}, {"popups", popups()}};
  if (configuration_.version > 0) {
    state.set("configuration", KLObject{{"version", configuration_.version},
                                        {"time", configuration_.time},
                                        {"distinct_id", configuration_.distinctId},
                                        {"bytes", static_cast<std::int64_t>(configuration_.text.size())}});
  }
  return state;
}

std::string Journal::configuration() const {
  const std::lock_guard lock(mutex_);
  return configuration_.text;
}

}  // namespace kaleo::tools
