#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "Core/Model/KLEventName.h"
#include "Core/Model/KLPopupPlanModel.h"
#include "Support/Values.h"

namespace {
thread_local bool counting = false;
thread_local int allocations = 0;
}  // namespace

void* operator new(std::size_t size) {
  if (counting) ++allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace kaleo {
namespace {

template <class Work>
int allocationsOf(Work work) {
  allocations = 0;
  counting = true;
  work();
  counting = false;
  return allocations;
}

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
  bool admitted = false, matched = false;
  EXPECT_EQ(allocationsOf([&] {
              const KLEventName name(event);
              admitted = name.isPresent() && model->permissionFilter.matchWithEvent(event, calendar);
              matched = model->patternPopup.matcherList[0].isMatchedEvent(event, calendar);
            }),
            0);
  EXPECT_TRUE(admitted);
  EXPECT_TRUE(matched);
  EXPECT_GT(allocationsOf([] { EXPECT_EQ(std::string(100, 'x').size(), 100u); }), 0) << "the counter counts";
}

}  // namespace
}  // namespace kaleo
