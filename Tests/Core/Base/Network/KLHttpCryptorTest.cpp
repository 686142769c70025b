#include "Core/Base/Network/KLHttpCryptor.h"

#include <gtest/gtest.h>

#include "Core/Base/Network/CountingRandom.h"
#include "Foundation/KLJSON.h"
#include "Support/TemporaryDirectory.h"

namespace kaleo {
namespace {

KLBytes bytes(std::string_view text) { return KLBytes(text.begin(), text.end()); }

class KLHttpCryptorTest : public ::testing::Test {
 protected:
  testing::CountingRandom random;
  KLHttpCryptor cryptor{random};
};

TEST_F(KLHttpCryptorTest, NothingComesOutBeforeTheMaterialIsSetUpAndForEmptyInput) {
  EXPECT_FALSE(cryptor.encryptString("text").has_value());
  EXPECT_FALSE(cryptor.decryptString("AAAAAAAAAAAAAAAAAAAAAA==").has_value());
  EXPECT_FALSE(cryptor.envelope(bytes("{}")).has_value());
  cryptor.setKeyFile("/nowhere/file");
  EXPECT_EQ(cryptor.keyFile(), "/nowhere/file");
  EXPECT_FALSE(cryptor.encryptData({}).has_value());
  EXPECT_FALSE(cryptor.decryptData({}).has_value());
  EXPECT_TRUE(cryptor.encryptString("text").has_value());
}

TEST_F(KLHttpCryptorTest, TheMaterialIsMadeOnceFromSaltAndEmptyPassword) {
  cryptor.setupKeyAndIV();
  const KLBytes salt = cryptor.salt(), key = cryptor.key(), iv = cryptor.iv();
  EXPECT_EQ(salt, bytes("abcdefghijklmnop"));
  EXPECT_EQ(key, KLPBKDF2SHA1("", salt, 100, 16));
  EXPECT_EQ(iv.size(), 16u);
  cryptor.setKeyFile("/another/file");
  cryptor.setupKeyAndIV();
  EXPECT_EQ(cryptor.salt(), salt);
  EXPECT_EQ(cryptor.key(), key);
  EXPECT_EQ(cryptor.iv(), iv);
}

TEST_F(KLHttpCryptorTest, APasswordIsCutToItsNumberOfUTF16Units) {
  const std::pair<const char*, const char*> passwords[] = {
      {"secret", "secret"}, {"\xC3\xA4\xC3\xB6", "\xC3\xA4"}, {"\xF0\x9F\x98\x80", "\xF0\x9F"}};
  for (const auto& [input, used] : passwords) {
    testing::CountingRandom ownRandom;
    KLHttpCryptor own(ownRandom);
    own.setInput(input);
    own.setupKeyAndIV();
    EXPECT_EQ(own.key(), KLPBKDF2SHA1(used, own.salt(), 100, 16)) << input;
  }
}

TEST_F(KLHttpCryptorTest, RoundTripsDeterministicallyWithoutAVectorInFront) {
  cryptor.setupKeyAndIV();
  for (const std::string text : {"a", "0123456789abcdef", "{\"long\":\"a text of more than two blocks of sixteen\"}"}) {
    const auto encrypted = cryptor.encryptString(text);
    ASSERT_TRUE(encrypted.has_value());
    EXPECT_EQ(cryptor.encryptString(text), encrypted);
    EXPECT_EQ(cryptor.decryptString(*encrypted), text);
    EXPECT_EQ(cryptor.decryptString(" " + *encrypted + "\r\n"), text);
    EXPECT_EQ(KLBase64Decode(*encrypted), KLAESCBC(cryptor.key(), cryptor.iv()).encrypt(bytes(text)));
    EXPECT_EQ(cryptor.decryptData(*cryptor.encryptData(bytes(text))), bytes(text));
  }
}

// Made with: openssl kdf -keylen 16 -kdfopt digest:SHA1 -kdfopt pass: -kdfopt salt:abcdefghijklmnop -kdfopt iter:100 PBKDF2
//            printf '%s' TEXT | openssl enc -aes-128-cbc -K KEY -iv 101112131415161718191a1b1c1d1e1f -base64 -A
TEST_F(KLHttpCryptorTest, AgreesWithTheOpensslCommand) {
  cryptor.setupKeyAndIV();
  EXPECT_EQ(KLHexUpper(cryptor.key()), "D0A1DBB341A74B765B1B79B81C15661B");
  EXPECT_EQ(cryptor.encryptString(R"({"a":1})"), "SJDzIlI0l7H1o7R9DMv/tw==");
  EXPECT_EQ(cryptor.decryptString("cGtU9q3NiSg6l0xFNLCcJeeW32BoZ03z/cbBmc3TH7cCPya6NSjDwBbmtY+pYQSH"),
            "a text of more than two blocks of sixteen");
  const auto envelope = cryptor.envelope(bytes(R"({"a":1})"));
  EXPECT_EQ(KLJSON::parse(*envelope)->find("payload")->asString(),
            "6162636465666768696A6B6C6D6E6F70101112131415161718191A1B1C1D1E1FSJDzIlI0l7H1o7R9DMv/tw==");
}

TEST_F(KLHttpCryptorTest, WhatIsNotItsOwnDecryptsToNothing) {
  cryptor.setupKeyAndIV();
  EXPECT_FALSE(cryptor.decryptString("no base64!").has_value());
  EXPECT_FALSE(cryptor.decryptString("AAAA").has_value());
  const auto noText = cryptor.encryptData({0xFF, 0xFE});
  EXPECT_EQ(cryptor.decryptData(*noText), (KLBytes{0xFF, 0xFE}));
  EXPECT_FALSE(cryptor.decryptString(std::string(noText->begin(), noText->end())).has_value());
}

TEST_F(KLHttpCryptorTest, KeyMaterialGoesThroughAFileThatIsItsOwnersAlone) {
  const TemporaryDirectory directory;
  const auto file = directory / "KLNetworkAES";
  EXPECT_FALSE(KLHttpCryptor::loadEncryptInfoAtPath(file).has_value());
  const KLValue info(KLObject{{"key", bytes("0123456789abcdef")}, {"iv", bytes("fedcba9876543210")}});
  ASSERT_TRUE(KLHttpCryptor::saveEncryptInfo(info, file));
  EXPECT_EQ(KLHttpCryptor::loadEncryptInfoAtPath(file), info);
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  cryptor.setKeyFile(file);
  EXPECT_NE(cryptor.key(), bytes("0123456789abcdef")) << "the material is this process's own";
  EXPECT_EQ(KLHttpCryptor::loadEncryptInfoAtPath(file), info);
  EXPECT_FALSE(KLHttpCryptor::saveEncryptInfo(info, file / "below")) << "that is no directory";
}

}  // namespace
}  // namespace kaleo
