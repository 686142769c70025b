#include <QAccessible>
#include <QAccessibleActionInterface>
#include <algorithm>

#include "QtPictures.h"
#include "QtStage.h"

namespace kaleo {
namespace {

using Kind = KLView::Kind;

/// What assistive technology is told, in order.
struct Told {
  QAccessible::Event event;
  QAccessible::Role role;
  QString name;
  bool operator==(const Told&) const = default;
};
std::vector<Told> told;

void keep(QAccessibleEvent* event) {
  QAccessibleInterface* about = event->accessibleInterface();
  if (about) told.push_back({event->type(), about->role(), about->text(QAccessible::Name)});
}

std::ostream& operator<<(std::ostream& stream, const Told& one) {
  return stream << int(one.event) << " on role " << int(one.role) << " \"" << one.name.toStdString() << '"';
}

/// A popup with a heading, a picture with and one without a meaning, a text that scrolls, a button, a link and a cross.
class KLQtAccessibilityTest : public QtStage {
 protected:
  KLQtAccessibilityTest() {
    root.accessibility.label = "Spring sale";
    KLView& card = add(Kind::Plain, {50, 20, 300, 260});
    write(add(card, Kind::Label, {10, 10, 280, 30}), "Everything is cheaper");
    add(card, Kind::ImageView, {10, 50, 50, 50}).image = plainPicture(2, 2, 0, 0, 255, 255);
    KLView& picture = add(card, Kind::ImageView, {70, 50, 50, 50});
    picture.accessibility.label = "A vase";
    KLView& terms = add(card, Kind::TextView, {10, 110, 280, 40});
    write(terms, "Terms");
    terms.contentHeight = 200;
    KLView& button = add(card, Kind::Button, {10, 160, 100, 40});
    write(button, "Show me");
    act(button, KLPopupActionType::OpenLink);
    KLView& link = add(card, Kind::Button, {120, 160, 100, 40});
    write(link, "Terms in full");
    link.accessibility.isLink = true;
    act(link, KLPopupActionType::OpenLink);
    act(add(card, Kind::ImageView, {10, 210, 40, 40}), KLPopupActionType::Close);
    showHost();
    told.clear();
    QAccessible::installUpdateHandler(keep);
  }
  ~KLQtAccessibilityTest() override { QAccessible::installUpdateHandler(nullptr); }

  static void write(KLView& view, const char* text) { view.text = KLAttributedText{text, 16}; }
  static void act(KLView& view, KLPopupActionType action) {
    view.userInteractionEnabled = true;
    view.popupActions.emplace_back();
    view.accessibility.action = action;
  }
  QAccessibleInterface* popup() { return QAccessible::queryAccessibleInterface(host->findChild<QWidget*>("KaleoPopup")); }
  QAccessibleInterface* named(const char* name) {
    for (int i = 0; i < popup()->childCount(); ++i) {
      if (popup()->child(i)->text(QAccessible::Name) == name) return popup()->child(i);
    }
    return nullptr;
  }
  static bool heard(QAccessible::Event event, const QString& name) {
    return std::any_of(told.begin(), told.end(), [&](const Told& one) { return one.event == event && one.name == name; });
  }
};

TEST_F(KLQtAccessibilityTest, IsAModalDialogOfWhatSaysSomething) {
  showPopup();
  QAccessibleInterface* dialog = popup();
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->role(), QAccessible::Dialog);
  EXPECT_EQ(dialog->text(QAccessible::Name), "Spring sale");
  EXPECT_TRUE(dialog->state().modal);
  EXPECT_TRUE(dialog->state().focused);
  EXPECT_EQ(dialog->parent(), QAccessible::queryAccessibleInterface(host.get()));
  EXPECT_EQ(dialog->parent()->indexOfChild(dialog), 0);

  std::vector<std::pair<QAccessible::Role, QString>> children;
  for (int i = 0; i < dialog->childCount(); ++i) {
    QAccessibleInterface* child = dialog->child(i);
    children.emplace_back(child->role(), child->text(QAccessible::Name));
    EXPECT_TRUE(child->isValid());
    EXPECT_EQ(child->parent(), dialog);
    EXPECT_EQ(dialog->indexOfChild(child), i);
    EXPECT_EQ(dialog->child(i), child) << "the same at each question";
    EXPECT_EQ(dialog->childAt(child->rect().center().x(), child->rect().center().y()), child);
    EXPECT_EQ(child->window(), host->windowHandle());
  }
  EXPECT_EQ(children, (std::vector<std::pair<QAccessible::Role, QString>>{{QAccessible::StaticText, "Everything is cheaper"},
                                                                          {QAccessible::Graphic, "A vase"},
                                                                          {QAccessible::StaticText, "Terms"},
                                                                          {QAccessible::Button, "Show me"},
                                                                          {QAccessible::Link, "Terms in full"},
                                                                          {QAccessible::Button, "Close"}}));
  EXPECT_EQ(named("Show me")->rect(), QRect(host->mapToGlobal(QPoint(60, 180)), QSize(100, 40)));
  EXPECT_TRUE(named("Show me")->state().focusable);
  EXPECT_FALSE(named("A vase")->state().focusable);

