#include "Core/Base/Trigger/KLTrigger.h"

#include <gmock/gmock.h>

#include "Core/Base/Trigger/KLLastCampaign.h"
#include "Support/CoreFixture.h"

namespace kaleo {
namespace {

using testing::answer;
using ::testing::ElementsAre;
using testing::event;
using testing::plan;

/// A trigger whose popups stay on screen for `onScreen` seconds of virtual time.
class KLTriggerTest : public testing::CoreFixture {
 protected:
  KLTriggerTest() { restart(); }

  void restart() {
    restart([this] { return showsPopups ? show() : KLShowCampaign(); });
  }
  void restart(std::function<KLShowCampaign()> presentation) {
    trigger.reset();
    trigger = std::make_unique<KLTrigger>(KLTriggerSurroundings{
        threads, queue, notifications, bridge, hostStore, log, store, diagnosis, time, user, random, network,
        [] { return "http://server"; }, std::move(presentation), [this](const std::string& line) { console.push_back(line); }});
  }

  KLShowCampaign show() {
    return [this](std::shared_ptr<KLCampaign> campaign) {
      shown.push_back(*campaign->planID);
      campaigns.push_back(campaign);
      threads.mainQueue()->asyncAfter(onScreen, [this] { notifications.post(outcome); });
    };
  }

  void install(const KLValue& serverAnswer) {
    const auto config = KLPopupConfig::fromResponseData(&serverAnswer, log);
    queue->sync([&] { trigger->setPopupConfig(config); });
    recorder->clear();
  }

  void track(const KLValue& record) {
    queue->async([this, record] { trigger->triggerEvent(record, clock.now()); });
  }
  /// A moment later, so that a window without length is over; returns when the popup that it may show is gone.
  void trackAndRun(const KLValue& record) {
    threads.advance(0.001);
    track(record);
    threads.run();
  }

  KaleoDataStore store{storeSurroundings()};
  std::shared_ptr<KLQueue> queue = threads.makeSerialQueue("TriggerQueue");
  std::unique_ptr<KLTrigger> trigger;
  std::vector<std::string> shown;
  std::vector<std::shared_ptr<KLCampaign>> campaigns;
  std::vector<std::string> console;
  bool showsPopups = true;
  double onScreen = 0;
  const char* outcome = kCampaignDidEndNotification;
};

TEST_F(KLTriggerTest, HighestPriorityShowsAndTheOthersAreInhibited) {
  install(answer({plan(1, "Pay"), plan(2, "Pay", R"({"absolute_priority": 5})"), plan(3, "Pay")}));
  trackAndRun(event("Pay"));
  EXPECT_THAT(shown, ElementsAre("2"));
  EXPECT_THAT(recorder->story(), ElementsAre("3: lower priority", "1: lower priority", "2: campaign finished"));
  const KLValue expected = KLObject{{"message", "lower priority"},
                                    {"priority", 0},
                                    {"campaign_id", "3"},
                                    {"trigger_campaign_id", "2"},
                                    {"trigger_campaign_priority", 5}};
  EXPECT_TRUE(recorder->records()[0].content == expected);
  EXPECT_TRUE(host.log->contains("Plan 2 with high priority had been trigged, current plan: 3 popup should be inhibited"));
  EXPECT_EQ(hostStore.stringForKey(kKLLastCampaignIDKey), "2");
}

TEST_F(KLTriggerTest, InhibitedPlansStillCountTheirEvents) {
  const std::string twice = R"({"pattern_popup": {"matcher_list": [
      {"event_name": "Pay", "params": [2], "window": {"unit": "HOUR", "value": 1}}]}})";
  install(answer({plan(2, "Pay"), plan(1, "Pay", twice)}));
  trackAndRun(event("Pay"));
  trackAndRun(event("Pay"));
  EXPECT_THAT(shown, ElementsAre("2", "2"));
  EXPECT_THAT(recorder->story(),
              ElementsAre("1: not meet trigger count", "2: campaign finished", "1: lower priority", "2: campaign finished"));
}

