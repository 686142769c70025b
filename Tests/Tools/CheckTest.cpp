#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "Foundation/KLJSON.h"
#include "Support/SourceDirectory.h"
#include "Support/TemporaryDirectory.h"
#include "check/CheckReport.h"
#include "check/Checker.h"
#include "files/FileReading.h"

namespace kaleo::tools {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

constexpr double kNow = 1790000000;

const char* const kLayout = R"({"properties": {"maskCloseEnabled": true}, "template": {"type": "column", "layout": {}, "subviews": [
  {"type": "label", "layout": {}, "properties": {"text": "Hello", "font": "16px"}}]}})";

KLObject parsed(const std::string& json) { return KLJSON::parse(json).value().asObject(); }

/// A plan without a fault, with the members of `changes` in place of its own; JSON null takes a member out.
KLValue plan(const std::string& changes = "{}") {
  KLObject plan = parsed(R"({"plan_id": 7, "status": "ACTIVE", "is_audience": true, "expire_at": "1900000000000",
    "re_enter": {"unit": "DAY", "natural": true, "value": 1, "limit": 2},
    "pattern_popup": {"relation": "OR", "matcher_list": [{"event_name": "Pay", "params": ["1"], "window": {"unit": "DAY", "value": 1}}]}})");
  plan.set("popup_window_content", KLObject{{"popup_type", "PRESET"}, {"content", kLayout}});
  for (const auto& [key, value] : parsed(changes)) {
    if (value.isNull()) {
      plan.erase(key);
    } else {
      plan.set(key, value);
    }
  }
  return plan;
}

std::string answer(KLValue::Array plans, const std::string& changes = "{}") {
  KLObject answer{{"config_pull_interval_ms", 600000}, {"popup_plans", std::move(plans)}};
  for (const auto& [key, value] : parsed(changes)) answer.set(key, value);
  return KLJSON::serialize(answer, KLJSON::Style::Pretty);
}

std::vector<Finding> findingsIn(const std::string& text) {
  Checker checker(kNow);
  checker.check("config.json", text);
  return checker.findings().sorted();
}

/// "code at pointer" of each finding.
std::vector<std::string> found(const std::string& text) {
  std::vector<std::string> lines;
  for (const Finding& finding : findingsIn(text)) {
    lines.push_back(std::string(checkCode(finding.check).name) + " at " + finding.pointer);
  }
  return lines;
}

struct Fault {
  const char* changes;  ///< of the plan without a fault
  const char* expected;
};

TEST(CheckTest, FindsNothingInAPlanWithoutAFault) {
  EXPECT_THAT(found(answer({plan()})), IsEmpty());
  EXPECT_THAT(found(kLayout), IsEmpty());
}