  root.accessibility.label.clear();
  EXPECT_EQ(dialog->text(QAccessible::Name), "Everything is cheaper") << "a popup without a name";
}

// Qt tells of events only while a client listens: on X11 that is the bus of AT-SPI.
TEST_F(KLQtAccessibilityTest, SaysThatItComesGoesAndMovesTheFocus) {
  const bool hasBus = qEnvironmentVariableIntValue("QT_LINUX_ACCESSIBILITY_ALWAYS_ON") == 1;
  if (!hasBus) GTEST_SKIP() << "without an accessibility bus";
  ASSERT_TRUE(runUntil([] { return QAccessible::isActive(); }));
  showPopup();
  EXPECT_TRUE(heard(QAccessible::ObjectShow, "")) << "before there is a tree";
  EXPECT_TRUE(heard(QAccessible::DialogStart, "Spring sale"));
  KLView& card = *root.subviews()[0];
  KLView& button = *card.subviews()[4];
  KLView& link = *card.subviews()[5];
  for (KLView* view : {&button, &link}) {
    told.clear();
    button.focused = view == &button;
    link.focused = view == &link;
    window->setNeedsDisplay();
    window->setNeedsDisplay();
    const QString name = QString::fromStdString(view->text->text);
    EXPECT_EQ(told, (std::vector<Told>{{QAccessible::Focus, view == &link ? QAccessible::Link : QAccessible::Button, name}}));
    EXPECT_EQ(popup()->focusChild()->text(QAccessible::Name), name);
    EXPECT_TRUE(popup()->focusChild()->state().focused);
  }
  told.clear();
  window->hide();
  EXPECT_TRUE(heard(QAccessible::DialogEnd, "Spring sale"));
  EXPECT_TRUE(std::any_of(told.begin(), told.end(), [](const Told& one) { return one.event == QAccessible::ObjectHide; }));
}

TEST_F(KLQtAccessibilityTest, PressesFocusesAndScrolls) {
  showPopup();
  const auto perform = [&](const char* name, const QString& action) {
    QAccessibleActionInterface* actions = named(name)->actionInterface();
    EXPECT_TRUE(actions->actionNames().contains(action)) << name;
    observer.calls.clear();
    actions->doAction(action);
    return observer.calls;
  };
  KLView& card = *root.subviews()[0];
  EXPECT_EQ(perform("Show me", QAccessibleActionInterface::pressAction()), std::vector<std::string>{"press"});
  EXPECT_EQ(observer.touched, card.subviews()[4].get());
  EXPECT_EQ(perform("Close", QAccessibleActionInterface::setFocusAction()), std::vector<std::string>{"focus"});
  EXPECT_EQ(observer.touched, card.subviews()[6].get());
  EXPECT_EQ(perform("Terms", QAccessibleActionInterface::scrollDownAction()), std::vector<std::string>{"scroll"});
  EXPECT_EQ(observer.scrolled, 40);
  EXPECT_EQ(observer.point, (KLPoint{200, 150}));
  EXPECT_TRUE(named("A vase")->actionInterface()->actionNames().isEmpty());
}

TEST_F(KLQtAccessibilityTest, InterfacesOutliveTheirViews) {
  showPopup();
  QAccessibleInterface* gone = named("Show me");
  QAccessibleInterface* stays = named("Close");
  KLView& card = *root.subviews()[0];
  card.subviews()[4]->removeFromSuperview();
  EXPECT_FALSE(gone->isValid());
  EXPECT_EQ(gone->text(QAccessible::Name), "");
  EXPECT_EQ(gone->rect(), QRect());
  gone->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(popup()->indexOfChild(gone), -1);
  write(add(card, Kind::Label, {10, 160, 100, 40}), "Come later");
  EXPECT_NE(named("Come later"), nullptr);
  EXPECT_EQ(popup()->childCount(), 6);

  // Inside of a press the popup may go, with everything that was asked for.
  observer.onCall = [&](const std::string& call) {
    if (call == "press") window->hide();
  };
  const QAccessible::Id id = QAccessible::uniqueId(stays);
  stays->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_FALSE(stays->isValid());
  drain();
  EXPECT_EQ(QAccessible::accessibleInterface(id), nullptr);
  EXPECT_EQ(popup(), nullptr);
}

}  // namespace
}  // namespace kaleo
