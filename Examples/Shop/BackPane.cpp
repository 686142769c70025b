#include "Shop/BackPane.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include "Shop/Palette.h"
#include "Shop/RecordDelegate.h"
#include "Shop/ShopWindow.h"

namespace shop {
namespace {

constexpr int kInset = 20;

struct Filter {
  RecordKind kind;
  const char* name;
  bool shownAtFirst;
};

constexpr Filter kFilters[] = {
    {RecordKind::Event, "Events", true},       {RecordKind::Decision, "Decisions", true}, {RecordKind::Error, "Errors", true},
    {RecordKind::Progress, "Progress", false}, {RecordKind::Detail, "Details", false},
};

QPushButton* makeToggle(const Filter& filter) {
  auto* const button = new QPushButton(filter.name);
  button->setCheckable(true);
  button->setChecked(filter.shownAtFirst);
  button->setCursor(Qt::PointingHandCursor);
  button->setFont(face(12, QFont::DemiBold));
  const QColor colour = colourOf(filter.kind);
  button->setStyleSheet(QString("QPushButton{border:1px solid %1;border-radius:14px;height:26px;padding:0 12px;color:%2;"
                                "background:transparent}QPushButton:checked{border-color:%3;background:%3;color:white}")
                            .arg(kLine.darker(108).name(), kMuted.name(), colour.name()));
  return button;
}

}  // namespace

class BackPane::KindFilter : public QSortFilterProxyModel {
 public:
  explicit KindFilter(QObject* parent) : QSortFilterProxyModel(parent) {}

  void show(RecordKind kind, bool shown) {
    if (shown) {
      shown_.insert(static_cast<int>(kind));
    } else {
      shown_.erase(static_cast<int>(kind));
    }
    invalidateFilter();
  }

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
    return shown_.count(sourceModel()->index(row, 0, parent).data(RecordModel::kKindRole).toInt()) > 0;
  }

 private:
  std::set<int> shown_;
};

BackPane::BackPane() : QWidget(nullptr, Qt::Tool), filter_(new KindFilter(this)), list_(new QListView) {
  setWindowTitle("Behind the counter");
  resize(kWidth, ShopWindow::kHeight);
  filter_->setSourceModel(&records_);
  list_->setModel(filter_);
  list_->setItemDelegate(new RecordDelegate(list_));
  list_->setFrameShape(QFrame::NoFrame);
  list_->setSelectionMode(QAbstractItemView::NoSelection);
  list_->setFocusPolicy(Qt::NoFocus);
  list_->setResizeMode(QListView::Adjust);
  list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setStyleSheet("QListView{background:white;border:1px solid " + kLine.name() +
                       ";border-radius:12px;padding:6px 0}"
                       "QScrollBar:vertical{background:transparent;width:8px;margin:4px 2px}"
                       "QScrollBar::handle:vertical{background:#D9D2CA;border-radius:2px;min-height:24px}"
                       "QScrollBar::add-line,QScrollBar::sub-line{height:0}");

  auto* const title = new QLabel("Behind the counter");
  title->setFont(face(20, QFont::Bold));
  title->setStyleSheet("color:" + kInk.name());
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(kInset, kInset, kInset, kInset);
  column->setSpacing(12);
  column->addWidget(title);
  column->addWidget(makeFilterButtons());
  column->addWidget(list_, 1);
}

QWidget* BackPane::makeFilterButtons() {
  auto* const row = new QWidget;
  auto* const layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  for (const Filter& filter : kFilters) {
    auto* const button = makeToggle(filter);
    filter_->show(filter.kind, filter.shownAtFirst);
    connect(button, &QPushButton::toggled, this, [this, kind = filter.kind](bool shown) { filter_->show(kind, shown); });
    layout->addWidget(button);
  }
  layout->addStretch();
  auto* const clear = new QPushButton("Clear");
  clear->setFlat(true);
  clear->setCursor(Qt::PointingHandCursor);
  clear->setFont(face(12));
  clear->setStyleSheet("border:none;color:" + kMuted.name());
  connect(clear, &QPushButton::clicked, this, [this] { records_.clear(); });
  layout->addWidget(clear);
  return row;
}

void BackPane::append(Record record) {
  const QScrollBar* const bar = list_->verticalScrollBar();
  const bool atEnd = bar->value() >= bar->maximum() - 8;
  records_.append(std::move(record));
  if (atEnd) list_->scrollToBottom();
}

void BackPane::showEvent(QShowEvent*) { QMetaObject::invokeMethod(list_, &QListView::scrollToBottom, Qt::QueuedConnection); }

void BackPane::paintEvent(QPaintEvent*) { QPainter(this).fillRect(rect(), kPaper); }

}  // namespace shop
