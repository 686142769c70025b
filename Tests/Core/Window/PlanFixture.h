#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Core/Window/KLPlanManager.h"
#include "Core/Window/KLPopupPlan.h"
#include "Foundation/KLSystem.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"
#include "Support/PlanTimeFixture.h"
#include "Support/RecordingDiagnosis.h"
#include "Support/TemporaryDirectory.h"
#include "Support/Values.h"

namespace kaleo::testing {

/// Plans over a real data store in a temporary directory, for the user "u".
class PlanFixture : public ::testing::Test {
 protected:
  using Kind = KLDatabaseProperName;

  PlanFixture() {
    diagnosis.set(recorder);
    currentUser.setUserId("u");
    planTime.set("2024-05-06 12:00:00");
  }

  std::shared_ptr<KLPopupPlanModel> model(const std::string& json) {
    const KLValue value = fromJSON(json);
    return KLPopupPlanModel::fromResponseData(&value);
  }
  std::unique_ptr<KLPopupPlan> plan(const std::string& json) { return std::make_unique<KLPopupPlan>(model(json), surroundings); }

  /// The same plan in a later run: a new object, restored from the store.
  std::unique_ptr<KLPopupPlan> reloaded(const KLPopupPlan& plan) {
    auto later = std::make_unique<KLPopupPlan>(plan.sharedPlanModel(), surroundings);
    later->loadPlan();
    return later;
  }
  std::optional<KLBytes> stored(const std::string& planKey, Kind kind) {
    return dataStore.planWindowWithUserId(currentUser.userId(), planKey, kind);
  }
  /// The lines of plans and their manager: what the host bridge says about the project is left out.
  std::vector<std::string> logLines() const {
    auto lines = host.log->messages(4);
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("Get NB project"); });
    return lines;
  }

  FakeHost host;
  KLLog log{host.registry};
  NBBridge bridge{host.registry, log};
  KLStoreManager hostStore{host.registry};
  std::shared_ptr<RecordingDiagnosis> recorder = std::make_shared<RecordingDiagnosis>();
  KLDiagnosisSlot diagnosis;
  KLCurrentUser currentUser;
  TemporaryDirectory directory;
  ManualThreading threading;
  FakePlanTime planTime;
  KLSystemRandom random;
  KaleoDataStore dataStore{
      {threading, log, planTime.clock, random, bridge, hostStore, diagnosis, directory / "store.sqlite", directory / "key"}};
  KLPopupPlanSurroundings surroundings{log, dataStore, diagnosis, hostStore, planTime.time, currentUser};
};

}  // namespace kaleo::testing
