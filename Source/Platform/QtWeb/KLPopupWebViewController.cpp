#include "kaleo-qt-web/KLPopupWebViewController.h"

#include <QGuiApplication>
#include <QPointer>
#include <QPropertyAnimation>
#include <QStackedWidget>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWebEngineView>
#include <utility>

#include "KLQtWebPage.h"

namespace kaleo {
namespace {

constexpr int kDefaultWidth = 414, kDefaultHeight = 736;  ///< points, of a window of its own: a telephone's
constexpr int kCloseMilliseconds = 350;

bool isWebURL(const QUrl& url) { return url.isValid() && (url.scheme() == "http" || url.scheme() == "https"); }

/// The stack that navigates between pages, of which `page` is one; null when there is none.
QStackedWidget* stackOf(const QWidget& page) { return qobject_cast<QStackedWidget*>(page.parentWidget()); }

bool isAlone(const QWidget& page) {
  const auto* const stack = stackOf(page);
  return page.isWindow() || (stack && stack->count() == 1);
}

/// Qt's other platforms warn of every step.
bool canFade() { return QStringList{"xcb", "windows", "cocoa"}.contains(QGuiApplication::platformName()); }

}  // namespace

KLPopupWebViewController::KLPopupWebViewController(std::string linkURLString, QWidget* parent)
    : QWidget(parent), linkURLString_(std::move(linkURLString)), bar_(new QToolBar(this)), webView_(new QWebEngineView(this)) {
  auto* const page = new KLQtWebPage(webView_);
  page->setBackgroundColor(Qt::white);
  webView_->setPage(page);
  connect(page, &QWebEnginePage::windowCloseRequested, this, [this] { closeAction(); });
  connect(page, &QWebEnginePage::titleChanged, this, [this](const QString& title) { setWindowTitle(title); });
  connect(bar_->addAction(QStringLiteral("关闭")), &QAction::triggered, this, [this] { closeAction(); });

  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(bar_);
  column->addWidget(webView_, 1);
  resize(kDefaultWidth, kDefaultHeight);
}

KLPopupWebViewController::~KLPopupWebViewController() = default;

void KLPopupWebViewController::showEvent(QShowEvent* event) {
  bar_->setVisible(isAlone(*this));
  load();
  QWidget::showEvent(event);
}

void KLPopupWebViewController::load() {
  if (std::exchange(loaded_, true)) return;
  const QUrl url(QString::fromStdString(linkURLString_));
  if (isWebURL(url)) webView_->load(url);
}

void KLPopupWebViewController::unload() {
  if (std::exchange(loaded_, false)) webView_->setUrl(QUrl("about:blank"));
}

void KLPopupWebViewController::closeEvent(QCloseEvent* event) {
  unload();
  QWidget::closeEvent(event);
}

QWidget& KLPopupWebViewController::dismissed() {
  if (isWindow() || !isAlone(*this)) return *this;
  return *stackOf(*this);
}

void KLPopupWebViewController::closeAction() {
  if (std::exchange(closing_, true)) return;
  QPointer<QWidget> target = &dismissed();
  const auto close = [this, target] {
    closing_ = false;
    unload();
    if (!target) return;
    target->close();
    if (canFade()) target->setWindowOpacity(1);  // as it was, should it be shown again
  };
  if (!target->isWindow() || !target->isVisible() || !canFade()) return close();
  auto* const fade = new QPropertyAnimation(target, "windowOpacity", this);
  fade->setDuration(kCloseMilliseconds);
  fade->setEndValue(0.0);
  connect(fade, &QPropertyAnimation::finished, this, close);
  fade->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace kaleo
