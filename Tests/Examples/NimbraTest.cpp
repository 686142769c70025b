#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "Nimbra/JSON.h"
#include "Nimbra/Nimbra.h"
#include "Support/TemporaryDirectory.h"

namespace nimbra {
namespace {

using kaleo::KLBytes;
using kaleo::KLDate;
using kaleo::KLObject;
using kaleo::KLValue;
using testing::ElementsAre;

class FixedClock final : public kaleo::KLClock {
 public:
  double now() const override { return 1700000000.5; }
};

class CountingRandom final : public kaleo::KLRandom {
 public:
  KLBytes bytes(std::size_t count) override { return KLBytes(count); }
  std::uint32_t below(std::uint32_t) override { return ++count_; }
  std::string uuid() override { return "anonymous-" + std::to_string(++count_); }

 private:
  std::atomic<std::uint32_t> count_{0};
};

class NimbraTest : public testing::Test {
 protected:
  std::shared_ptr<Nimbra> start() {
    return Nimbra::start(registry_,
                         {.directory = directory_.path(), .notificationCenter = center_, .clock = clock_, .random = random_});
  }
  std::vector<std::string> recordedEvents() const {
    std::ifstream file(directory_ / "events.jsonl");
    std::vector<std::string> names;
    for (std::string line; std::getline(file, line);) names.push_back(fromJSON(line).value_or(KLValue()).find("event")->asString());
    return names;
  }

  kaleo::TemporaryDirectory directory_;
  kaleo::KLHostRegistry registry_;
  std::shared_ptr<kaleo::KLNotificationCenter> center_ = std::make_shared<kaleo::KLNotificationCenter>();
  std::shared_ptr<FixedClock> clock_ = std::make_shared<FixedClock>();
  std::shared_ptr<CountingRandom> random_ = std::make_shared<CountingRandom>();
};

TEST_F(NimbraTest, KeepsIdentityAndValuesOverARestart) {
  auto nimbra = start();
  const auto anonymous = nimbra->anonymousId();
  EXPECT_EQ(nimbra->distinctId(), anonymous);
  EXPECT_EQ(nimbra->loginId(), std::nullopt);
  nimbra->login("ada");
  const KLObject kept{
      {"bytes", KLBytes{0, 1, 255}}, {"date", KLDate{1.5}}, {"text", "a\"\n\\é"}, {"list", KLValue::Array{1, 2.5, true, {}}}};
  nimbra->store().setObject(kept, "k");
  nimbra->store().setObject("gone", "g");
  nimbra->store().removeObjectForKey("g");

  nimbra = start();
  EXPECT_EQ(nimbra->distinctId(), "ada");
  EXPECT_EQ(nimbra->anonymousId(), anonymous);
  const auto read = registry_.nbStoreManager()->objectForKey("k");
  ASSERT_TRUE(read);
  EXPECT_EQ(*read, KLValue(kept));
  EXPECT_TRUE(read->find("bytes")->isBytes());
  EXPECT_FALSE(registry_.nbStoreManager()->objectForKey("g"));
}

TEST_F(NimbraTest, SurvivesBrokenFiles) {
  std::ofstream(directory_ / "identity.json") << "{\"login_id\": 5, \"anonymous_id\": [";
  std::ofstream(directory_ / "store.json") << "[1]";
  const auto nimbra = start();
  EXPECT_EQ(nimbra->loginId(), std::nullopt);
  EXPECT_NE(nimbra->distinctId(), "");
  EXPECT_FALSE(nimbra->store().objectForKey("k"));
}

TEST_F(NimbraTest, PostsEachChangeAfterItIsMade) {
  const auto nimbra = start();
  std::vector<std::string> seen;
  const auto note = [&](const char* name, const char* word) {
    center_->addObserver(name, [&, word](const auto&) { seen.push_back(std::string(word) + " " + *nimbra->distinctId()); });
  };
  note(kaleo::kNimbraTrackLoginNotification, "login");
  note(kaleo::kNimbraTrackLogoutNotification, "logout");
  note(kaleo::kNimbraTrackIdentifyNotification, "identify");
  note(kaleo::kNimbraTrackResetAnonymousIdNotification, "reset");
  center_->addObserver(kaleo::kNimbraSetServerUrlNotification,
                       [&](const auto&) { seen.push_back(nimbra->serverURL()->project().value_or("none")); });
  nimbra->login("ada");
  nimbra->logout();
  nimbra->identify("me");
  nimbra->resetAnonymousId();
  nimbra->setServerUrl("https://a.example/?x=1&project=shop");
  nimbra->setServerUrl("https://a.example/");
  EXPECT_THAT(seen, ElementsAre("login ada", "logout anonymous-1", "identify me", "reset anonymous-2", "shop", "none"));
}

TEST_F(NimbraTest, RecordsWhatTheHookLeavesAndTellsOfIt) {
  const auto nimbra = start();
  registry_.setTrackEventHook([](const KLValue& record, bool) {
    KLObject changed = record.asObject();
    changed.set("event", record.find("event")->asString() + "!");
    return KLValue(changed);
  });
  KLValue posted, observed;
  center_->addObserver(kaleo::kNimbraTrackEventNotification, [&](const auto& record) { posted = *record; });
  const auto token = nimbra->tracker().addObserver([&](const KLValue& record) { observed = record; });
  nimbra->track("Pay", KLObject{{"amount", 12.5}});
  EXPECT_EQ(posted, observed);
  EXPECT_EQ(*posted.find("event"), KLValue("Pay!"));
  EXPECT_EQ(*posted.find("properties"), KLValue(KLObject{{"amount", 12.5}}));
  EXPECT_EQ(posted.find("time")->asInteger(), 1700000000500);
  for (const char* key : {"distinct_id", "login_id", "anonymous_id", "_track_id"}) EXPECT_TRUE(posted.find(key)) << key;
  nimbra->tracker().removeObserver(token);
  registry_.setTrackEventHook({});
  nimbra->track("After", KLObject{});
  EXPECT_EQ(*observed.find("event"), KLValue("Pay!"));
  EXPECT_THAT(recordedEvents(), ElementsAre("Pay!", "After"));
}

TEST_F(NimbraTest, MayBeUsedFromAnObserverAndFromManyThreads) {
  const auto nimbra = start();
  nimbra->tracker().addObserver([&](const KLValue& record) {
    if (*record.find("event") == KLValue("Outer")) nimbra->track("Inner", KLObject{});
  });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int n = 0; n < 25; ++n) nimbra->track("Outer", KLObject{});
      nimbra->login(std::to_string(i));
      nimbra->store().setObject(i, std::to_string(i));
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(recordedEvents().size(), 200u);
  EXPECT_EQ(nimbra->store().objectForKey("3"), KLValue(3));
}

TEST_F(NimbraTest, LogsToCallbackAndFile) {
  std::vector<std::string> lines;
  Logger logger(
      clock_, [&](const LogLine& line) { lines.push_back(line.place + " " + line.message); }, directory_ / "n.log");
  logger.log(true, "hello", 4, "Source/Core/KLTrigger.cpp", "f", 12, 0);
  logger.log(true, "bare", 1, nullptr, nullptr, 0, 0);
  EXPECT_THAT(lines, ElementsAre("KLTrigger.cpp:12 hello", ":0 bare"));
  EXPECT_EQ(readFile(directory_ / "n.log"), "1700000000.500 4 KLTrigger.cpp:12 hello\n1700000000.500 1 :0 bare\n");
}

}  // namespace
}  // namespace nimbra
