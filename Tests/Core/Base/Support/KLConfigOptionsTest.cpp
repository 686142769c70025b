#include "kaleo/KLConfigOptions.h"

#include <gtest/gtest.h>

#include "Support/FakeHost.h"

namespace kaleo {
namespace {

using Lines = std::vector<std::string>;

TEST(KLConfigOptions, TokenAndOrganisationTakeOnlyNonEmptyTexts) {
  testing::FakeHost host;
  KLConfigOptions options("http://x", host.registry);
  options.setOrgID(7);
  EXPECT_EQ(options.orgID(), std::nullopt);
  options.setOrgID("org");
  options.setOrgID("");
  EXPECT_EQ(options.orgID(), "org");
  options.setAccessToken(nullptr);
  options.setAccessToken("");
  EXPECT_EQ(options.accessToken(), std::nullopt);
  EXPECT_EQ(host.log->messages(1), (Lines{"orgID should be a string", "orgID should not be empty", "accessToken should be a string",
                                          "accessToken should not be empty"}));
}

TEST(KLConfigOptions, PlaceholderNameWinsInEitherOrder) {
  testing::FakeHost host;
  KLConfigOptions options("http://x", host.registry);
  options.setPlaceholderImage(KLBytes{1});
  EXPECT_EQ(options.placeholderImage(), KLBytes{1});
  options.setPlaceholderImageName("name");
  EXPECT_EQ(options.placeholderImage(), std::nullopt);
  options.setPlaceholderImage(KLBytes{2});
  EXPECT_EQ(options.placeholderImage(), std::nullopt);
  EXPECT_EQ(host.log->messages(4), Lines{"placeholderImageName option had been set, would use placeholderImageName instead"});
  options.setPlaceholderImageName(5);  // refused in words, stored all the same
  EXPECT_TRUE(options.placeholderImageName() == KLValue(5));
  options.setPlaceholderImage("text");
  EXPECT_EQ(host.log->messages(1), (Lines{"placeholder image name should not be other types rather than NSString",
                                          "placeholder image should not be other types rather than NSData"}));
}

TEST(KLConfigOptions, DelegatesAreNotKeptAlive) {
  testing::FakeHost host;
  KLConfigOptions options("http://x", host.registry);
  auto delegate = std::make_shared<KLPopupDelegate>();
  options.setPopupDelegate(delegate);
  EXPECT_EQ(options.popupDelegate(), delegate);
  delegate.reset();
  EXPECT_EQ(options.popupDelegate(), nullptr);
}

}  // namespace
}  // namespace kaleo
