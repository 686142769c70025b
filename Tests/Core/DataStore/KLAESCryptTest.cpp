#include "Core/DataStore/KLAESCrypt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "Core/DataStore/DatabaseFixture.h"
#include "Foundation/KLFile.h"
#include "Foundation/KLKeyFile.h"
#include "Foundation/KLKeyedArchive.h"

namespace kaleo::testing {
namespace {

/// Gives "aaaa..." as key and 0, 1, 2... as vector.
class CountingRandom final : public KLRandom {
 public:
  KLBytes bytes(std::size_t count) override {
    KLBytes result(count);
    for (std::size_t i = 0; i < count; ++i) result[i] = static_cast<std::uint8_t>(i);
    return result;
  }
  std::uint32_t below(std::uint32_t) override { return 0; }
  std::string uuid() override { return ""; }
};

class KLAESCryptTest : public ::testing::Test {
 protected:
  void writeKeyFile(const KLValue& info) const {
    const std::string base64 = KLBase64Encode(KLKeyedArchive::archive("KLAESCryptInfo", info));
    ASSERT_TRUE(KLFile::writeAtomically(file, KLKeyedArchive::archive("KLAESCryptFile", bytes(base64))));
  }

  TemporaryDirectory directory;
  const std::filesystem::path file = directory.path() / "library" / "org.kaleo.KLAES";
  KLSystemRandom random;
};

// Made with: { printf "$IV"; printf '%s' TEXT | openssl enc -aes-128-cbc -K 6161...61 -iv 0001...0f; } | openssl base64 -A
TEST_F(KLAESCryptTest, ValuesAreThoseOfAnotherImplementation) {
  CountingRandom counting;
  KLAESCrypt crypt(counting);
  crypt.setKeyFile(file);
  const std::pair<const char*, const char*> vectors[] = {
      {"a", "AAECAwQFBgcICQoLDA0OD/VDgrDuJONVvuINYwFHY0Y="},
      {"user-1", "AAECAwQFBgcICQoLDA0OD/eWTp9s8hAt+26Fr9Tjtfg="},
      {"0123456789abcdef", "AAECAwQFBgcICQoLDA0ODx0JMlXHMUgupN7jkfFA7q3Ev9e/Rpt/TKFSDuLDW8JL"},
      {"The quick brown fox jumps over the lazy dog",
       "AAECAwQFBgcICQoLDA0OD3lryfUueikQDsKUTxa93mVaRYgqXq8WNO1HsPCiaLe5dNwyMzHWJ/6MSF7Zg9dTCA=="},
      {"用户 ü", "AAECAwQFBgcICQoLDA0ODytFY6sXGIM/5ETMcZwfokQ="},
  };
  for (const auto& [plain, stored] : vectors) {
    EXPECT_EQ(crypt.encryptString(plain), stored);
    EXPECT_EQ(crypt.encryptData(bytes(plain)), bytes(stored));
    EXPECT_EQ(crypt.decryptString(stored), plain);
    EXPECT_EQ(crypt.decryptData(bytes(stored)), bytes(plain));
  }
}

TEST_F(KLAESCryptTest, EmptyForeignAndBrokenInputGiveNothing) {
  KLAESCrypt crypt(random);
  EXPECT_EQ(crypt.encryptString("before there is a key"), std::nullopt);
  crypt.setKeyFile(file);
  EXPECT_EQ(crypt.encryptString(""), std::nullopt);
  EXPECT_EQ(crypt.encryptData({}), std::nullopt);
  for (const char* broken : {"", "====", "AAAA", "AAAAAAAAAAAAAAAAAAAAAA==", "no base64 at all"}) {
    EXPECT_EQ(crypt.decryptString(broken), std::nullopt) << broken;
  }
  // One block under the right key that holds nothing but padding: an empty plaintext does not come back.
  KLBytes empty = crypt.iv();
  const auto padding = *KLAESCBC(crypt.key(), crypt.iv()).encrypt({});
  empty.insert(empty.end(), padding.begin(), padding.end());
  EXPECT_EQ(crypt.decryptString(KLBase64Encode(empty)), std::nullopt);
  // Bytes come back as they are, text only when it is text.
  const KLBytes noText = {0xC3, 0x28};
  EXPECT_EQ(crypt.decryptData(*crypt.encryptData(noText)), noText);
  EXPECT_EQ(crypt.decryptString(*crypt.encryptString("\xC3\x28")), std::nullopt);
}

TEST_F(KLAESCryptTest, BlanksAndLineBreaksInBase64AreSkipped) {
  KLAESCrypt crypt(random);
  crypt.setKeyFile(file);
  std::string stored = *crypt.encryptString("user-1");
  stored.insert(20, "\r\n");
  stored.insert(7, " ");
  EXPECT_EQ(crypt.decryptString(stored), "user-1");
}

TEST_F(KLAESCryptTest, TheKeyIsKeptFromRunToRunAndForTheOwnerAlone) {
  KLAESCrypt first(random);
  first.setKeyFile(file);
  EXPECT_EQ(first.key().size(), KLAESCrypt::kKeyLength);
  EXPECT_TRUE(
      std::all_of(first.key().begin(), first.key().end(), [](char c) { return kKLKeyAlphabet.find(c) != std::string_view::npos; }));
  EXPECT_EQ(kKLKeyAlphabet.size(), 90u);
  const auto written = std::filesystem::last_write_time(file);
  KLAESCrypt second(random);
  second.setKeyFile(file);
  EXPECT_EQ(second.key(), first.key());
  EXPECT_EQ(second.iv(), first.iv());
  EXPECT_EQ(second.decryptString(*first.encryptString("user-1")), "user-1");
  EXPECT_EQ(std::filesystem::last_write_time(file), written);
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(KLAESCryptTest, WhatAKeyFileLacksIsMadeAnewAndKept) {
  const KLBytes key = bytes("0123456789abcdef");
  const KLBytes iv(16, 0x5A);
  struct Case {
    KLObject info;
    bool keepsKey;
    bool keepsIV;
  };
  const Case cases[] = {{{{"key", key}}, true, false},
                        {{{"iv", iv}}, false, true},
                        {{{"key", key}, {"iv", KLBytes(3)}}, true, false},
                        {{{"key", "0123456789abcdef"}, {"iv", iv}}, false, true},
                        {{}, false, false}};
  for (const Case& test : cases) {
    writeKeyFile(test.info);
    const KLBytes before = *KLFile::read(file);
    EXPECT_FALSE(KLAESCrypt(random).readKeyFile(file));  // who only reads gets no key and makes none
    EXPECT_EQ(KLFile::read(file), before);
    KLAESCrypt crypt(random);
    crypt.setKeyFile(file);
    EXPECT_EQ(crypt.key() == key, test.keepsKey);
    EXPECT_EQ(crypt.iv() == iv, test.keepsIV);
    KLAESCrypt next(random);
    next.setKeyFile(file);
    EXPECT_EQ(next.key(), crypt.key());
    EXPECT_EQ(next.iv(), crypt.iv());
  }
}

TEST_F(KLAESCryptTest, ALostOrDamagedKeyFileGivesANewKey) {
  KLAESCrypt old(random);
  old.setKeyFile(file);
  const std::string stored = *old.encryptString("user-1");
  const KLBytes whole = *KLFile::read(file);
  const KLBytes damages[] = {{}, bytes("no archive"), KLBytes(whole.begin(), whole.begin() + static_cast<long>(whole.size() / 2))};
  for (const KLBytes& damage : damages) {
    ASSERT_TRUE(KLFile::writeAtomically(file, damage));
    KLAESCrypt crypt(random);
    crypt.setKeyFile(file);
    EXPECT_NE(crypt.key(), old.key());
    EXPECT_EQ(crypt.decryptString(stored), std::nullopt);
    EXPECT_EQ(crypt.decryptString(*crypt.encryptString("user-1")), "user-1");
  }
}

TEST_F(KLAESCryptTest, AKeyFileThatCannotBeReadIsReplaced) {
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::create_symlink(file, file);  // leads to itself
  KLAESCrypt crypt(random);
  crypt.setKeyFile(file);
  KLAESCrypt next(random);
  next.setKeyFile(file);
  EXPECT_EQ(next.decryptString(*crypt.encryptString("user-1")), "user-1");
}

/// Lets another process be faster: between the look for the file and the making of one.
class OvertakenRandom final : public KLRandom {
 public:
  explicit OvertakenRandom(std::filesystem::path file) : file_(std::move(file)) {}

  KLBytes bytes(std::size_t count) override {
    other.setKeyFile(file_);
    return random_.bytes(count);
  }
  std::uint32_t below(std::uint32_t bound) override { return random_.below(bound); }
  std::string uuid() override { return random_.uuid(); }

 private:
  const std::filesystem::path file_;
  KLSystemRandom random_;

 public:
  KLAESCrypt other{random_};
};

TEST_F(KLAESCryptTest, TwoFirstStartsAtOnceEndWithOneKeyWhetherTheFileIsMissingOrDamaged) {
  for (const bool isDamaged : {false, true}) {
    if (isDamaged) {
      ASSERT_TRUE(KLFile::writeAtomically(file, bytes("no archive")));
    }
    OvertakenRandom overtaken(file);
    KLAESCrypt crypt(overtaken);
    crypt.setKeyFile(file);
    EXPECT_EQ(crypt.key(), overtaken.other.key());
    EXPECT_EQ(crypt.iv(), overtaken.other.iv());
  }
}

TEST_F(KLAESCryptTest, AKeyFileThatCannotBeWrittenServesThisRun) {
  std::filesystem::create_directories(file);  // a directory in its place
  KLAESCrypt crypt(random);
  crypt.setKeyFile(file);
  EXPECT_EQ(crypt.decryptString(*crypt.encryptString("user-1")), "user-1");
}

}  // namespace
}  // namespace kaleo::testing