TEST_F(KLTriggerTest, EventThatNoPlanNeedsIsNotChecked) {
  install(answer({plan(1, "Pay")}));
  host.log->clear();
  trackAndRun(event("Look"));
  trackAndRun(KLObject{});
  EXPECT_THAT(host.log->messages(4), ElementsAre("Start event triggle for event name: Look",
                                                 "This event does not need to resolve as it is not includes in plans",
                                                 "Start event triggle for event name: (null)",
                                                 "This event does not need to resolve as it is not includes in plans"));
}

TEST_F(KLTriggerTest, CampaignCarriesThePlanAndTheTimeOfItsEvent) {
  install(answer({plan(7, "Pay", R"({"cname": "Seven", "popup_window_content": {"content": "x", "popup_type": "CUSTOMIZED"}})")}));
  const double tracked = clock.now();
  track(event("Pay"));
  threads.advance(1);
  ASSERT_EQ(campaigns.size(), 1u);
  EXPECT_EQ(campaigns[0]->name, "Seven");
  EXPECT_EQ(campaigns[0]->content, "x");
  EXPECT_EQ(campaigns[0]->type, KLCampaign::kTypeCustomized);
  EXPECT_EQ(campaigns[0]->triggerTime, KLDate{tracked});
  EXPECT_EQ(campaigns[0]->uuid->size(), 36u);
}

TEST_F(KLTriggerTest, EventsWaitWhileAPopupIsShownAndMeetItsWindows) {
  onScreen = 30;
  install(answer({plan(1, "Pay"), plan(2, "Look")}, R"({"popup_interval_global": {"unit": "SECOND", "value": 60}})"));
  track(event("Pay"));
  threads.mainQueue()->asyncAfter(10, [this] { track(event("Look")); });
  threads.mainQueue()->asyncAfter(29, [this] { EXPECT_THAT(recorder->story(), ElementsAre("1: campaign finished")); });
  threads.run();
  EXPECT_THAT(shown, ElementsAre("1"));
  ASSERT_THAT(recorder->story(), ElementsAre("1: campaign finished", "2: not meet time interval"));
  const KLValue refusal = recorder->records()[1].content;
  const auto dismissed = KLMilliseconds(clock.now());
  EXPECT_EQ(refusal.find("window_start")->asInteger(), dismissed);
  EXPECT_EQ(refusal.find("window_end")->asInteger(), dismissed + 60'000);
  EXPECT_EQ(refusal.find("last_campaign_start_time")->asInteger(), dismissed);
  EXPECT_EQ(refusal.find("last_campaign_id")->asString(), "1");
  threads.advance(60.001);
  trackAndRun(event("Look"));
  EXPECT_THAT(shown, ElementsAre("1", "2"));
}

TEST_F(KLTriggerTest, WhatBecomesOfThePopupIsRecordedByTheWaitingWorkerAtOnce) {
  const auto note = [this](KLPopupOutcome::Kind kind) {
    EXPECT_FALSE(queue->isCurrent());
    trigger->noteOutcome({kind, "1", "UUID"});
  };
  onScreen = 30;
  install(answer({plan(1, "Pay")}, R"({"popup_interval_global": {"unit": "SECOND", "value": 60}})"));
  track(event("Pay"));
  threads.mainQueue()->asyncAfter(10, [&] { note(KLPopupOutcome::Kind::Shown); });
  threads.mainQueue()->asyncAfter(11, [&] { EXPECT_THAT(recorder->outcomes, ElementsAre("1: popup shown")); });
  threads.mainQueue()->asyncAfter(30, [&] { note(KLPopupOutcome::Kind::Ended); });
  host.log->clear();
  threads.run();
  EXPECT_THAT(recorder->outcomes, ElementsAre("1: popup shown", "1: popup ended"));
  EXPECT_EQ(host.log->count("Create global interval window"), 2) << "an outcome is no end";
  trigger->noteOutcome({KLPopupOutcome::Kind::Failed, "1", "UUID"});
  queue->sync([this] { trigger->recordOutcomes(); });
  EXPECT_EQ(recorder->outcomes.size(), 3u);
}

TEST_F(KLTriggerTest, PopupThatFailsWakesTheWorkerAndKeepsItsWindows) {
  outcome = kCampaignDidFailedNotification;
  install(answer({plan(1, "Pay", R"({"popup_interval": {"unit": "HOUR", "value": 1}})")}));
  trackAndRun(event("Pay"));
  trackAndRun(event("Pay"));
  EXPECT_THAT(recorder->story(), ElementsAre("1: campaign finished", "1: not meet time interval"));
  EXPECT_TRUE(recorder->records()[1].content.find("campaign_id"));
  EXPECT_TRUE(host.log->contains("Popup failed to show, will wake event handle thread to create related windows"));
}

TEST_F(KLTriggerTest, WakeUpBeforeTheWaitSkipsTheWaitAndTheSecondStamp) {
  install(answer({plan(1, "Pay")}, R"({"popup_interval_global": {"unit": "SECOND", "value": 60}})"));
  restart([this]() -> KLShowCampaign {
    notifications.post(kCampaignDidEndNotification);
    threads.backgroundQueue()->sync([] {});  // the wake-up has run before the worker begins to wait
    return [](auto) {};
  });
  install(answer({plan(1, "Pay")}));
  host.log->clear();
  trackAndRun(event("Pay"));
  EXPECT_EQ(host.log->count("Create global interval window"), 1);
  EXPECT_TRUE(threads.isIdle());
}

TEST_F(KLTriggerTest, WithoutPresentationNothingHappensToTheWindows) {
  showsPopups = false;
  install(answer({plan(1, "Pay", R"({"popup_interval": {"unit": "HOUR", "value": 1}})")}));
  trackAndRun(event("Pay"));
  trackAndRun(event("Pay"));
  EXPECT_THAT(recorder->story(), ::testing::IsEmpty());
  EXPECT_EQ(hostStore.stringForKey(kKLLastCampaignIDKey), std::nullopt);
}

TEST_F(KLTriggerTest, DisplayTimesRefuseWithoutARecordAndTellTheConsoleHowLongTheyTook) {
  const std::string always = R"({"display_time_config": {"natural_repeat_cycle": {"repeat_cycle": "DAY",
      "time_ranges": [{"start_time": "00:00", "end_time": "00:00"}]}}})";
  install(answer({plan(1, "Pay", R"({"display_time_config": {}})"), plan(2, "Look", always), plan(3, "Buy")}));
  trackAndRun(event("Pay"));
  trackAndRun(event("Buy"));
  EXPECT_THAT(recorder->story(), ElementsAre("3: campaign finished"));
  EXPECT_TRUE(host.log->contains("Repeat display check for plan: 1 does not satisfy, reason: not in display time"));
  EXPECT_THAT(console, ::testing::IsEmpty());
  trackAndRun(event("Look"));
  EXPECT_THAT(console, ElementsAre("time duration: 0.000000"));
}

