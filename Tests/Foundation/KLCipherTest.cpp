#include "Foundation/KLCipher.h"

#include <gtest/gtest.h>

namespace kaleo {
namespace {

KLBytes bytes(std::string_view text) { return KLBytes(text.begin(), text.end()); }

KLBytes ascending(std::uint8_t first) {
  KLBytes result(16);
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = static_cast<std::uint8_t>(first + i);
  return result;
}

class KLAESCBCTest : public ::testing::Test {
 protected:
  const KLAESCBC cipher{ascending(0x00), ascending(0xF0)};
};

// Made with: printf '%s' TEXT | openssl enc -aes-128-cbc -K 000102...0e0f -iv f0f1f2...feff | xxd -p
TEST_F(KLAESCBCTest, AgreesWithAnotherImplementation) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", "D02A48244ECCDC2379224DBC54703612"},
      {"a", "203872F58D722A98A2553518CCF408CF"},
      {"0123456789abcdef", "71E21619AA870DB1922C69F851B5160F3654613527120B27B5663D491D8022C4"},
      {"The quick brown fox jumps over the lazy dog",
       "639DD4C509B902E13DD2EE7500CF3AF9BE0E128E87FFEFD09F0B8132B71D1D5750D0CED90C1F47388114F14250D31B88"},
  };
  for (const auto& [plain, hex] : vectors) {
    const auto encrypted = cipher.encrypt(bytes(plain));
    ASSERT_TRUE(encrypted.has_value());
    EXPECT_EQ(KLHexUpper(*encrypted), hex);
    EXPECT_EQ(cipher.decrypt(*encrypted), bytes(plain));
  }
}

TEST_F(KLAESCBCTest, EveryCallStartsAnewAlsoAfterAFailure) {
  const auto first = cipher.encrypt(bytes("some text of more than a block"));
  EXPECT_FALSE(cipher.decrypt(KLBytes(32, 0x5A)).has_value());
  EXPECT_EQ(cipher.encrypt(bytes("some text of more than a block")), first);
  EXPECT_EQ(cipher.decrypt(*first), bytes("some text of more than a block"));
}

TEST_F(KLAESCBCTest, WrongLengthAndWrongPaddingGiveNothing) {
  auto encrypted = *cipher.encrypt(bytes("text"));
  encrypted.back() ^= 0xFF;
  EXPECT_FALSE(cipher.decrypt(encrypted).has_value());
  EXPECT_FALSE(cipher.decrypt(KLBytes{}).has_value());
  EXPECT_FALSE(cipher.decrypt(KLBytes(15)).has_value());
  EXPECT_FALSE(cipher.decrypt(KLBytes(17)).has_value());
}

TEST_F(KLAESCBCTest, BehindTheVectorTheTextComesAfterABlock) {
  KLBytes whole = ascending(0xF0);
  const auto encrypted = *cipher.encrypt(bytes("text"));
  whole.insert(whole.end(), encrypted.begin(), encrypted.end());
  EXPECT_EQ(cipher.encryptBehind(ascending(0xF0), bytes("text").data(), 4), whole);
  const auto chained = cipher.decrypt(whole);
  ASSERT_TRUE(chained.has_value());
  EXPECT_EQ(KLBytes(chained->begin() + 16, chained->end()), bytes("text"));
}

TEST(KLAESCBC, KeyAndVectorMustHave16Bytes) {
  for (const auto& [key, iv] : {std::pair{15, 16}, {16, 15}, {32, 16}, {0, 0}}) {
    const KLAESCBC cipher{KLBytes(key), KLBytes(iv)};
    EXPECT_FALSE(cipher.isValid());
    EXPECT_FALSE(cipher.encrypt(bytes("text")).has_value());
    EXPECT_FALSE(cipher.decrypt(KLBytes(16)).has_value());
  }
  EXPECT_TRUE(KLAESCBC(KLBytes(16), KLBytes(16)).isValid());
}

// Made with: openssl kdf -keylen 16 -kdfopt digest:SHA1 -kdfopt pass:PASSWORD -kdfopt salt:SALT -kdfopt iter:ROUNDS PBKDF2
TEST(KLCipher, DerivesKeys) {
  const auto derived = KLPBKDF2SHA1("password", bytes("salt"), 4096, 16);
  ASSERT_TRUE(derived.has_value());
  EXPECT_EQ(KLHexUpper(*derived), "4B007901B765489ABEAD49D926F721D0");
  const auto withoutPassword = KLPBKDF2SHA1({}, bytes("0123456789abcdef"), 100, 16);
  ASSERT_TRUE(withoutPassword.has_value());
  EXPECT_EQ(KLHexUpper(*withoutPassword), "DDCA92F5022F14A56ED07D79591610F4");
  EXPECT_FALSE(KLPBKDF2SHA1("password", bytes("salt"), 0, 16).has_value());
  EXPECT_FALSE(KLPBKDF2SHA1("password", bytes("salt"), 1, 0).has_value());
}

// Made with: printf '%s' TEXT | openssl md5
TEST(KLCipher, HashesNames) {
  EXPECT_EQ(KLMD5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(KLMD5Hex("http://example.com/a.png"), "b876851593b9e119ed73f38561576bda");
}

TEST(KLBase64, WritesAndReadsTheVectorsOfRFC4648) {
  const std::pair<const char*, const char*> vectors[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
  for (const auto& [plain, encoded] : vectors) {
    EXPECT_EQ(KLBase64Encode(bytes(plain)), encoded);
    EXPECT_EQ(KLBase64Decode(encoded), bytes(plain));
  }
  EXPECT_EQ(KLBase64Encode({0xFB, 0xFF, 0xFE}), "+//+");
  KLBytes all(256);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<std::uint8_t>(i);
  EXPECT_EQ(KLBase64Decode(KLBase64Encode(all)), all);
}

TEST(KLBase64, SkipsForeignCharactersAndRefusesWhatIsNoBase64) {
  EXPECT_EQ(KLBase64Decode(" Zm9v\r\nYm\tFy\n\xC3\xA4"), bytes("foobar"));
  EXPECT_EQ(KLBase64Decode("Zg=\n="), bytes("f"));
  for (const char* broken : {"Z", "Zg", "Zg=", "Zg===", "=", "Zg==Zg==", "Zm9vY"}) {
    EXPECT_FALSE(KLBase64Decode(broken).has_value()) << broken;
  }
}

TEST(KLBase64, BreaksLines) {
  const KLBytes plain(50, 0);
  EXPECT_EQ(KLBase64EncodeLines(plain, 64), std::string(64, 'A') + "\r\nAAA=");
  EXPECT_EQ(KLBase64EncodeLines(KLBytes(48), 64), std::string(64, 'A'));
  EXPECT_EQ(KLBase64EncodeLines({}, 64), "");
}

TEST(KLHex, WritesTwoUpperCaseDigitsAByte) {
  EXPECT_EQ(KLHexUpper({0x00, 0x0F, 0xA0, 0xFF}), "000FA0FF");
  EXPECT_EQ(KLHexUpper({}), "");
}

}  // namespace
}  // namespace kaleo