TEST(CheckTest, FindsWhatKeepsAPlanFromShowing) {
  const Fault faults[] = {
      {R"({"plan_id": "seven"})", "plan-id at /popup_plans/0/plan_id"},
      {R"({"expire_at": null})", "no-expiry at /popup_plans/0"},
      {R"({"expire_at": "2030-01-01"})", "expired at /popup_plans/0/expire_at"},
      {R"({"expire_at": "1900000000"})", "expired at /popup_plans/0/expire_at"},
      {R"({"status": "active"})", "never-active at /popup_plans/0/status"},
      {R"({"is_audience": false})", "not-audience at /popup_plans/0/is_audience"},
      {R"({"strategy_id": "s"})", "strategy-without-trigger at /popup_plans/0/strategy_id"},
      {R"({"pattern_popup": {"matcher_list": []}})", "no-matchers at /popup_plans/0/pattern_popup/matcher_list"},
      {R"({"popup_window_content": {"popup_type": "PRESET"}})", "no-content at /popup_plans/0/popup_window_content"},
      {R"({"popup_window_content": {"content": "{]"}})", "not-json at /popup_plans/0/popup_window_content/content"},
      {R"({"popup_window_content": {"content": "{}"}})", "no-template at /popup_plans/0/popup_window_content/content#"},
      {R"({"pattern_popups": {}})", "unknown-key at /popup_plans/0/pattern_popups"},
      {R"({"re_enter": {"unit": "MONTH", "value": 200, "limit": 1}})", "endless-re-entry at /popup_plans/0/re_enter"},
      {R"({"re_enter": {"unit": "DAY", "value": 1}})", "re-entry-without-limit at /popup_plans/0/re_enter"},
      {R"({"popup_interval": {"unit": "DAY", "value": 7}})", "limit-never-reached at /popup_plans/0/re_enter/limit"},
      {R"({"popup_interval": {"unit": "DAY", "value": 1.5}})", "not-a-number at /popup_plans/0/popup_interval/value"},
      {R"({"absolute_priority": "high"})", "not-a-number at /popup_plans/0/absolute_priority"},
      {R"({"is_control_group": true})", "control-group at /popup_plans/0/is_control_group"},
      {R"({"global_msg_limit_enabled": true})", "limit-not-in-use at /popup_plans/0/global_msg_limit_enabled"},
      {R"({"popup_window_content": {"popup_type": "CUSTOMIZED"}})", "no-content at /popup_plans/0/popup_window_content"},
      {R"({"popup_interval": {"unit": "hour", "value": 1}})", "unknown-unit at /popup_plans/0/popup_interval/unit"},
      {R"({"popup_interval": {"unit": "HOUR", "natural": true, "value": 1}})",
       "natural-unit at /popup_plans/0/popup_interval/unit"},
      {R"({"popup_interval": {"unit": "HOUR", "value": 0}})", "empty-window at /popup_plans/0/popup_interval/value"},
      {R"({"popup_interval": {"unit": "SECOND", "value": 86400000}})",
       "endless-quiet-period at /popup_plans/0/popup_interval/value"},
      {R"({"is_trigger": "on"})", "wrong-kind at /popup_plans/0/is_trigger"},
      {R"({"window_update": {"re_enter_window": "2"}})", "unknown-window at /popup_plans/0/window_update/re_enter_window"},
      {R"({"page_filter": {"function": "equal", "params": ["Home"]}})", "page-filter at /popup_plans/0/page_filter"},
      {R"({"re_enter": null, "reenter": {}})", "misspelt-key at /popup_plans/0/reenter"},
      {R"({"popup_window_content": "<html>"})", "no-content at /popup_plans/0/popup_window_content"},
      {R"({"popup_window_content": {"content": "null"}})", "no-template at /popup_plans/0/popup_window_content/content#"},
  };
  for (const Fault& fault : faults) {
    EXPECT_THAT(found(answer({plan(fault.changes)})), Contains(fault.expected)) << fault.changes;
  }
}

