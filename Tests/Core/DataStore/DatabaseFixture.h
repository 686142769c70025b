#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Core/DataStore/KaleoDatabase.h"
#include "Core/Nimbra/NBBridge.h"
#include "Foundation/KLSystem.h"
#include "Support/FakeClock.h"
#include "Support/FakeHost.h"
#include "Support/SQLFile.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo::testing {

inline KLBytes bytes(std::string_view text) { return KLBytes(text.begin(), text.end()); }

/// A directory, a host in project "default", a clock that stands at 1700000000, and a file name.
class DatabaseFixture : public ::testing::Test {
 protected:
  using Rows = SQLFile::Rows;

  KaleoDatabase makeDatabase(const std::string& vfs = {}) { return KaleoDatabase(file, {log, clock, bridge}, vfs); }

  void setProject(const std::string& name) { host.nimbra->network_ = std::make_shared<FakeProject>(name); }

  TemporaryDirectory directory;
  const std::filesystem::path file = directory / "Kaleo_Popup.sqlite";
  FakeClock clock;
  FakeHost host;
  KLLog log{host.registry};
  NBBridge bridge{host.registry, log};
  KLSystemRandom random;
};

}  // namespace kaleo::testing
