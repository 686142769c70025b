#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "kaleo/KLHost.h"

namespace kaleo {
namespace {

class Tracker : public NBEventTracker {
 public:
  void setTrackEventHook(Hook hook) override {
    if (whenSet) whenSet();
    const std::lock_guard lock(mutex);
    hook_ = std::move(hook);
  }
  /// What the hook makes of "event"; "none" without a hook.
  std::string answer() const {
    const std::lock_guard lock(mutex);
    return hook_ ? hook_(KLValue("event"), false).asString() : "none";
  }
  std::function<void()> whenSet;

 private:
  mutable std::mutex mutex;
  Hook hook_;
};

NBEventTracker::Hook answering(const std::string& text) {
  return [text](const KLValue&, bool) { return KLValue(text); };
}

class Host : public NimbraSDK {
 public:
  void track(const std::string&, const KLValue&) override {}
};

TEST(KLHostRegistry, KeepsWhatIsRegisteredUntilItIsReplaced) {
  KLHostRegistry registry;
  EXPECT_EQ(registry.nimbraSDK(), nullptr);
  EXPECT_EQ(registry.nbLog(), nullptr);
  EXPECT_EQ(registry.nbStoreManager(), nullptr);
  EXPECT_EQ(registry.nbKeyChainItemWrapper(), nullptr);
  EXPECT_FALSE(registry.hasNBSchema());

  auto host = std::make_shared<Host>();
  const std::weak_ptr<Host> watch = host;
  registry.registerNimbraSDK(host);
  EXPECT_EQ(registry.nimbraSDK(), host);
  host.reset();
  EXPECT_FALSE(watch.expired());
  registry.registerNimbraSDK(nullptr);
  EXPECT_TRUE(watch.expired());

  registry.registerNBSchema(true);
  EXPECT_TRUE(registry.hasNBSchema());
  registry.registerNBSchema(false);
  EXPECT_FALSE(registry.hasNBSchema());
}

TEST(KLHostRegistry, TheHookReachesTheTrackerOfNowAndEveryLaterOne) {
  KLHostRegistry registry;
  const auto first = std::make_shared<Tracker>();
  const auto second = std::make_shared<Tracker>();
  registry.registerNBEventTracker(first);
  EXPECT_EQ(first->answer(), "none");
  registry.setTrackEventHook(answering("a"));
  EXPECT_EQ(first->answer(), "a");

  registry.registerNBEventTracker(second);
  EXPECT_EQ(second->answer(), "a");
  EXPECT_EQ(first->answer(), "none") << "a tracker that was replaced keeps nothing of the library";

  registry.setTrackEventHook(answering("b"));
  EXPECT_EQ(second->answer(), "b");
  registry.setTrackEventHook(nullptr);
  EXPECT_EQ(second->answer(), "none");
}

TEST(KLHostRegistry, NoLockIsHeldWhileTheHostIsCalled) {
  KLHostRegistry registry;
  const auto tracker = std::make_shared<Tracker>();
  int calls = 0;
  tracker->whenSet = [&] {
    EXPECT_EQ(registry.nimbraSDK(), nullptr);
    registry.registerNBSchema(true);
    if (++calls == 1) throw std::runtime_error("host");
  };
  EXPECT_NO_THROW(registry.registerNBEventTracker(tracker));
  registry.setTrackEventHook(answering("a"));
  EXPECT_EQ(tracker->answer(), "a");
  EXPECT_EQ(calls, 2);
}

TEST(KLHostRegistry, WhoeverComesLastWinsAlsoAcrossThreads) {
  for (int round = 0; round < 50; ++round) {
    KLHostRegistry registry;
    const auto tracker = std::make_shared<Tracker>();
    std::thread registering([&] { registry.registerNBEventTracker(tracker); });
    registry.setTrackEventHook(answering("a"));
    registering.join();
    ASSERT_EQ(tracker->answer(), "a");

    std::thread removing([&] { registry.registerNBEventTracker(nullptr); });
    registry.setTrackEventHook(answering("b"));
    removing.join();
    ASSERT_EQ(tracker->answer(), "none");
  }
}

}  // namespace
}  // namespace kaleo
