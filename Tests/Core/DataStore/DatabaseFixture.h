#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Core/DataStore/KaleoDatabase.h"
#include "Support/SQLFile.h"
#include "Support/StoreParts.h"

namespace kaleo::testing {

inline KLBytes bytes(std::string_view text) { return KLBytes(text.begin(), text.end()); }

/// Databases in a directory of the test's own, at 1700000000.
class DatabaseFixture : public ::testing::Test, protected StoreParts {
 protected:
  using Rows = SQLFile::Rows;

  KaleoDatabase makeDatabase(const std::string& vfs = {}) { return KaleoDatabase(file, {log, clock, bridge}, vfs); }
  Rows rows(const std::string& sql) { return SQLFile(file).rows(sql); }

  void setProject(const std::string& name) { host.nimbra->network_ = std::make_shared<FakeProject>(name); }
};

}  // namespace kaleo::testing
