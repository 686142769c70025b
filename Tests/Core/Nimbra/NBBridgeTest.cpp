#include "Core/Nimbra/NBBridge.h"

#include <gtest/gtest.h>

#include "Core/Nimbra/KLEventTracker.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/KaleoUser.h"
#include "Support/FakeHost.h"

namespace kaleo {
namespace {

using testing::FakeHost;
using testing::FakeProject;

TEST(NBBridge, MissingHostAnswersDefaults) {
  KLHostRegistry registry;
  const auto log = std::make_shared<testing::RecordingLog>();
  registry.registerNBLog(log);
  const KLLog logger(registry);
  const NBBridge bridge(registry, logger);

  EXPECT_EQ(bridge.distinctId(), std::nullopt);
  EXPECT_EQ(bridge.SDKVersion(), std::nullopt);
  EXPECT_EQ(bridge.project(), "default");
  bridge.track("Event", KLObject{});
  EXPECT_EQ(log->messages(1), (std::vector<std::string>{"Get NB class failed", "Get NB sharedIntance failed", "Get NB class failed",
                                                        "Get NB sharedIntance failed", "Get NB class failed", "Get NB class failed",
                                                        "Get NB sharedIntance failed"}));
  EXPECT_TRUE(log->contains(
      "Get NB project value failed, reason: get NB network property failed, will use default value \"default\" instead"));
}

TEST(NBBridge, HostRegisteredLateIsSeenAtTheNextCall) {
  KLHostRegistry registry;
  const KLLog logger(registry);
  const NBBridge bridge(registry, logger);
  EXPECT_EQ(bridge.distinctId(), std::nullopt);
  const auto nimbra = std::make_shared<testing::FakeNimbra>();
  nimbra->setIdentity("d", "l");
  registry.registerNimbraSDK(nimbra);
  EXPECT_EQ(bridge.distinctId(), "d");
  EXPECT_EQ(bridge.loginId(), "l");
  EXPECT_EQ(bridge.anonymousId(), std::nullopt);
  registry.registerNimbraSDK(nullptr);
  EXPECT_EQ(bridge.distinctId(), std::nullopt);
}

TEST(NBBridge, ProjectComesFromTheServerURLOnlyOfNewerHosts) {
  FakeHost host;
  const KLLog logger(host.registry);
  const NBBridge bridge(host.registry, logger);
  host.nimbra->network_ = std::make_shared<FakeProject>("old");
  host.nimbra->serverURL_ = std::make_shared<FakeProject>("new");
  EXPECT_EQ(bridge.project(), "old");
  host.registry.registerNBSchema(true);
  EXPECT_EQ(bridge.project(), "new");
  EXPECT_TRUE(host.log->contains("Get NB project's value success, value is: new"));

  host.nimbra->serverURL_ = std::make_shared<FakeProject>("x", false);
  EXPECT_EQ(bridge.project(), "default");
  EXPECT_TRUE(host.log->contains(
      "NB network property does not have project selector, will use default value \"default\" for project instead"));
  host.nimbra->serverURL_ = std::make_shared<FakeProject>(std::nullopt);
  EXPECT_EQ(bridge.project(), "default");
  EXPECT_TRUE(host.log->contains("NB project's value is nil, will use default value \"default\" instead"));
}

TEST(NBBridge, HostThatThrowsCountsAsMissing) {
  struct Throwing : NimbraSDK {
    std::optional<std::string> distinctId() const override { throw 1; }
    std::shared_ptr<NBProjectSource> network() const override { throw 2; }
    void track(const std::string&, const KLValue&) override { throw 3; }
  };
  KLHostRegistry registry;
  registry.registerNimbraSDK(std::make_shared<Throwing>());
  const KLLog logger(registry);
  const NBBridge bridge(registry, logger);
  EXPECT_EQ(bridge.distinctId(), std::nullopt);
  EXPECT_EQ(bridge.project(), "default");
  EXPECT_NO_THROW(bridge.track("Event", KLObject{}));
}

TEST(KLEventTracker, DisplayEventIsAttributedToTheUserInItsProperties) {
  const KLValue record = KLObject{
      {"event", "$PlanPopupDisplay"},
      {"login_id", "now"},
      {"distinct_id", "now"},
      {"properties", KLObject{{"kl_distinctId", "then"}, {"kl_anonymousId", nullptr}, {"$kl_succeed", 1}}},
  };
  const KLValue rewritten = nb_trackEvent(record);
  const KLValue expected = KLObject{
      {"event", "$PlanPopupDisplay"},
      {"login_id", "now"},
      {"distinct_id", "then"},
      {"anonymous_id", nullptr},
      {"properties", KLObject{{"$kl_succeed", 1}}},
  };
  EXPECT_TRUE(rewritten == expected);
}

TEST(KLEventTracker, EveryOtherRecordPassesUntouched) {
  const KLValue properties = KLObject{{"kl_distinctId", "then"}};
  const KLValue records[] = {
      KLObject{{"event", "$PlanPopupClick"}, {"properties", properties}},
      KLObject{{"event", 7}, {"properties", properties}},
      KLObject{{"event", "$PlanPopupDisplay"}, {"properties", "text"}},
      KLObject{{"event", "$PlanPopupDisplay"}},
      KLValue("no object"),
  };
  for (const KLValue& record : records) EXPECT_TRUE(nb_trackEvent(record) == record);
}

TEST(KLEventTracker, TrackerRegisteredAfterTheStartIsIntercepted) {
  struct Tracker : NBEventTracker {
    void setTrackEventHook(Hook hook) override { hook_ = std::move(hook); }
    Hook hook_;
  };
  KLHostRegistry registry;
  KLSwizzler::swizzle(registry);
  const auto tracker = std::make_shared<Tracker>();
  registry.registerNBEventTracker(tracker);
  ASSERT_TRUE(tracker->hook_);
  const KLValue record = KLObject{{"event", "$PlanPopupDisplay"}, {"properties", KLObject{{"kl_loginId", "l"}}}};
  EXPECT_TRUE(*tracker->hook_(record, false).find("login_id") == KLValue("l"));
  KLSwizzler::restore(registry);
  EXPECT_FALSE(tracker->hook_);
}

TEST(KLStoreManager, WithoutAHostEverythingIsEmptyAndWritesDoNothing) {
  KLHostRegistry registry;
  const KLStoreManager store(registry);
  store.setBool(true, "k");
  EXPECT_EQ(store.objectForKey("k"), std::nullopt);
  EXPECT_FALSE(store.boolForKey("k"));
  EXPECT_EQ(store.integerForKey("k"), 0);
  EXPECT_FALSE(store.isRegisteredCustomStorePlugin());
}

TEST(KLStoreManager, TypedReadsAnswerOnlyTheirOwnKind) {
  FakeHost host(true);
  const KLStoreManager store(host.registry);
  store.setInteger(41, "n");
  store.setObject(KLBytes{1, 2}, "b");
  EXPECT_EQ(store.integerForKey("n"), 41);
  EXPECT_EQ(store.stringForKey("n"), std::nullopt);
  EXPECT_EQ(store.dataForKey("b"), (KLBytes{1, 2}));
  EXPECT_EQ(store.arrayForKey("b"), std::nullopt);
  store.removeObjectForKey("b");
  EXPECT_EQ(store.dataForKey("b"), std::nullopt);
  EXPECT_TRUE(store.isRegisteredCustomStorePlugin());
}

TEST(KaleoUser, ArchiveKeepsPresentFieldsAndAbsence) {
  const KaleoUser user{"d", std::nullopt, "a"};
  EXPECT_EQ(KaleoUser::decode(user.encode()), user);
  EXPECT_EQ(user.encode().find("loginId"), nullptr);
}

}  // namespace
}  // namespace kaleo