TEST(CheckTest, FindsWhatEventsAndConditionsNeverMeet) {
  const std::string matcher = "/popup_plans/0/pattern_popup/matcher_list/0";
  const auto inPattern = [](const std::string& pattern) { return found(answer({plan(R"({"pattern_popup": )" + pattern + "}")})); };
  EXPECT_THAT(inPattern(R"({"relation": "AND", "matcher_list": [{"event_name": "Pay"}]})"),
              Contains("pattern-and at /popup_plans/0/pattern_popup/relation"));
  EXPECT_THAT(inPattern(R"({"relation": "and", "matcher_list": [{"event_name": "Pay"}, {"event_name": "Open"}]})"),
              Contains("unknown-relation at /popup_plans/0/pattern_popup/relation"));
  EXPECT_THAT(inPattern(R"({"matcher_list": [{"event_name": ""}]})"), Contains("no-event-name at " + matcher + "/event_name"));
  EXPECT_THAT(inPattern(R"({"matcher_list": [{"event_name": "Pay", "params": ["many"]}]})"),
              Contains("count-not-a-number at " + matcher + "/params"));
  EXPECT_THAT(inPattern(R"({"matcher_list": [{"event_name": "Pay", "params": ["3"]}]})"),
              Contains("count-never-reached at " + matcher));
  EXPECT_THAT(inPattern(R"({"matcher_list": [null]})"), Contains("wrong-kind at " + matcher));
  const auto inMatcher = [&](const std::string& members) {
    return inPattern(R"({"matcher_list": [{"event_name": "Pay", )" + members + "}]}");
  };
  EXPECT_THAT(inMatcher(R"("params": ["3"], "window": {"unit": "HOUR", "natural": true, "value": 1})"),
              ElementsAre("count-never-reached at " + matcher + "/window/unit"));
  EXPECT_THAT(inMatcher(R"("params": ["1"], "window": {"unit": "HOUR", "natural": true, "value": 1})"),
              ElementsAre("idle-window at " + matcher + "/window/unit"));
  EXPECT_THAT(inMatcher(R"("params": ["3"], "function": "less", "window": {"unit": "DAY", "value": 1})"),
              ElementsAre("idle-function at " + matcher + "/function"));
  EXPECT_THAT(inMatcher(R"("params": ["1"], "function": "equal")"), IsEmpty());
  EXPECT_THAT(inMatcher(R"("multi_filter": null, "filter": {"conditions": [{"field": "a", "function": "isSet"}]})"),
              ElementsAre("ignored-filter at " + matcher + "/filter"));
  EXPECT_THAT(found(answer({plan(R"({"event_permission": {"conditions": [{"field": "a", "function": "isSet"}],
                                     "filters": [{"conditions": [{"field": "b", "function": "isSet"}]}]}})")})),
              ElementsAre("both-needed at /popup_plans/0/event_permission/filters"));

  const auto inCondition = [&](const std::string& condition) {
    return inPattern(R"({"matcher_list": [{"event_name": "Pay", "filter": {"relation": "and", "conditions": [)" + condition +
                     "]}}]}");
  };
  const std::string at = matcher + "/filter/conditions/0";
  EXPECT_THAT(inCondition(R"({"field": "event.price", "function": "between", "params": ["1", "2"]})"), IsEmpty());
  std::string values = "\"x\"";
  for (int i = 0; i < 10'000; ++i) values += ", \"x\"";
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "equal", "params": [)" + values + "]}"),
              ElementsAre("beyond-bounds at " + at + "/params"));
  EXPECT_THAT(inCondition(R"({"field": "event.", "function": "isSet"})"), Contains("no-field at " + at + "/field"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "startsWith", "params": ["x"]})"),
              Contains("unknown-operator at " + at + "/function"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "equal", "params": [3]})"), Contains("bad-params at " + at + "/params"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "between", "params": ["3"]})"),
              Contains("bad-params at " + at + "/params"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "less", "params": ["x"]})"),
              Contains("not-a-number at " + at + "/params/0"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "less", "params": ["2026-01-01"]})"),
              Contains("not-a-number at " + at + "/params/0"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "contain", "params": ["x", "y"]})"),
              Contains("extra-params at " + at + "/params"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "equal", "params": ["Paris "]})"),
              Contains("stray-blank at " + at + "/params/0"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "in", "params": ["x"]})"),
              Contains("list-operator at " + at + "/function"));
  EXPECT_THAT(inPattern(R"({"matcher_list": [{"event_name": "Pay", "filter": {"conditions": [{"field": "a", "function": "isSet"},
                           {"field": "b", "function": "isSet"}]}}]})"),
              Contains("no-relation at " + matcher + "/filter/conditions"));
  EXPECT_THAT(inPattern(R"({"matcher_list": [{"event_name": "Pay", "params": ["3"], "window": {"unit": "DAY", "value": 1}},
                           {"event_name": "Pay", "params": ["2"], "window": {"unit": "DAY", "value": 1}}]})"),
              ElementsAre("idle-matcher at " + matcher));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "between", "params": ["9", "1"]})"),
              Contains("empty-range at " + at + "/params"));
  EXPECT_THAT(inCondition(R"({"field": "a", "function": "absoluteBetween", "params": ["2026-01-01", "2026-02-01 00:00"]})"),
              Contains("not-a-date at " + at + "/params/0"));
}