TEST_F(KLTriggerTest, ReEntryLimitRefusesAtItsCount) {
  install(answer({plan(1, "Pay", R"({"re_enter": {"unit": "DAY", "value": 1, "limit": 2}})")}));
  for (int i = 0; i < 3; ++i) trackAndRun(event("Pay"));
  EXPECT_THAT(shown, ElementsAre("1", "1"));
  const auto record = recorder->records().back();
  EXPECT_EQ(record.message(), "not meet reEnter limit count");
  EXPECT_EQ(record.content.find("current_campaign_count")->asInteger(), 2);
  EXPECT_EQ(record.content.find("reEnter_limit_count")->asInteger(), 2);
  threads.advance(86'401);
  trackAndRun(event("Pay"));
  EXPECT_EQ(shown.size(), 3u);
}

TEST_F(KLTriggerTest, EveryGlobalLimitThatIsReachedIsRecorded) {
  const std::string limits = R"({"msg_limit_global": {"is_in_use": true, "limits": [
      {"unit": "HOUR", "value": 1, "limit": 1}, {"unit": "DAY", "value": 1, "limit": 1}, {"unit": "DAY", "value": 1, "limit": 9}]}})";
  install(answer({plan(1, "Pay", R"({"global_msg_limit_enabled": true})"), plan(2, "Look")}, limits));
  trackAndRun(event("Pay"));
  recorder->clear();
  trackAndRun(event("Pay"));
  EXPECT_THAT(recorder->story(), ElementsAre("1: not meet global limit count", "1: not meet global limit count"));
  const KLValue content = recorder->records()[0].content;
  EXPECT_EQ(content.find("global limit count")->asInteger(), 1);
  EXPECT_EQ(content.find("current_campaign_count")->asInteger(), 1);
  EXPECT_EQ(content.find("current_campaign_timestamp")->asArray().size(), 1u);
  EXPECT_TRUE(host.log->contains("Global limit rule check not satisfy"));
  trackAndRun(event("Look"));  // not under the limit
  EXPECT_THAT(shown, ElementsAre("1", "2"));
}

