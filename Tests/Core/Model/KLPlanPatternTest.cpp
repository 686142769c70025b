#include "Core/Model/KLPlanPattern.h"

#include <gtest/gtest.h>

#include "Core/Model/KLEventPermissionFilter.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::anEvent;
using testing::fromJSON;

const KLCalendar& calendar() {
  static const KLCalendar calendar("Asia/Shanghai", KLWeekday::Monday);
  return calendar;
}

KLPlanPopupMatcher matcher(std::string_view json) {
  const KLValue value = fromJSON(json);
  return KLPlanPopupMatcher::fromResponseData(&value);
}

bool filterMatches(std::string_view filter, std::string_view properties) {
  const auto rule = matcher("{'event_name':'Buy','filter':" + std::string(filter) + "}");
  return rule.isMatchedEvent(anEvent("Buy", properties), calendar());
}

KLEventPermissionFilter permission(std::string_view json) {
  const KLValue value = fromJSON(json);
  return KLEventPermissionFilter::fromResponseData(&value);
}

TEST(KLPlanPopupMatcher, EventNamesAreComparedExactly) {
  const auto buy = matcher("{'event_name':'Buy'}");
  EXPECT_TRUE(buy.isMatchedEvent(anEvent("Buy"), calendar()));
  EXPECT_FALSE(buy.isMatchedEvent(anEvent("buy"), calendar()));
  EXPECT_FALSE(buy.isMatchedEvent(fromJSON("{'properties':{}}"), calendar()));
  EXPECT_FALSE(buy.isMatchedEvent(fromJSON("['Buy']"), calendar()));
  EXPECT_TRUE(matcher("{'event_name':7}").isMatchedEvent(fromJSON("{'event':7}"), calendar()));
  EXPECT_FALSE(matcher("{}").isMatchedEvent(fromJSON("{}"), calendar())) << "two missing names are not equal";
  EXPECT_TRUE(matcher("{'event_name':null}").isMatchedEvent(fromJSON("{'event':null}"), calendar()));
}

TEST(KLPlanPopupMatcher, TheTriggerCountIsTheFirstParameter) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"{'params':[3]}", 3},    {"{'params':['4',9]}", 4}, {"{'params':[]}", 0},
      {"{'params':[2.9]}", 2},  {"{'params':'5'}", 0},     {"{}", 0},
      {"{'params':[null]}", 0}, {"{'params':['x']}", 0},   {"{'params':[-1]}", -1}};
  for (const auto& [json, count] : cases) EXPECT_EQ(matcher(json).triggerCount(), count) << json;
}

TEST(KLPlanPopupMatcher, MultiFilterGoesBeforeFilter) {
  const char* never = "{'conditions':[{'field':'a','function':'isSet'}]}";
  const auto with = [&](std::string multi) {
    return matcher("{'event_name':'E'," + multi + "'filter':" + never + "}").isMatchedEvent(anEvent("E"), calendar());
  };
  EXPECT_FALSE(with(""));
  EXPECT_TRUE(with("'multi_filter':{},"));
  EXPECT_TRUE(with("'multi_filter':null,")) << "null is there";
  EXPECT_FALSE(matcher("{'event_name':'E'}").filter.has_value());
}

TEST(KLPlanConditionFilter, RelationDecides) {
  const std::string conditions =
      "'conditions':[{'field':'event.a','function':'equal','params':['1']},"
      "{'field':'event.b','function':'equal','params':['1']}]}";
  const auto holds = [&](const char* relation, const char* properties) {
    return filterMatches("{" + std::string(relation) + conditions, properties);
  };
  for (const char* all : {"'relation':'AND',", "'relation':'and',", "'relation':'aNd',"}) {
    EXPECT_TRUE(holds(all, "{'a':'1','b':'1'}")) << all;
    EXPECT_FALSE(holds(all, "{'a':'1'}")) << all;
  }
  for (const char* any : {"'relation':'OR',", "'relation':'XOR',", "'relation':null,", ""}) {
    EXPECT_TRUE(holds(any, "{'b':'1'}")) << any;
    EXPECT_FALSE(holds(any, "{'a':'2','b':'2'}")) << any;
  }
  EXPECT_TRUE(filterMatches("{'relation':'AND'}", "{}"));
  EXPECT_TRUE(filterMatches("{'relation':'AND','conditions':['x',null]}", "{}")) << "what is no condition is left out";
}

