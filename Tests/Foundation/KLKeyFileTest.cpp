#include "Foundation/KLKeyFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "Foundation/KLFile.h"
#include "Foundation/KLKeyedArchive.h"
#include "Foundation/KLSystem.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

TEST(KLKeyFile, KeepsTheObjectForItsOwnerAlone) {
  const TemporaryDirectory directory;
  const auto path = directory.path() / "keys" / "file";
  EXPECT_FALSE(KLKeyFile::load(path).has_value());
  const KLValue info(KLObject{{"key", KLBytes{1, 2}}, {"iv", KLBytes{3}}});
  ASSERT_TRUE(KLKeyFile::save(info, path));
  EXPECT_EQ(KLKeyFile::load(path), info);
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(KLKeyFile, DamagedFilesGiveNothing) {
  const TemporaryDirectory directory;
  const auto path = directory / "file";
  const KLBytes noBase64 = {'?', 'A'};
  for (const KLBytes& bytes :
       {KLBytes{}, KLBytes{0xFF, 0x01}, KLKeyedArchive::archive("KLAESCryptFile", KLValue("text")),
        KLKeyedArchive::archive("KLAESCryptFile", KLValue(noBase64)), KLKeyedArchive::archive("Other", {})}) {
    ASSERT_TRUE(KLFile::writeAtomically(path, bytes));
    EXPECT_FALSE(KLKeyFile::load(path).has_value());
  }
}

TEST(KLRandomKeyText, DrawsFromTheWholeAlphabet) {
  KLSystemRandom random;
  const KLBytes text = KLRandomKeyText(random, 5000);
  EXPECT_EQ(kKLKeyAlphabet.size(), 90u);
  for (const char c : kKLKeyAlphabet) EXPECT_NE(std::count(text.begin(), text.end(), c), 0) << c;
  for (const auto c : text) EXPECT_NE(kKLKeyAlphabet.find(static_cast<char>(c)), std::string_view::npos);
}

}  // namespace
}  // namespace kaleo
