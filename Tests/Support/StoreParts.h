#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Core/Base/Log/KLLog.h"
#include "Core/Base/Support/KLDiagnosisSlot.h"
#include "Core/DataStore/KaleoDataStore.h"
#include "Core/Nimbra/KLStoreManager.h"
#include "Core/Nimbra/NBBridge.h"
#include "Foundation/KLSystem.h"
#include "Support/FakeHost.h"
#include "Support/ManualThreading.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo::testing {

/// What data stores stand on, in virtual time, with a directory of its own and a host in project "default".
struct StoreParts {
  KLDataStoreSurroundings storeSurroundings() { return {threads, log, clock, random, bridge, hostStore, diagnosis, file, keyFile}; }
  /// Stores made from now on are encrypted.
  void usePlugin() { host.registry.registerNBStoreManager(std::make_shared<MemoryStore>(true)); }

  TemporaryDirectory directory;
  const std::filesystem::path file = directory / "Kaleo_Popup.sqlite", keyFile = directory / "org.kaleo.KLAES";
  ManualThreading threads;
  ManualThreading::Clock clock{threads};
  FakeHost host;
  KLLog log{host.registry};
  NBBridge bridge{host.registry, log};
  KLStoreManager hostStore{host.registry};
  KLSystemRandom random;
  KLDiagnosisSlot diagnosis;
};

}  // namespace kaleo::testing
