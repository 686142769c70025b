#include <QCheckBox>
#include <QLineEdit>

#include "X11Stage.h"

namespace kaleo {
namespace {

class KLQtOnX11Test : public X11Stage {
 protected:
  KLQtOnX11Test() : edit_(host.get()), box_("a box with a text", host.get()) {
    edit_.setGeometry(10, 10, 380, 40);
    box_.setGeometry(10, 240, 380, 50);
    edit_.setFocus();
    root.backgroundColor = KLColor{0, 0, 0, 0.5};
    showHost();
  }
  bool heardSoon(const std::string& call) {
    return runUntil([&] { return observer.heard(call); });
  }

  QLineEdit edit_;
  QCheckBox box_;
};

TEST_F(KLQtOnX11Test, TakesClicksDragsAndTheWheel) {
  showPopup();
  pointAt(50, 260);
  xdotool({"mousedown", "1"});
  ASSERT_TRUE(heardSoon("down"));
  EXPECT_EQ(observer.point, (KLPoint{50, 260}));
  pointAt(200, 100);
  ASSERT_TRUE(runUntil([&] { return observer.point == KLPoint{200, 100}; }));
  xdotool({"mouseup", "1"});
  ASSERT_TRUE(heardSoon("up"));
  xdotool({"click", "5"});
  ASSERT_TRUE(heardSoon("scroll"));
  EXPECT_GT(observer.scrolled, 0);
  EXPECT_FALSE(box_.isChecked());
}

TEST_F(KLQtOnX11Test, TakesKeysAndGivesTheFocusBack) {
  ASSERT_TRUE(edit_.hasFocus());
  showPopup();
  xdotool({"key", "Tab", "shift+Tab", "Return", "Escape", "Next", "a"});
  ASSERT_TRUE(runUntil([&] { return observer.keys.size() == 5; }));
  EXPECT_EQ(observer.keys, (std::vector{KLKey::Tab, KLKey::BackTab, KLKey::Activate, KLKey::Escape, KLKey::PageDown}));
  window.reset();
  EXPECT_TRUE(edit_.hasFocus());
  xdotool({"key", "b"});
  ASSERT_TRUE(runUntil([&] { return !edit_.text().isEmpty(); }));
  EXPECT_EQ(edit_.text(), "b");
  pointAt(30, 265);
  xdotool({"click", "1"});
  EXPECT_TRUE(runUntil([&] { return box_.isChecked(); }));
}

TEST_F(KLQtOnX11Test, BlendsWithTheWindowAndFollowsIt) {
  ASSERT_TRUE(runUntil([&] { return onScreen(200, 150) == QColor(Qt::white); }));
  showPopup();
  EXPECT_TRUE(runUntil([&] { return onScreen(200, 150).red() == 127; }));
  host->move(140, 110);
  host->resize(450, 350);
  ASSERT_TRUE(runUntil([&] { return observer.bounds == KLSize{450, 350}; }));
  root.frame = {0, 0, 450, 350};
  window->setNeedsDisplay();
  EXPECT_TRUE(runUntil([&] { return onScreen(445, 345).red() == 127; }));
  EXPECT_EQ(QApplication::topLevelWidgets().size(), 1);
  window->hide();
  EXPECT_TRUE(runUntil([&] { return onScreen(445, 345) == QColor(Qt::white); }));
}

TEST_F(KLQtOnX11Test, LiesAboveNativeChildren) {
  QWidget native(host.get());
  native.setAttribute(Qt::WA_NativeWindow);
  native.setAutoFillBackground(true);
  native.setPalette(QPalette(Qt::red));
  native.setGeometry(50, 60, 300, 150);
  native.show();
  ASSERT_TRUE(runUntil([&] { return onScreen(200, 150) == QColor(Qt::red); }));
  showPopup();
  EXPECT_TRUE(runUntil([&] { return onScreen(200, 150) == QColor(127, 0, 0); }));
  pointAt(200, 150);
  xdotool({"click", "1"});
  EXPECT_TRUE(heardSoon("up"));
}

TEST_F(KLQtOnX11Test, IsLostWhenTheUserClosesTheWindow) {
  showPopup();
  host->close();
  EXPECT_TRUE(heardSoon("lost"));
}

}  // namespace
}  // namespace kaleo