TEST(CheckTest, FindsConditionsThatExcludeEachOtherOrNothing) {
  const auto joined = [](const std::string& relation, const std::string& conditions) {
    return found(answer({plan(R"({"pattern_popup": {"matcher_list": [{"event_name": "Pay", "filter": {"relation": ")" + relation +
                              R"(", "conditions": [)" + conditions + "]}}]}}")}));
  };
  const auto condition = [](const std::string& function, const std::string& params) {
    return R"({"field": "event.a", "function": ")" + function + R"(", "params": [)" + params + "]}";
  };
  const std::string second = " at /popup_plans/0/pattern_popup/matcher_list/0/filter/conditions/1";
  const struct {
    const char *relation, *one, *params, *two, *others;
    const char* code;  ///< of the finding at the second; null: there is none
  } cases[] = {
      {"AND", "greater", R"("100")", "less", R"("50")", "contradiction"},
      {"AND", "greater", R"("50")", "less", R"("51")", nullptr},
      {"AND", "equal", R"("Paris", "Rome")", "equal", R"("London")", "contradiction"},
      {"AND", "equal", R"("Paris", "Rome")", "notEqual", R"("Paris")", nullptr},
      {"AND", "equal", R"("Paris")", "notEqual", R"("Rome", "Paris")", "contradiction"},
      {"AND", "notSet", "", "equal", R"("Paris")", "contradiction"},
      {"AND", "contain", R"("a")", "contain", R"("b")", nullptr},
      {"AND", "contain", R"("spring")", "equal", R"("Spring sale")", "contradiction"},
      {"AND", "isTrue", "", "isFalse", "", "contradiction"},
      {"AND", "absolute_between", R"("2026-01-01 00:00", "2026-02-01 00:00")", "absolute_between",
       R"("2026-03-01 00:00", "2026-04-01 00:00")", "contradiction"},
      {"OR", "notEqual", R"("Paris")", "notEqual", R"("Rome")", "always-holds"},
      {"OR", "less", R"("50")", "greater", R"("10")", "always-holds"},
      {"OR", "less", R"("10")", "greater", R"("50")", nullptr},
      {"OR", "equal", R"("Paris")", "equal", R"("Rome")", nullptr},
      {"OR", "isSet", "", "equal", R"("Rome")", nullptr},
  };
  for (const auto& each : cases) {
    const auto lines = joined(each.relation, condition(each.one, each.params) + "," + condition(each.two, each.others));
    if (each.code) {
      EXPECT_THAT(lines, ElementsAre(each.code + second)) << each.one << each.params << each.two << each.others;
    } else {
      EXPECT_THAT(lines, IsEmpty()) << each.one << each.params << each.two << each.others;
    }
  }
}

TEST(CheckTest, FindsDisplayTimesThatMeanSomethingElse) {
  const auto inRange = [](const std::string& cycle, const std::string& range) {
    return found(answer({plan(R"({"display_time_config": {"natural_repeat_cycle": {"repeat_cycle": ")" + cycle +
                              R"(", "time_ranges": [)" + range + "]}}}")}));
  };
  const std::string config = "/popup_plans/0/display_time_config", range = config + "/natural_repeat_cycle/time_ranges/0";
  EXPECT_THAT(inRange("DAY", R"({"start_time": "22:00", "end_time": "06:00"})"), IsEmpty());
  EXPECT_THAT(inRange("DAY", R"({"start_time": "9:00", "end_time": "18:00"})"),
              Contains("display-time at " + range + "/start_time"));
  EXPECT_THAT(inRange("DAY", R"({"start_time": "09:00:30", "end_time": "18:00"})"),
              Contains("display-time at " + range + "/start_time"));
  EXPECT_THAT(inRange("DAY", R"({"start_time": "09:00", "end_time": "09:00"})"), Contains("display-time at " + range));
  EXPECT_THAT(inRange("WEEK", R"({"start_time": "09:00", "end_time": "18:00", "day": "2"})"),
              ElementsAre("display-day at " + range + "/day"));
  EXPECT_THAT(inRange("WEEK", R"({"start_time": "22:00", "end_time": "02:00", "day": 7})"),
              ElementsAre("saturday-night at " + range));
  EXPECT_THAT(inRange("week", R"({"start_time": "22:00", "end_time": "24:00", "day": 7})"), IsEmpty());
  EXPECT_THAT(inRange("DAY", R"({"start_time": "09:00", "end_time": "18:00", "day": 2})"),
              ElementsAre("idle-day at " + range + "/day"));
  EXPECT_THAT(inRange("DAILY", R"({"start_time": "09:00", "end_time": "18:00"})"),
              Contains("unknown-cycle at " + config + "/natural_repeat_cycle/repeat_cycle"));
  EXPECT_THAT(inRange("DAY", ""), Contains("no-display-time at " + config));
}