TEST_F(KLTriggerTest, ARecorderOfBatchesIsToldOnceForAnEventWhatStaysAsItWas) {
  const auto batches = std::make_shared<testing::BatchDiagnosis>();
  diagnosis.set(batches);
  install(answer({plan(1, "Pay", R"({"global_msg_limit_enabled": true})"), plan(2, "Pay", R"({"status": "PAUSED"})"),
                  plan(3, "Pay", R"({"absolute_priority": 5, "global_msg_limit_enabled": true})"), plan(4, "Look")},
                 R"({"msg_limit_global": {"is_in_use": true, "limits": [{"unit": "DAY", "value": 1, "limit": 1}]},
                     "popup_interval_global": {"unit": "SECOND", "value": 60}})"));
  batches->clear();
  trackAndRun(event("Pay"));
  track(KLObject{{"event", "Pay"}, {"properties", KLObject{}}, {"track_id", 7}, {"_track_id", nullptr}});
  threads.run();
  threads.advance(61);
  trackAndRun(event("Pay"));
  trackAndRun(event("Look"));  // shows: one more display time
  EXPECT_THAT(batches->story(),
              ElementsAre("1: lower priority", "3: campaign finished", "3: not meet time interval", "1: not meet time interval",
                          "3: not meet global limit count", "1: not meet global limit count", "4: campaign finished"));
  std::vector<std::string> sizes;
  for (const auto& [context, decisions, contents] : batches->batches) {
    sizes.push_back(context.eventName() + " " + std::to_string(decisions.size()));
    for (std::size_t i = 0; i < decisions.size(); ++i) EXPECT_EQ(decisions[i].content(context), contents[i]);
  }
  EXPECT_THAT(sizes, ElementsAre(" 1", "Pay 2", "Pay 2", "Pay 2", "Look 1")) << "the first: the plan that is left out";
  const auto& [context, decisions, contents] = batches->batches[2];
  EXPECT_EQ(*context.event.find("track_id"), KLValue(7));
  EXPECT_EQ(contents[1].find("last_campaign_id")->asString(), "3");
}

TEST_F(KLTriggerTest, GlobalLimitCountsThePopupsOfThePresentUserAlsoThoseBeforeARestart) {
  const auto config = answer({plan(1, "Pay", R"({"global_msg_limit_enabled": true})")},
                             R"({"msg_limit_global": {"is_in_use": true, "limits": [{"unit": "DAY", "value": 1, "limit": 1}]}})");
  user.setUserId("one");
  install(config);
  trackAndRun(event("Pay"));
  user.setUserId("two");
  trackAndRun(event("Pay"));
  EXPECT_EQ(shown.size(), 2u);
  user.setUserId("one");
  trackAndRun(event("Pay"));
  restart();
  install(config);
  trackAndRun(event("Pay"));
  EXPECT_EQ(shown.size(), 2u);
}

TEST_F(KLTriggerTest, ConvertWindowHoldsThePlanUntilTheServerReportsAConversion) {
  install(answer({plan(1, "Pay", R"({"convert_window": {"unit": "DAY", "value": 3}})")}));
  trackAndRun(event("Pay"));
  trackAndRun(event("Pay"));
  EXPECT_THAT(recorder->story(), ElementsAre("1: campaign finished", "1: not converted"));

  ASSERT_EQ(session.size(), 1u);
  const std::string uuid = *campaigns[0]->uuid;
  EXPECT_EQ(session[0].request.url, "http://server/klo/popup_displays?popup_display_uuids=" + uuid + "&project=default");
  const auto reply = [](const std::string& text) { return KLBytes(text.begin(), text.end()); };
  session.answer(0, reply(R"([{"popup_display_uuid": ")" + uuid + R"(", "convert_time": ""}])"));
  threads.run();
  threads.advance(5);  // the next round
  ASSERT_EQ(session.size(), 2u);
  session.answer(1, reply(R"([{"popup_display_uuid": ")" + uuid + R"(", "convert_time": "2024-01-01"}])"));
  threads.run();
  threads.advance(100);
  EXPECT_EQ(session.size(), 2u);  // nothing is left to ask for
  trackAndRun(event("Pay"));
  EXPECT_THAT(shown, ElementsAre("1", "1"));
}

