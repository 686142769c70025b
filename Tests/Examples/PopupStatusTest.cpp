#include "Shop/PopupStatus.h"

#include <gtest/gtest.h>

namespace shop {
namespace {

using Mood = PopupStatus::Mood;

/// The last report after reading `lines`.
PopupStatus::Report after(PopupStatus& status, std::initializer_list<const char*> lines) {
  PopupStatus::Report last;
  for (const char* line : lines) {
    if (const auto report = status.read(line)) last = *report;
  }
  return last;
}

TEST(PopupStatus, SaysWhyNothingShows) {
  struct Case {
    const char* line;
    const char* reason;
  };
  const Case cases[] = {
      {"Repeat display check for plan: 7 does not satisfy, reason: not in display time", "campaign 7 does not show at this hour"},
      {"Convert window check for plan: 7 does not satisfy, reason: Convert window is not finished or not converted",
       "campaign 7 still waits to hear whether its last popup worked"},
      {"Global interval window rule check does not satisfy", "another popup was on screen a moment ago"},
      {"Interval window check rule for plan: 7  does not satisfy, reason: Interval window does not finish",
       "campaign 7 showed a short while ago"},
      {"Pattern match check for event: Pay not satisfy", "campaign 7 asks for more than this event"},
      {"Global limit rule check not satisfy", "enough popups were shown for now"},
      {"ReEnter window check rule for plan: 7 not satisfy", "campaign 7 was shown as often as it may be"},
  };
  for (const Case& c : cases) {
    PopupStatus status;
    const auto report = after(status, {"Start event triggle for event name: Pay", "Start rule check for single plan: 7", c.line});
    EXPECT_EQ(report, (PopupStatus::Report{Mood::HeldBack, std::string("No popup after Pay: ") + c.reason + "."}));
    EXPECT_TRUE(status.isDecision(c.line)) << c.line;
  }
}

TEST(PopupStatus, TakesAPassedCheckForNoReason) {
  PopupStatus status;
  status.read("Start event triggle for event name: Pay");
  for (const char* line : {"Pattern match check for event: Pay satisfy", "Global limit rule check satisfy",
                           "ReEnter window check rule for plan: 7 satisfy", "Global interval window does not exist"}) {
    EXPECT_FALSE(status.read(line)) << line;
    EXPECT_FALSE(status.isDecision(line)) << line;
  }
}

TEST(PopupStatus, NamesEachReasonOnceAndForgetsThemWithTheNextEvent) {
  PopupStatus status;
  const char* const busy = "Global interval window rule check does not satisfy";
  const auto both =
      after(status, {"Start event triggle for event name: Pay", "Start rule check for single plan: 7", busy,
                     "Start rule check for single plan: 8", busy, "ReEnter window check rule for plan: 8 not satisfy"});
  EXPECT_EQ(both.text,
            "No popup after Pay: another popup was on screen a moment ago, and campaign 8 was shown as often as it may be.");
  EXPECT_EQ(after(status, {"Start event triggle for event name: View", busy}).text,
            "No popup after View: another popup was on screen a moment ago.");
}

TEST(PopupStatus, LetsAShownCampaignWinOverThoseHeldBack) {
  PopupStatus status;
  const auto report =
      after(status, {"Start event triggle for event name: Pay", "Start rule check for single plan: 8",
                     "ReEnter window check rule for plan: 8 not satisfy", "Will display popup content for plan: 7"});
  EXPECT_EQ(report, (PopupStatus::Report{Mood::Shown, "Campaign 7 answers Pay."}));
}

TEST(PopupStatus, PassesOverTheLibrarysOwnEvents) {
  const char* const passedOver = "This event does not need to resolve as it is not includes in plans";
  PopupStatus status;
  status.read("Start event triggle for event name: $PlanPopupDisplay");
  EXPECT_FALSE(status.read(passedOver));
  EXPECT_FALSE(status.isDecision(passedOver));
  status.read("Start event triggle for event name: Search");
  EXPECT_EQ(status.read(passedOver)->text, "No popup after Search: no campaign listens to it.");
  EXPECT_TRUE(status.isDecision(passedOver));
}

}  // namespace
}  // namespace shop
