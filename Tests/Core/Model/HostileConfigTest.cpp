#include <gtest/gtest.h>

#include <random>

#include "Core/Model/KLPopupConfig.h"
#include "Support/FakeHost.h"
#include "Support/PlanTimeFixture.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::anEvent;
using testing::FakeHost;
using testing::FakePlanTime;
using testing::fromJSON;

const KLValue& honestConfig() {
  static const KLValue config = fromJSON(R"({"user_id":"u","config_pull_interval_ms":1000,
    "msg_limit_global":{"is_in_use":true,"limits":[{"unit":"DAY","natural":true,"value":1,"limit":2}]},
    "popup_interval_global":{"unit":"HOUR","value":1},
    "popup_plans":[{"plan_id":1,"status":"ACTIVE","expire_at":"9999999999999","is_audience":true,
      "convert_window":{"unit":"DAY","value":1},"re_enter":{"unit":"WEEK","natural":true,"value":1,"limit":1},
      "popup_interval":{"unit":"MONTH","value":1},"popup_window_content":{"content":"{}"},"window_update":{"a":1},
      "pattern_popup":{"relation":"OR","matcher_list":[{"event_name":"E","params":["1"],"window":{"unit":"DAY","value":1},
        "filter":{"relation":"AND","conditions":[{"field":"event.a","function":"between","params":["1","2"]},
                                                 {"field":"event.d","function":"absolute_between","params":["2024-01-01 00:00","x"]}]}}]},
      "event_permission":{"relation":"or","conditions":[{"field":"event.a","function":"in","params":["1"]}],
                          "filters":[{"filters":[{"relation":"and"}]}]},
      "display_time_config":{"natural_repeat_cycle":{"repeat_cycle":"WEEK","time_ranges":[{"start_time":"09:00","end_time":"10:00","day":2}]}}}]})");
  return config;
}

/// What a broken or hostile server may put in the place of anything.
KLValue stranger(std::mt19937& random) {
  static const std::vector<KLValue> strangers{KLValue(),
                                              KLValue(true),
                                              KLValue(-1),
                                              KLValue(std::int64_t{1} << 62),
                                              KLValue(1e300),
                                              KLValue(-0.0),
                                              KLValue(""),
                                              KLValue("AND"),
                                              KLValue("MONTH"),
                                              KLValue("99999999999999999999:-5"),
                                              KLValue("\u00e9\u4e2d"),
                                              KLValue(std::string(1000, ':')),
                                              KLValue(KLValue::Array{}),
                                              KLValue(KLValue::Array{KLValue(), KLValue("x"), KLValue(KLObject{})}),
                                              KLValue(KLObject{}),
                                              KLValue(KLObject{{"unit", 5}, {"value", "9e99"}}),
                                              KLValue(KLDate{1e18}),
                                              KLValue(KLBytes{1})};
  return strangers[random() % strangers.size()];
}

KLValue mutated(const KLValue& value, std::mt19937& random) {
  if (random() % 12 == 0) return stranger(random);
  if (value.isArray()) {
    KLValue::Array elements;
    for (const KLValue& element : value.asArray()) elements.push_back(mutated(element, random));
    return KLValue(std::move(elements));
  }
  if (!value.isObject()) return value;
  KLObject object;
  for (const auto& [key, member] : value.asObject()) {
    if (random() % 20 != 0) object.set(key, mutated(member, random));
  }
  return KLValue(std::move(object));
}

TEST(HostileConfig, EveryRuleOfAnyConfigCanBeAsked) {
  FakeHost host;
  const KLLog log(host.registry);
  FakePlanTime time("Europe/Berlin");
  std::mt19937 random(20240506);
  int matched = 0;
  for (int round = 0; round < 1500; ++round) {
    const KLValue data = mutated(honestConfig(), random);
    const auto config = KLPopupConfig::fromResponseData(&data, log);
    const auto restored = KLPopupConfig::fromArchivedData(config->archivedData());
    ASSERT_TRUE(restored);
    ASSERT_EQ(restored->encode(), config->encode()) << KLJSON::serialize(data);
    const KLValue event = mutated(anEvent("E", "{'a':1,'d':['1']}"), random);
    for (const auto& plan : restored->popupPlanModels) {
      matched += plan->permissionFilter.matchWithEvent(event, time.calendar);
      for (const auto& matcher : plan->patternPopup.matcherList) matched += matcher.isMatchedEvent(event, time.calendar);
      if (auto display = plan->repeatDisplay) matched += display->isInDisplayCycle(time.time);
    }
  }
  EXPECT_GT(matched, 0);
}

TEST(HostileConfig, AnyArchiveGivesAConfig) {
  FakeHost host;
  const KLLog log(host.registry);
  const KLValue archive = KLPopupConfig::fromResponseData(&honestConfig(), log)->encode();
  std::mt19937 random(7);
  for (int round = 0; round < 1500; ++round) {
    const auto config = KLPopupConfig::decode(mutated(archive, random));
    ASSERT_EQ(KLPopupConfig::decode(config->encode())->encode(), config->encode());
  }
}

}  // namespace
}  // namespace kaleo