TEST_F(KLTriggerTest, ConvertWindowThatEndedIsAskedForNoMore) {
  install(answer({plan(1, "Pay", R"({"convert_window": {"unit": "SECOND", "value": 60}})")}));
  trackAndRun(event("Pay"));
  session.fail(0, {});
  threads.advance(61);
  trackAndRun(event("Pay"));
  ASSERT_EQ(campaigns.size(), 2u);
  EXPECT_EQ(session[session.size() - 1].request.url,
            "http://server/klo/popup_displays?popup_display_uuids=" + *campaigns[1]->uuid + "&project=default");
}

TEST_F(KLTriggerTest, PollingDelaysGrowAndStopInTheBackground) {
  install(answer({plan(1, "Pay", R"({"convert_window": {"unit": "DAY", "value": 3}})")}));
  trackAndRun(event("Pay"));
  for (const double delay : {5.0, 10.0, 20.0}) {
    EXPECT_EQ(trigger->convertResults().fetchConvertResultsDuration(), delay);
    const auto round = session.size();
    session.fail(round - 1, {});
    threads.run();
    threads.advance(delay - 0.1);
    EXPECT_EQ(session.size(), round);
    threads.advance(0.2);
    EXPECT_EQ(session.size(), round + 1);
  }
  queue->sync([&] { trigger->convertResults().stop(); });
  EXPECT_TRUE(session[session.size() - 1].cancelled);
  const auto rounds = session.size();
  threads.advance(1000);
  EXPECT_EQ(session.size(), rounds);
}

TEST_F(KLTriggerTest, PollingOutlivesAnAnswerOfTheWrongShape) {
  install(answer({plan(1, "Pay", R"({"convert_window": {"unit": "DAY", "value": 3}})")}));
  trackAndRun(event("Pay"));
  session.answer(0, KLBytes{'{', '}'});
  threads.run();
  EXPECT_TRUE(host.log->contains("Bad response, backend guys change the API"));
  threads.advance(5.1);
  EXPECT_EQ(session.size(), 2u);
}

TEST_F(KLTriggerTest, StateSurvivesARestart) {
  const auto config = answer({plan(1, "Pay", R"({"popup_interval": {"unit": "DAY", "value": 1}})"), plan(2, "Look")},
                             R"({"popup_interval_global": {"unit": "SECOND", "value": 60}})");
  install(config);
  trackAndRun(event("Pay"));
  restart();
  install(config);
  trackAndRun(event("Look"));
  threads.advance(61);
  trackAndRun(event("Pay"));
  EXPECT_THAT(recorder->story(), ElementsAre("2: not meet time interval", "1: not meet time interval"));
  EXPECT_THAT(shown, ElementsAre("1"));
}

TEST_F(KLTriggerTest, StopLetsAWaitingWorkerGo) {
  onScreen = 1e6;
  install(answer({plan(1, "Pay")}));
  track(event("Pay"));
  threads.mainQueue()->async([&] { trigger->stop(); });
  threads.run();
  EXPECT_THAT(shown, ElementsAre("1"));
  trackAndRun(event("Pay"));
  EXPECT_EQ(shown.size(), 1u);
}

TEST_F(KLTriggerTest, PlansAreFoundByIdFromAnyThreadUntilTheyAreRemoved) {
  install(answer({plan(12, "Pay")}));
  ASSERT_TRUE(trigger->planWithIdentifier("12"));
  EXPECT_EQ(trigger->planWithIdentifier("012"), nullptr);
  queue->sync([&] { trigger->removePlans(); });
  EXPECT_EQ(trigger->planWithIdentifier("12"), nullptr);
  trackAndRun(event("Pay"));
  EXPECT_TRUE(shown.empty());
}

}  // namespace
}  // namespace kaleo
