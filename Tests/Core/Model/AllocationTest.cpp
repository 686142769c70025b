#include <gtest/gtest.h>

#include "Core/Model/AllocationCounter.h"
#include "Core/Model/KLEventName.h"
#include "Core/Model/KLPopupPlanModel.h"
#include "Support/Values.h"

namespace kaleo {
namespace {

TEST(Allocations, EvaluatingAnEventMakesNone) {
  const KLCalendar calendar("UTC", KLWeekday::Monday);
  const KLValue data = testing::fromJSON(R"({"pattern_popup":{"matcher_list":[{"event_name":"A name beyond any small string store",
    "params":["3"],"filter":{"relation":"AND","conditions":[
      {"field":"event.price of the thing that was bought","function":"between","params":["1","2000"]},
      {"field":"event.title of the thing that was bought","function":"contain","params":["a title that is long"]},
      {"field":"event.title of the thing that was bought","function":"notEqual","params":["one","two"]},
      {"field":"event.tags of the thing that was bought","function":"in","params":["one of the longer tags here"]},
      {"field":"event.nothing","function":"notSet"}]}}]},
    "event_permission":{"conditions":[{"field":"event.price of the thing that was bought","function":"greater","params":["7"]}]}})");
  const auto model = KLPopupPlanModel::fromResponseData(&data);
  const KLValue event = testing::fromJSON(R"({"event":"A name beyond any small string store","properties":{
    "price of the thing that was bought":1234.5678,"title of the thing that was bought":"this is a title that is long enough",
    "tags of the thing that was bought":["something", "one of the longer tags here"]}})");

  testing::AllocationCounter evaluating;
  const KLEventName name(event);
  const bool admitted = name.isPresent() && model->permissionFilter.matchWithEvent(event, calendar);
  const bool matched = model->patternPopup.matcherList[0].isMatchedEvent(event, calendar);
  EXPECT_EQ(evaluating.count(), 0);
  EXPECT_TRUE(admitted);
  EXPECT_TRUE(matched);

  testing::AllocationCounter copying;
  const std::string copy(name.text());
  EXPECT_EQ(copying.count(), 1) << "the counter counts";
}

}  // namespace
}  // namespace kaleo
