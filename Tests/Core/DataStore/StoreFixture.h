#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Core/DataStore/DatabaseFixture.h"

namespace kaleo::testing {

/// Data stores on the fixture's file, plain until `usePlugin`.
class StoreFixture : public DatabaseFixture {
 protected:
  /// In virtual time.
  std::unique_ptr<KaleoDataStore> makeStore(const std::string& vfs = {}) { return makeStore(threads, file, vfs); }
  std::unique_ptr<KaleoDataStore> makeStore(KLThreading& threading) { return makeStore(threading, file, {}); }
  std::unique_ptr<KaleoDataStore> makeStore(KLThreading& threading, const std::filesystem::path& at, const std::string& vfs) {
    return std::make_unique<KaleoDataStore>(
        KLDataStoreSurroundings{threading, log, clock, random, bridge, hostStore, diagnosis, at, keyFile, vfs});
  }
};

}  // namespace kaleo::testing