TEST(CheckTest, ComparesThePlansWithEachOther) {
  const std::string pay =
      R"({"matcher_list": [{"event_name": "Pay", "filter": {"conditions": [{"field": "a", "function": "isSet"}]}}]})";
  EXPECT_THAT(found(answer({plan(), plan()})), Contains("duplicate-plan at /popup_plans/1/plan_id"));
  EXPECT_THAT(found(answer({plan(R"({"plan_id": 8, "pattern_popup": )" + pay + "}"), plan(R"({"absolute_priority": 5})")})),
              Contains("always-inhibited at /popup_plans/0"));
  // The one that comes first asks for more, or is not served at all.
  EXPECT_THAT(found(answer({plan(R"({"plan_id": 8, "pattern_popup": )" + pay + "}"), plan()})), IsEmpty());
  EXPECT_THAT(
      found(answer({plan(R"({"plan_id": 8})"), plan(R"({"absolute_priority": 5, "display_time_config": {"natural_repeat_cycle":
    {"repeat_cycle": "DAY", "time_ranges": [{"start_time": "09:00", "end_time": "10:00"}]}}})")})),
      IsEmpty());
  // A count above 1 goes on in the plan that did not show.
  const std::string twice = R"({"matcher_list": [{"event_name": "Pay", "params": ["2"], "window": {"unit": "DAY", "value": 1}}]})";
  EXPECT_THAT(
      found(answer({plan(R"({"plan_id": 8, "pattern_popup": )" + twice + "}"), plan(R"({"pattern_popup": )" + twice + "}")})),
      IsEmpty());
}

TEST(CheckTest, SaysWhatALimitOfAllPlansComesTo) {
  const struct {
    const char *limit, *code, *effect;
  } cases[] = {
      {R"({"unit": "DAY", "natural": true, "value": 1, "limit": 3})", nullptr, ""},
      {R"({"unit": "HOUR", "natural": true, "value": 1, "limit": 3})", "natural-unit", "after 3 nothing shows"},
      {R"({"unit": "DAYS", "natural": true, "value": 1, "limit": 3})", "unknown-unit", "after 3 nothing shows"},
      {R"({"unit": "DAYS", "natural": false, "value": 1, "limit": 3})", "unknown-unit", "holds nothing back"},
      {R"({"unit": "DAY", "natural": true, "value": 0, "limit": 3})", "empty-window", "holds nothing back"},
      {R"({"unit": "DAY", "value": 1, "limit": "five"})", "cap-of-zero", "reads as 0"},
      {"null", "cap-of-zero", "reads as a limit of 0"},
  };
  for (const auto& each : cases) {
    const auto findings =
        findingsIn(answer({}, std::string(R"({"msg_limit_global": {"is_in_use": true, "limits": [)") + each.limit + "]}}"));
    ASSERT_EQ(findings.size(), each.code ? 1u : 0u) << each.limit;
    if (each.code == nullptr) continue;
    EXPECT_EQ(checkCode(findings[0].check).name, each.code) << each.limit;
    EXPECT_THAT(findings[0].sentence, HasSubstr(each.effect));
  }
}

TEST(CheckTest, LooksAtTheAnswerAsAWhole) {
  EXPECT_THAT(
      found(answer({}, R"({"msg_limit_global": {"is_in_use": true, "limits": [{"unit": "DAY", "value": 1, "limit": 0}]}})")),
      Contains("cap-of-zero at /msg_limit_global/limits/0/limit"));
  EXPECT_THAT(found(answer({}, R"({"min_sdk_version_required": "99.0"})")),
              Contains("minimum-version at /min_sdk_version_required"));
  EXPECT_THAT(found(answer({}, R"({"popup_plans": {}})")), ElementsAre("not-a-configuration at /popup_plans"));
  EXPECT_THAT(found(R"({"user_id": "a"})"), Contains("not-a-configuration at "));
  EXPECT_THAT(found(answer({}, R"({"config_pull_interval_ms": 600})")), ElementsAre("short-pull at /config_pull_interval_ms"));
  EXPECT_THAT(found(R"({"popup_plans": [], "user_id": "a", "user_id": "b"})"), Contains("duplicate-key at /user_id"));
  EXPECT_THAT(found("{\"popup_plans\": [\n  1,]}"), Contains("not-json at "));
  EXPECT_THAT(found("7"), Contains("not-a-configuration at "));
}

TEST(CheckTest, FindsElementsThatNobodyCanSeeOrUse) {
  const auto inElement = [](const std::string& element) {
    return found(
        R"({"properties": {"maskCloseEnabled": true}, "template": {"type": "column", "layout": {}, "properties": {"backgroundColor":
      {"r": 255, "g": 255, "b": 255, "a": 1}}, "subviews": [)" +
        element + "]}}");
  };
  const std::string at = "/template/subviews/0";
  const Fault faults[] = {
      {R"({"type": "image", "properties": {"image": "https://a.example/b.png"}})", "no-layout at /template/subviews/0"},
      {R"({"type": "image", "layout": {}})", "no-height at /template/subviews/0/layout"},
      {R"({"type": "image", "layout": {"height": 20}})", "bad-length at /template/subviews/0/layout/height"},
      {R"({"type": "image", "layout": {"height": "20%"}})", "length-unit at /template/subviews/0/layout/height"},
      {R"({"type": "image", "layout": {"height": "0.5"}})", "fraction at /template/subviews/0/layout/height"},
      {R"({"type": "image", "layout": {"height": "20"}})", "no-picture at /template/subviews/0"},
      {R"({"type": "image", "layout": {"height": "20"}, "properties": {"image": "https://a.example/b.webp?x"}})",
       "picture-format at /template/subviews/0/properties/image"},
      {R"({"type": "image", "layout": {"height": "20"}, "properties": {"image": "b.png"}})",
       "bad-url at /template/subviews/0/properties/image"},
      {R"({"type": "label", "layout": {}, "properties": {"text": "a", "font": "9", "scrollableY": true}})",
       "scrolls-without-height at /template/subviews/0/layout"},
      {R"({"type": "label", "properties": {"font": "9"}})", "no-text at /template/subviews/0/properties"},
      {R"({"type": "label", "properties": {"text": "a", "font": "9", "color": {"r": 200, "g": 200, "b": 200, "a": 1}}})",
       "contrast at /template/subviews/0/properties/color"},
      {R"({"type": "label", "properties": {"text": "a", "font": "9", "color": {"r": 9}}})",
       "invisible-colour at /template/subviews/0/properties/color"},
      {R"({"type": "label", "properties": {"text": "a", "font": "9", "color": {"r": 1, "g": 0.5, "b": 0, "a": 1}}})",
       "colour-scale at /template/subviews/0/properties/color"},
      {R"({"type": "label", "layout": {}, "properties": {"text": "a", "font": "2px"}})",
       "tiny-text at /template/subviews/0/properties/font"},
      {R"({"properties": {"text": "a"}, "layout": {}})", "unknown-element at /template/subviews/0"},
      {R"({"type": "column", "layout": {"height": "9"}, "subviews": [{"type": "column", "layout": {"margin": {"top": "20"}}}]})",
       "overflow at /template/subviews/0/subviews/0"},
      {R"({"type": "button", "layout": {"height": "20"}, "subviews": [{"type": "label"}]})",
       "leaf-subviews at /template/subviews/0/subviews"},
      {R"({"type": "label", "properties": {"text": "a", "font": "9", "color": "#fff"}})",
       "bad-colour at /template/subviews/0/properties/color"},
      {R"({"type": "lable"})", "unknown-element at /template/subviews/0/type"},
      {R"({"type": "row", "layout": {}, "subviews": [{"type": "column", "layout": {}}, {"type": "column", "layout": {}}]})",
       "whole-width-in-row at /template/subviews/0/subviews/0/layout"},
      {R"({"type": "button", "layout": {"height": "20"}})", "idle-action at /template/subviews/0"},
      {R"({"type": "button", "layout": {"height": "20"}, "action": {"IOS": [{"type": "close"}]}})",
       "idle-action at /template/subviews/0/action/IOS/0"},
      {R"({"type": "button", "layout": {"height": "20"}, "action": {"IOS": [{"type": "jump"}]}})",
       "unknown-action at /template/subviews/0/action/IOS/0/type"},
      {R"({"type": "button", "layout": {"height": "20"}, "action": {"IOS": [{"type": "customize", "value": "vip"}]}})",
       "lost-value at /template/subviews/0/action/IOS/0/value"},
      {R"({"type": "button", "layout": {"height": "20"}, "action": {"IOS": [{"type": "copy", "value": "a"}, {"type": "openlink", "value": "a:b"}]}})",
       "unreported-action at /template/subviews/0/action/IOS/1"},
      {R"({"type": "label", "layout": {"width": "0px"}, "properties": {"text": "a", "font": "9"}})",
       "zero-width at /template/subviews/0/layout/width"},
      {R"({"type": "label", "layout": {"margin": {"left": "20"}}, "properties": {"text": "a", "font": "9"}})",
       "overflow at /template/subviews/0/layout"},
      {R"({"type": "label", "layout": {}, "properties": {"text": "Dear {{name}}", "font": "9"}})",
       "placeholder at /template/subviews/0/properties/text"},
      {R"({"type": "column", "layout": {"align": "middle"}})", "unknown-word at /template/subviews/0/layout/align"},
      {R"({"type": "column", "isHidden": true})", "misplaced-hidden at /template/subviews/0/isHidden"},
  };
  for (const Fault& fault : faults) EXPECT_THAT(inElement(fault.changes), Contains(fault.expected)) << fault.changes;
  EXPECT_THAT(inElement(R"({"type": "image", "properties": {"isHidden": true}})"), ElementsAre("empty-popup at /template"));
  EXPECT_THAT(found(R"({"template": {"type": "column"}})"),
              ::testing::IsSupersetOf({"no-way-out at ", "empty-popup at /template"}));
}

TEST(CheckTest, NamesLineAndColumnAndChecksLayoutsBesideTheFile) {
  TemporaryDirectory directory;
  fs::create_directories(directory / "layouts");
  std::ofstream(directory / "layouts" / "card.json")
      << "{\"properties\": {\"maskCloseEnabled\": true},\n \"template\": {\"id\": \"é\", \"tpye\": 1, \"layout\": {}}}";
  const std::string config = answer({plan(R"({"popup_window_content": {"layout": "card.json"}})")});
  Checker checker(kNow);
  checker.check(directory / "user_popup_configs.json", config);
  const auto findings = checker.findings().sorted();
  ASSERT_EQ(findings.size(), 2u);  // the other one: there is nothing in it
  EXPECT_EQ(fs::path(findings[1].file).filename(), "card.json");
  EXPECT_EQ(findings[0].place.line, 2u);
  EXPECT_EQ(findings[1].place.column, 34u);
  EXPECT_THAT(findings[1].sentence, HasSubstr("did you mean \"type\"?"));
}

TEST(CheckTest, PlacesAreThoseOfTheFileWhateverItsForm) {
  const struct {
    const char *text, *code;
    std::size_t line, column;
  } cases[] = {
      {"\xEF\xBB\xBF{\"popup_plans\": {}}", "not-a-configuration", 1, 17},
      {"{\r\n\t\"popup_plans\": {}}", "not-a-configuration", 2, 17},
      {"{\"user_id\": \"\u4e2d\U0001F389\", \"popup_plans\": {}}", "not-a-configuration", 1, 34},
      {"{\"popup_plans\": [],\n \"popup_plans\": {}}", "not-a-configuration", 2, 17},
      {"{\"popup_plans\": [],\n \"popup_plans\": []}", "duplicate-key", 2, 17},
      {"{\"popup_pl\\u0061ns\": {}}", "not-a-configuration", 1, 22},
      // Inside of a layout that is kept as text.
      {R"({"content": "{\"id\": \"\ud83c\udf89\u00e9\\n\", \"template\": []}"})", "no-template", 1, 64},
      {R"({"content": "{\"id\": tru}"})", "not-json", 1, 23},
  };
  for (const auto& each : cases) {
    const auto findings = findingsIn(each.text);
    const auto finding = std::ranges::find(findings, each.code, [](const Finding& one) { return checkCode(one.check).name; });
    ASSERT_NE(finding, findings.end()) << each.text;
    EXPECT_EQ(finding->place.line, each.line) << each.text;
    EXPECT_EQ(finding->place.column, each.column) << each.text;
  }
}

TEST(CheckTest, ReportsForPeopleAndForPrograms) {
  const auto findings = findingsIn(answer({plan(R"({"status": "\u001b[2J", "cnam": "x"})")}));
  std::ostringstream people, programs;
  writeFindings(findings, false, people);
  EXPECT_THAT(people.str(), AllOf(HasSubstr("config.json:6:17: error: "), HasSubstr("[never-active]"),
                                  HasSubstr("1 error, 1 warning, 0 notes.")));
  EXPECT_EQ(people.str().find('\x1b'), std::string::npos);
  writeFindingsAsJSON(findings, programs);
  const auto document = KLJSON::parse(programs.str());
  ASSERT_TRUE(document);
  EXPECT_EQ(document->find("errors")->asInteger(), 1);
  EXPECT_EQ(document->find("findings")->asArray().size(), 2u);
  EXPECT_EQ(exitStatus(findings), 2);
  EXPECT_EQ(exitStatus({}), 0);
}

TEST(CheckTest, ThePageOfCodesIsUpToDate) {
  std::ostringstream codes;
  writeCodes(codes);
  std::string error;
  EXPECT_EQ(readText(testing::sourceDirectory() / "docs" / "check.md", error), codes.str())
      << "run kaleo check --codes >docs/check.md";
}

}  // namespace
}  // namespace kaleo::tools
