#include "Image/KLUserAgent.h"

#include <gtest/gtest.h>

#include "Foundation/KLTransliteration.h"

namespace kaleo {
namespace {

TEST(KLUserAgent, NamesApplicationDeviceAndScreen) {
  EXPECT_EQ(KLUserAgent({"Shop", "2.1", "PC", "12"}, 1.5), "Shop/2.1 (PC; iOS 12; Scale/1.50)");
}

TEST(KLUserAgent, IsRomanisedWhereItIsNotASCII) {
  EXPECT_EQ(KLUserAgent({"商店", "2.1", "PC", "12"}, 2), "shang dian/2.1 (PC; iOS 12; Scale/2.00)");
  EXPECT_EQ(KLUserAgent({"Café Ω ☕", "1", "PC", "12"}, 1), "Cafe O /1 (PC; iOS 12; Scale/1.00)");
}

TEST(KLTransliteration, TakesBrokenTextAsItCan) {
  EXPECT_TRUE(KLIsASCII(""));
  EXPECT_TRUE(KLIsASCII("~ \x7F"));
  EXPECT_FALSE(KLIsASCII("\x80"));
  EXPECT_TRUE(KLIsASCII(KLTransliteratedToASCII("a\xFF\xC3")));
}

}  // namespace
}  // namespace kaleo
