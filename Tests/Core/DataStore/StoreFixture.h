#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Core/DataStore/DatabaseFixture.h"
#include "Core/DataStore/KaleoDataStore.h"

namespace kaleo::testing {

/// Data stores on the fixture's file, plain until `usePlugin`.
class StoreFixture : public DatabaseFixture {
 protected:
  std::unique_ptr<KaleoDataStore> makeStore(KLThreading& threading, const std::string& vfs = {}) {
    return makeStore(threading, file, vfs);
  }
  std::unique_ptr<KaleoDataStore> makeStore(KLThreading& threading, const std::filesystem::path& at, const std::string& vfs) {
    return std::make_unique<KaleoDataStore>(
        KLDataStoreSurroundings{threading, log, clock, random, bridge, hostStore, diagnosis, at, keyFile, vfs});
  }
  void usePlugin() { host.registry.registerNBStoreManager(std::make_shared<MemoryStore>(true)); }
  Rows rows(const std::string& sql) { return SQLFile(file).rows(sql); }

  const std::filesystem::path keyFile = directory / "org.kaleo.KLAES";
  KLStoreManager hostStore{host.registry};
  KLDiagnosisSlot diagnosis;
};

}  // namespace kaleo::testing
