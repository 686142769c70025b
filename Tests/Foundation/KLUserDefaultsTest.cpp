#include "Foundation/KLUserDefaults.h"

#include <gtest/gtest.h>

#include "Foundation/KLFile.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

class KLUserDefaultsTest : public ::testing::Test {
 protected:
  const TemporaryDirectory directory;
  const std::filesystem::path file = directory / "defaults";
};

TEST_F(KLUserDefaultsTest, KeepsValuesFromOneRunToTheNext) {
  {
    KLUserDefaults defaults(file);
    EXPECT_FALSE(defaults.objectForKey("flag").has_value());
    defaults.setObject(KLValue(true), "flag");
    defaults.setObject(KLValue(KLBytes{1, 2}), "bytes");
    defaults.setObject(KLValue("text"), "gone");
    defaults.removeObjectForKey("gone");
    EXPECT_FALSE(KLFile::exists(file)) << "only synchronize touches the disk";
    EXPECT_TRUE(defaults.synchronize());
  }
  const KLUserDefaults defaults(file);
  EXPECT_EQ(defaults.objectForKey("flag"), KLValue(true));
  EXPECT_EQ(defaults.dataForKey("bytes"), (KLBytes{1, 2}));
  EXPECT_FALSE(defaults.dataForKey("flag").has_value());
  EXPECT_FALSE(defaults.objectForKey("gone").has_value());
}

TEST_F(KLUserDefaultsTest, WritesOnlyWhatHasChangedAndTriesAgainAfterAFailure) {
  KLUserDefaults defaults(directory / "taken" / "defaults");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_FALSE(KLFile::exists(directory / "taken"));

  ASSERT_TRUE(KLFile::writeAtomically(directory / "taken", {1}));
  defaults.setObject(KLValue(1), "key");
  EXPECT_FALSE(defaults.synchronize());
  ASSERT_TRUE(KLFile::remove(directory / "taken"));
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(KLUserDefaults(directory / "taken" / "defaults").objectForKey("key"), KLValue(1));
}

TEST_F(KLUserDefaultsTest, ADamagedFileCountsAsEmpty) {
  ASSERT_TRUE(KLFile::writeAtomically(file, {0xFF, 0x00, 0x42}));
  KLUserDefaults defaults(file);
  EXPECT_FALSE(defaults.objectForKey("key").has_value());
  defaults.setObject(KLValue("new"), "key");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(KLUserDefaults(file).objectForKey("key"), KLValue("new"));
}

}  // namespace
}  // namespace kaleo
