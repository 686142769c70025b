#include "Core/Model/KLMatcherTable.h"

#include <gtest/gtest.h>

#include <random>

#include "Core/Model/AllocationCounter.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

using testing::anEvent;
using testing::fromJSON;

const KLCalendar& calendar() {
  static const KLCalendar calendar("Asia/Shanghai", KLWeekday::Monday);
  return calendar;
}

KLPlanPopupPattern pattern(const std::string& matchers) {
  const KLValue value = fromJSON("{'matcher_list':[" + matchers + "]}");
  return KLPlanPopupPattern::fromResponseData(&value);
}

KLMatcherTable tableOf(const std::vector<KLPlanPopupPattern>& patterns) {
  KLMatcherTable::Patterns borrowed;
  for (const auto& each : patterns) borrowed.push_back(&each);
  return KLMatcherTable("E", borrowed);
}

/// Conditions alike and unlike in field, operator and parameters, and such as are incomplete.
std::string someCondition(std::mt19937& random) {
  static const std::vector<std::string> conditions{"{'field':'event.city','function':'equal','params':['Rome','Oslo']}",
                                                   "{'field':'event.city','function':'equal','params':['Rome']}",
                                                   "{'field':'other.city','function':'equal','params':['Rome']}",
                                                   "{'field':'event.city','function':'notEqual','params':['Rome']}",
                                                   "{'field':'event.city','function':'contain','params':['o']}",
                                                   "{'field':'event.n','function':'between','params':['1','5']}",
                                                   "{'field':'event.n','function':'between','params':['15']}",
                                                   "{'field':'event.n','function':'less','params':['3']}",
                                                   "{'field':'event.$event_duration','function':'greater','params':['2']}",
                                                   "{'field':'event.city','function':'notSet'}",
                                                   "{'field':'event.city','function':'isFalse'}",
                                                   "{'field':'','function':'notSet'}",
                                                   "{'function':'notSet'}",
                                                   "{'function':'isSet'}",
                                                   "{'field':'event.n'}"};
  return conditions[random() % conditions.size()];
}

std::string someMatcher(std::mt19937& random) {
  std::string conditions;
  for (auto left = random() % 4; left > 0; --left) conditions += (conditions.empty() ? "" : ",") + someCondition(random);
  const std::string filter = random() % 5 == 0 ? ""
                                               : std::string(",'filter':{'relation':'") + (random() % 2 ? "and" : "or") +
                                                     "','conditions':[" + conditions + "]}";
  return std::string("{'event_name':'") + (random() % 5 == 0 ? "F" : "E") + "'" + filter + "}";
}

TEST(KLMatcherTable, AnswersAsEachMatcherDoes) {
  std::mt19937 random(1);
  std::vector<KLPlanPopupPattern> patterns;
  for (int plan = 0; plan < 200; ++plan) {
    std::string matchers = someMatcher(random);
    for (auto more = random() % 3; more > 0; --more) matchers += "," + someMatcher(random);
    patterns.push_back(pattern(matchers));
  }
  KLMatcherTable table = tableOf(patterns);
  int matched = 0, asked = 0;
  for (const char* properties :
       {"{'city':'Rome','n':4}", "{}", "{'city':'Oslo','n':1,'event_duration':3}", "{'city':'','n':'4','$event_duration':1}",
        "{'city':null,'n':true,'':1}", "[]", "{'city':'Rome','n':15}"}) {
    const KLValue event = anEvent("E", properties);
    table.begin(event);
    for (std::size_t plan = 0; plan < patterns.size(); ++plan) {
      ASSERT_EQ(table.matcherCount(plan), patterns[plan].matcherList.size());
      for (std::size_t i = 0; i < table.matcherCount(plan); ++i, ++asked) {
        const bool expected = patterns[plan].matcherList[i].isMatchedEvent(event, calendar());
        matched += expected;
        EXPECT_EQ(table.isMatched(plan, i, calendar()), expected) << "plan " << plan << ", matcher " << i << ", " << properties;
      }
    }
  }
  EXPECT_GT(matched, asked / 5);
  EXPECT_LT(matched, asked * 4 / 5);
}

TEST(KLMatcherTable, AnEventWithoutPropertiesHasNone) {
  KLMatcherTable table = tableOf({pattern("{'event_name':'E','filter':{'conditions':[{'field':'a','function':'notSet'}]}}"),
                                  pattern("{'event_name':'E','filter':{'conditions':[{'field':'a','function':'isSet'}]}}")});
  const KLValue event = fromJSON("{'event':'E'}");
  table.begin(event);
  EXPECT_TRUE(table.isMatched(0, 0, calendar()));
  EXPECT_FALSE(table.isMatched(1, 0, calendar()));
}

TEST(KLMatcherTable, KeepsEqualConditionsOnceAndUnequalOnesApart) {
  const auto withConditions = [](const std::string& conditions) {
    return pattern("{'event_name':'E','filter':{'conditions':[" + conditions + "]}}");
  };
  const std::string rome = "{'field':'event.city','function':'equal','params':['Rome']}";
  EXPECT_EQ(tableOf({withConditions(rome), withConditions(rome + "," + rome)}).conditionCount(), 1u);
  EXPECT_EQ(tableOf({withConditions("{'field':'a','function':'equal','params':['b','c']}"),
                     withConditions("{'field':'a','function':'equal','params':['bc']}"),
                     withConditions("{'field':'a','function':'equal','params':['1:b1:c']}"),
                     withConditions("{'field':'','function':'notSet'}"), withConditions("{'function':'notSet'}")})
                .conditionCount(),
            5u);
  EXPECT_EQ(tableOf({pattern("{'event_name':'F','filter':{'conditions':[" + rome + "]}}")}).conditionCount(), 0u);
}

TEST(KLMatcherTable, AskingAllocatesNothing) {
  KLMatcherTable table =
      tableOf({pattern("{'event_name':'E','filter':{'conditions':[{'field':'event.a name beyond any small string store',"
                       "'function':'equal','params':['a text beyond any small string store']}]}}")});
  const KLValue event = anEvent("E", "{'a name beyond any small string store':'a text beyond any small string store'}");
  const KLCalendar& zone = calendar();  // made at its first use
  testing::AllocationCounter asking;
  table.begin(event);
  const bool matched = table.isMatched(0, 0, zone);
  EXPECT_EQ(asking.count(), 0);
  EXPECT_TRUE(matched);
}

}  // namespace
}  // namespace kaleo