TEST(KLPlanCondition, FindsTheProperty) {
  const auto finds = [](const char* field, const char* properties) {
    return filterMatches("{'conditions':[{'field':'" + std::string(field) + "','function':'isSet'}]}", properties);
  };
  EXPECT_TRUE(finds("event.$city", "{'$city':1}"));
  EXPECT_TRUE(finds("a.b.c", "{'c':null}")) << "null is there";
  EXPECT_TRUE(finds("plain", "{'plain':''}"));
  EXPECT_TRUE(finds("event.", "{'':1}"));
  EXPECT_FALSE(finds("event.b", "{'event.b':1}"));
  EXPECT_TRUE(finds("event.$event_duration", "{'event_duration':1}"));
  EXPECT_FALSE(finds("event.event_duration", "{'$event_duration':1}"));
  EXPECT_FALSE(finds("a", "[]"));

  const char* duration = "{'conditions':[{'field':'event.$event_duration','function':'equal','params':['2']}]}";
  EXPECT_TRUE(filterMatches(duration, "{'$event_duration':2,'event_duration':1}"));
  EXPECT_FALSE(filterMatches(duration, "{'$event_duration':1,'event_duration':2}"));
}

TEST(KLPlanCondition, WithoutAValueOnlyNotSetHolds) {
  const char* operators[] = {"isSet",  "equal",      "notEqual",         "less",       "greater", "between",
                             "isTrue", "isFalse",    "isEmpty",          "isNotEmpty", "contain", "notContain",
                             "in",     "notInclude", "absolute_between", "x"};
  for (const std::string function : operators) {
    EXPECT_FALSE(filterMatches("{'conditions':[{'field':'a','function':'" + function + "','params':['1']}]}", "{}")) << function;
  }
  EXPECT_TRUE(filterMatches("{'conditions':[{'field':'a','function':'notSet'}]}", "{}"));
  EXPECT_FALSE(filterMatches("{'conditions':[{'field':'a','function':'notSet'}]}", "{'a':1}"));
  EXPECT_FALSE(filterMatches("{'conditions':[{'field':'a'}]}", "{}"));
  EXPECT_TRUE(filterMatches("{'conditions':[{'function':'notSet'}]}", "{'a':1}")) << "no field, no value";
}

TEST(KLPlanCondition, ParamsAreTextsOrNothing) {
  EXPECT_TRUE(filterMatches("{'conditions':[{'field':'a','function':'equal','params':['1','x']}]}", "{'a':'x'}"));
  EXPECT_FALSE(filterMatches("{'conditions':[{'field':'a','function':'equal','params':[1,'x']}]}", "{'a':'x'}"));
}

TEST(KLPlanPopupPattern, OnlyTheExactAndIsUnsupported) {
  const auto unsupported = [](const char* json) {
    const KLValue value = fromJSON(json);
    return KLPlanPopupPattern::fromResponseData(&value).isUnsupported();
  };
  EXPECT_TRUE(unsupported("{'relation':'AND'}"));
  for (const char* json : {"{'relation':'and'}", "{'relation':'OR'}", "{}", "[]"}) EXPECT_FALSE(unsupported(json)) << json;
}

TEST(KLEventPermissionFilter, AnEmptyOneAdmitsEverything) {
  for (const char* json : {"{}", "null", "'x'", "[1]", "{'relation':'and'}", "{'conditions':7,'filters':'y'}"}) {
    EXPECT_TRUE(permission(json).matchWithEvent(anEvent("E"), calendar())) << json;
  }
  EXPECT_EQ(KLEventPermissionFilter::fromResponseData(nullptr).relation, KLPermissionRelation::Or);
}

