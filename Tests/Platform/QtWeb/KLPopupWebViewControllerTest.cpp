#include "kaleo-qt-web/KLPopupWebViewController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QPointer>
#include <QStackedWidget>
#include <QTimer>
#include <QToolBar>
#include <QWebEngineView>
#include <algorithm>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "Platform/Qt/RunUntil.h"
#include "Support/LoopbackServer.h"

namespace kaleo {
namespace {

using ::testing::ElementsAre;

using Pages = std::map<std::string, std::string>;  ///< by path

/// A server of pages that writes down what it was asked for.
class Site {
 public:
  explicit Site(Pages pages)
      : server_([this, pages = std::move(pages)](httplib::Server& server) {
          server.Get("/favicon.ico", [](const httplib::Request&, httplib::Response& response) { response.status = 404; });
          server.Get(".*", [this, pages](const httplib::Request& request, httplib::Response& response) {
            const std::lock_guard lock(mutex_);
            requested_.push_back(request.target);
            const auto page = pages.find(request.path);
            if (page == pages.end()) return void(response.status = 404);
            response.set_header("Cache-Control", "no-store");
            response.set_content("<!doctype html>" + page->second, "text/html; charset=utf-8");
          });
        }) {}

  std::string url(const std::string& path) const { return server_.url(path); }
  std::vector<std::string> requested() const {
    const std::lock_guard lock(mutex_);
    return requested_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> requested_;  ///< guarded by mutex_
  LoopbackServer server_;
};

bool runUntilTitled(const KLPopupWebViewController& page, const QString& title) {
  return runUntil([&] { return page.webView()->title() == title; });
}

/// The answer of a script in the page.
QString evaluated(const KLPopupWebViewController& page, const QString& script) {
  const auto answer = std::make_shared<std::optional<QString>>();  // it may come as late as the page's end
  page.webView()->page()->runJavaScript(script, [answer](const QVariant& value) { *answer = value.toString(); });
  return runUntil([&] { return answer->has_value(); }) ? **answer : "no answer";
}

QAction* closeButton(const KLPopupWebViewController& page) {
  auto* const bar = page.findChild<QToolBar*>();
  return bar && bar->isVisible() && bar->actions().size() == 1 ? bar->actions().front() : nullptr;
}

TEST(KLPopupWebViewController, LoadsItsPageWhenItIsShownAndFillsItself) {
  Site site(Pages{{"/terms", "<title>Terms</title><body style='background:#00ff00'>"}});
  KLPopupWebViewController page(site.url("/terms?from=popup"));
  page.resize(300, 400);
  EXPECT_EQ(page.linkURLString(), site.url("/terms?from=popup"));
  QCoreApplication::processEvents();
  EXPECT_THAT(site.requested(), ElementsAre());

  page.show();
  ASSERT_TRUE(runUntilTitled(page, "Terms"));
  EXPECT_EQ(page.windowTitle(), "Terms");
  EXPECT_THAT(site.requested(), ElementsAre("/terms?from=popup"));
  EXPECT_EQ(page.webView()->geometry().bottomRight(), page.rect().bottomRight());
  EXPECT_EQ(page.webView()->width(), 300);
  page.resize(500, 600);
  EXPECT_TRUE(runUntil([&] { return page.webView()->geometry().bottomRight() == page.rect().bottomRight(); }));
  EXPECT_TRUE(runUntil([&] { return evaluated(page, "innerWidth") == "500"; }));
}

TEST(KLPopupWebViewController, OffersToCloseWhereNothingElseLeadsBack) {
  KLPopupWebViewController window("");
  window.show();
  ASSERT_TRUE(closeButton(window));
  EXPECT_EQ(closeButton(window)->text(), QStringLiteral("关闭"));
  closeButton(window)->trigger();
  window.closeAction();  // while it fades, where windows can: once is enough
  EXPECT_TRUE(runUntil([&] { return !window.isVisible(); }));
  EXPECT_EQ(window.windowOpacity(), 1);

  QStackedWidget stack;
  auto* const only = new KLPopupWebViewController("");
  stack.addWidget(only);
  stack.show();
  ASSERT_TRUE(closeButton(*only));
  closeButton(*only)->trigger();
  EXPECT_TRUE(runUntil([&] { return !stack.isVisible(); }));

  stack.addWidget(new QWidget);
  stack.show();
  EXPECT_FALSE(closeButton(*only)) << "the stack leads back";
  QWidget other;
  KLPopupWebViewController inside("", &other);
  other.show();
  EXPECT_FALSE(closeButton(inside));
  inside.closeAction();
  EXPECT_FALSE(inside.isVisible());
  EXPECT_TRUE(other.isVisible());
}

TEST(KLPopupWebViewController, IsShownAnewAfterItWasClosedAndMayBeDeletedByIt) {
  Site site(Pages{{"/", "<title>Shop</title>"}});
  KLPopupWebViewController page(site.url("/"));
  for (int time = 0; time < 2; ++time) {
    page.show();
    ASSERT_TRUE(runUntil([&] { return site.requested().size() > std::size_t(time); }));
    page.close();
    ASSERT_TRUE(runUntil([&] { return page.webView()->url() == QUrl("about:blank"); })) << "a closed page does not play on";
  }
  EXPECT_THAT(site.requested(), ElementsAre("/", "/"));

  QPointer<KLPopupWebViewController> passing = new KLPopupWebViewController(site.url("/"));
  passing->setAttribute(Qt::WA_DeleteOnClose);
  passing->show();
  passing->closeAction();
  EXPECT_TRUE(runUntil([&] { return passing.isNull(); }));
}

TEST(KLPopupWebViewController, APageClosesItself) {
  Site site(Pages{{"/", "<title>Done</title><script>setTimeout(() => window.close(), 0)</script>"}});
  KLPopupWebViewController page(site.url("/"));
  page.show();
  EXPECT_TRUE(runUntil([&] { return !page.isVisible(); }));
}

TEST(KLPopupWebViewController, DialogsAndWindowsOfThePageNeverHoldTheApplicationUp) {
  Site site(Pages{{"/", "<title>First</title><script>alert(1); document.title = [confirm(2), prompt(3)].join()</script>"},
                  {"/next", "<title>Next</title>"}});
  KLPopupWebViewController page(site.url("/"));
  page.show();
  ASSERT_TRUE(runUntilTitled(page, "false,")) << "refused, and the script went on";
  EXPECT_FALSE(QApplication::activeModalWidget());

  page.webView()->page()->runJavaScript("window.open('/next')");
  ASSERT_TRUE(runUntilTitled(page, "Next"));
  EXPECT_EQ(std::ranges::count_if(QApplication::topLevelWidgets(), &QWidget::isVisible), 1);
}

TEST(KLPopupWebViewController, SurvivesPagesThatCannotBeHad) {
  std::promise<void> ended;
  LoopbackServer silent([end = ended.get_future().share()](httplib::Server& server) {
    server.Get(".*", [end](const httplib::Request&, httplib::Response&) { end.wait(); });
  });
  for (const std::string& url : {std::string("http://127.0.0.1:1/"), silent.url("/"), std::string("http://["), std::string(),
                                 std::string("file:///etc/hostname"), std::string("javascript:document.write('x')")}) {
    SCOPED_TRACE(url);
    KLPopupWebViewController page(url);
    int turns = 0;
    QTimer turn;
    QObject::connect(&turn, &QTimer::timeout, [&turns] { ++turns; });
    turn.start(1);
    page.show();
    EXPECT_TRUE(runUntil([&] { return turns > 50; })) << "the application goes on";
    EXPECT_NE(page.webView()->url().scheme(), "file");
    page.closeAction();
    EXPECT_TRUE(runUntil([&] { return !page.isVisible(); }));
  }
  ended.set_value();
}

}  // namespace
}  // namespace kaleo
