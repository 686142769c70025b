#include "Shop/ShopWindow.h"

#include <QGridLayout>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <utility>

#include "Shop/Palette.h"

namespace shop {
namespace {

constexpr int kInset = 16, kGap = 12, kColumns = 2;
constexpr const char* kCustomer = "Ada";

QLabel* makeLabel(const QString& text, const QFont& typeface, const QColor& colour) {
  auto* const label = new QLabel(text);
  label->setFont(typeface);
  label->setStyleSheet("color:" + colour.name());
  return label;
}

QScrollArea* makeScroller(QWidget* page) {
  auto* const scroller = new QScrollArea;
  scroller->setWidget(page);
  scroller->setWidgetResizable(true);
  scroller->setFrameShape(QFrame::NoFrame);
  scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroller->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroller->viewport()->setAutoFillBackground(false);
  page->setAutoFillBackground(false);
  return scroller;
}

}  // namespace

ShopWindow::ShopWindow(ShopActions actions, const QString& customer)
    : actions_(std::move(actions)),
      customer_(customer),
      header_(new Header(this)),
      banner_(new OfferBanner),
      footer_(new Footer(this)) {
  setWindowTitle("Sill & Shelf");
  setFixedSize(kWidth, kHeight);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(header_);
  column->addWidget(makeScroller(makePage()), 1);
  column->addWidget(footer_);
  header_->setCustomer(customer_);
  connect(&header_->accountButton(), &QPushButton::clicked, this, &ShopWindow::switchCustomer);
  connect(&footer_->payButton(), &QPushButton::clicked, this, &ShopWindow::pay);
  connect(banner_, &OfferBanner::used, this, [this](const QString& code) { actions_.useOffer(code); });
}

QWidget* ShopWindow::makePage() {
  auto* const page = new QWidget;
  auto* const column = new QVBoxLayout(page);
  column->setContentsMargins(kInset, 4, kInset, kInset);
  column->setSpacing(0);
  column->addWidget(banner_);
  column->addSpacing(8);
  column->addWidget(makeLabel("Good things for slow rooms", face(22, QFont::Bold), kInk));
  column->addSpacing(2);
  column->addWidget(makeLabel("Made by hand, sent without plastic.", face(13), kMuted));
  column->addSpacing(14);
  auto* const grid = new QGridLayout;
  grid->setSpacing(kGap);
  for (const Product& product : catalogue()) {
    auto* const card = new ProductCard(product);
    const int position = static_cast<int>(cards_.size());
    grid->addWidget(card, position / kColumns, position % kColumns);
    connect(card, &ProductCard::viewed, this, [this](const Product& seen) { actions_.view(seen); });
    connect(card, &ProductCard::added, this, &ShopWindow::add);
    cards_.push_back(card);
  }
  column->addLayout(grid);
  column->addStretch();
  return page;
}

void ShopWindow::add(const Product& product) {
  cart_.add(product);
  header_->setItems(cart_.items());
  footer_->setCart(cart_);
  actions_.addToCart(product);
}

void ShopWindow::pay() {
  const Cart paid = std::exchange(cart_, {});
  header_->setItems(0);
  footer_->setCart(cart_);
  actions_.pay(paid);
}

void ShopWindow::switchCustomer() {
  customer_ = customer_.isEmpty() ? kCustomer : "";
  header_->setCustomer(customer_);
  if (!customer_.isEmpty()) return actions_.logIn(customer_);
  banner_->hide();
  actions_.logOut();
}

void ShopWindow::paintEvent(QPaintEvent*) { QPainter(this).fillRect(rect(), kPaper); }

}  // namespace shop