TEST(KLEventPermissionFilter, JoinsEachHalfByItsRelationAndBothByAnd) {
  const std::string a = "{'field':'a','function':'isSet'}", b = "{'field':'b','function':'isSet'}",
                    c = "{'field':'c','function':'isSet'}";
  const auto gate = [](std::string relation, std::string conditions, std::string filters) {
    return "{" + relation + "'conditions':[" + conditions + "],'filters':[" + filters + "]}";
  };
  struct Case {
    std::string filter;
    const char* properties;
    bool expected;
  };
  const Case cases[] = {
      {gate("'relation':'AND',", a + "," + b, ""), "{'a':1,'b':1}", true},
      {gate("'relation':'And',", a + "," + b, ""), "{'a':1}", false},
      {gate("'relation':'or',", a + "," + b, ""), "{'b':1}", true},
      {gate("'relation':'or',", a + "," + b, ""), "{}", false},
      {gate("", a + "," + b, ""), "{'b':1}", true},
      {gate("'relation':null,", a + "," + b, ""), "{'b':1}", true},
      {gate("", "", gate("", a, "")), "{}", false},
      {gate("", c, gate("", a, "")), "{'c':1}", false},
      {gate("", c, gate("", a, "")), "{'c':1,'a':1}", true},
      {gate("", "", gate("", a, "") + "," + gate("", b, "")), "{'b':1}", true},
      {gate("'relation':'and',", "", gate("", a, "") + "," + gate("", b, "")), "{'b':1}", false},
      {gate("'relation':'and',", "", gate("", a, "") + ",5"), "{'a':1}", true},
      {gate("", "", gate("", "", gate("", "", gate("", a, "")))), "{}", false},
      {gate("", "", gate("", "", gate("", "", gate("", a, "")))), "{'a':1}", true},
      {"{'conditions':[{'function':'notSet'}]}", "{}", false},
      {"{'conditions':[{'field':'a','function':'notSet'}]}", "{}", true},
      {"{'conditions':[{'field':'event.$event_duration','function':'greater','params':['1']}]}", "{'event_duration':2}", true},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(permission(each.filter).matchWithEvent(anEvent("E", each.properties), calendar()), each.expected)
        << each.filter << each.properties;
  }
}

std::string nested(int levels, const std::string& innermost) {
  std::string json = innermost;
  for (int i = 0; i < levels; ++i) json = "{'filters':[" + json + "]}";
  return json;
}

TEST(KLEventPermissionFilter, IsReadToItsLimitAndStaysShutBeyond) {
  const int most = KLParseContext::kMaxFilterNesting;
  const std::string open = "{'conditions':[{'field':'a','function':'isSet'}]}";
  const KLValue event = anEvent("E", "{'a':1}");
  EXPECT_TRUE(permission(nested(most, open)).matchWithEvent(event, calendar()));
  const auto tooDeep = permission(nested(most + 1, open));
  EXPECT_FALSE(tooDeep.matchWithEvent(event, calendar()));
  EXPECT_FALSE(KLEventPermissionFilter::decode(tooDeep.encode()).matchWithEvent(event, calendar()));
}

TEST(KLPlanRules, ComeBackFromTheirArchiveAsTheyWere) {
  const auto original = matcher(
      "{'type':'event','window':{'unit':'DAY','natural':true,'value':2},'measure':'m','function':'f','params':['2'],'event_name':'"
      "Buy',"
      "'filter':{'relation':'and','conditions':[{'field':'event.a','function':'greater','params':['3']}]}}");
  const auto restored = KLPlanPopupMatcher::decode(original.encode());
  EXPECT_EQ(restored, original);
  EXPECT_EQ(restored.triggerCount(), 2);
  EXPECT_TRUE(restored.isMatchedEvent(anEvent("Buy", "{'a':4}"), calendar()));
  EXPECT_FALSE(restored.isMatchedEvent(anEvent("Buy", "{'a':3}"), calendar()));
  for (const char* key : {"type", "timeModel", "measure", "function", "params", "eventName", "filter"}) {
    EXPECT_TRUE(original.encode().find(key)) << key;
  }
}

}  // namespace
}  // namespace kaleo
