#include "Foundation/KLFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

namespace fs = std::filesystem;

class KLFileTest : public ::testing::Test {
 protected:
  std::size_t filesInDirectory() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()));
  }
  static fs::perms permissions(const fs::path& path) { return fs::status(path).permissions(); }

  const TemporaryDirectory directory;
  const fs::path file = directory / "file";
};

TEST_F(KLFileTest, WhatIsWrittenIsReadBackAndReplacesTheOld) {
  EXPECT_FALSE(KLFile::exists(file));
  EXPECT_FALSE(KLFile::read(file).has_value());
  KLBytes large(3u << 20);
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<std::uint8_t>(i * 7);
  for (const KLBytes& bytes : {KLBytes{1, 0, 2}, large, KLBytes{}}) {
    EXPECT_TRUE(KLFile::writeAtomically(file, bytes));
    EXPECT_EQ(KLFile::read(file), bytes);
  }
  EXPECT_EQ(filesInDirectory(), 1u) << "temporary files are left";
  EXPECT_TRUE(KLFile::remove(file));
  EXPECT_FALSE(KLFile::remove(file));
  EXPECT_FALSE(KLFile::exists(file));
}

TEST_F(KLFileTest, LongFilesAndWhatIsNoFileAreNotRead) {
  ASSERT_TRUE(KLFile::writeAtomically(file, KLBytes(100)));
  EXPECT_TRUE(KLFile::read(file, 100).has_value());
  EXPECT_FALSE(KLFile::read(file, 99).has_value());
  EXPECT_FALSE(KLFile::read(directory.path()).has_value());
  ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(KLFile::read(directory / "pipe").has_value());
  EXPECT_FALSE(KLFile::read("/proc/self/mem").has_value());
}

TEST_F(KLFileTest, MakesMissingDirectoriesAndKeepsOthersOutWhenAsked) {
  const fs::path deep = directory.path() / "a" / "b" / "file";
  ASSERT_TRUE(KLFile::writeAtomically(deep, {1}, KLFile::Access::OwnerOnly));
  EXPECT_EQ(permissions(deep), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(permissions(deep.parent_path()), fs::perms::owner_all);
  EXPECT_EQ(permissions(deep.parent_path().parent_path()), fs::perms::owner_all);

  ASSERT_TRUE(KLFile::writeAtomically(file, {1}));
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(static_cast<mode_t>(permissions(file)), 0666 & ~mask);
  ASSERT_TRUE(KLFile::writeAtomically(file, {1}, KLFile::Access::OwnerOnly));
  EXPECT_EQ(permissions(file), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(KLFileTest, AFailureLeavesNothingBehind) {
  ASSERT_TRUE(KLFile::writeAtomically(file, {1}));
  EXPECT_FALSE(KLFile::writeAtomically(file / "below", {2}));
  EXPECT_EQ(KLFile::read(file), KLBytes{1});
  fs::create_directories(directory / "taken" / "inside");
  EXPECT_FALSE(KLFile::writeAtomically(directory / "taken", {2}));
  EXPECT_FALSE(KLFile::writeAtomically("", {2}));
  EXPECT_EQ(filesInDirectory(), 2u);
}

TEST_F(KLFileTest, AReaderSeesAWholeFileAtAnyTime) {
  const KLBytes zeros(20000, 0), ones(20000, 1);
  ASSERT_TRUE(KLFile::writeAtomically(file, zeros));
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(KLFile::writeAtomically(file, i % 2 ? zeros : ones));
    done = true;
  });
  while (!done) {
    const auto seen = KLFile::read(file);
    if (!seen || (*seen != zeros && *seen != ones)) ADD_FAILURE() << "a torn file";
  }
  writer.join();
}

}  // namespace
}  // namespace kaleo
