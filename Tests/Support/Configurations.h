#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Core/Model/KLPopupConfig.h"
#include "Foundation/KLJSON.h"

namespace kaleo::testing {

inline void merge(KLObject& object, const std::string& more) {
  const KLValue members = KLJSON::parse(more).value();
  for (const auto& [key, value] : members.asObject()) object.set(key, value);
}

/// The JSON of a plan that may run and fires at each event `event`; `more` is JSON members that add to or replace the defaults.
inline KLObject plan(int id, const std::string& event, const std::string& more = "{}") {
  KLObject plan = KLJSON::parse(R"({"is_audience": true, "status": "ACTIVE", "expire_at": "99999999999999", "is_trigger": true,
      "popup_window_content": {"content": "{}"}, "re_enter": {"unit": "DAY", "value": 1, "limit": 100}})")
                      ->asObject();
  plan.set("plan_id", id);
  plan.set("cname", "plan " + std::to_string(id));
  plan.set("pattern_popup",
           KLObject{{"matcher_list", KLValue::Array{KLObject{{"event_name", event},
                                                             {"params", KLValue::Array{1}},
                                                             {"window", KLObject{{"unit", "HOUR"}, {"value", 1}}}}}}});
  merge(plan, more);
  return plan;
}

/// A server answer with these plans; `more` as above.
inline KLValue answer(std::vector<KLObject> plans, const std::string& more = "{}") {
  KLValue::Array list;
  for (KLObject& plan : plans) list.emplace_back(std::move(plan));
  KLObject answer{{"user_id", "server-user"}, {"popup_plans", std::move(list)}};
  merge(answer, more);
  return answer;
}

inline KLValue event(const std::string& name, KLObject properties = {}) {
  return KLObject{{"event", name}, {"properties", std::move(properties)}};
}

}  // namespace kaleo::testing
