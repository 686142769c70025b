#include "Shop/RecordDelegate.h"

#include <QPainter>

#include "Shop/BackPane.h"
#include "Shop/Palette.h"

namespace shop {
namespace {

constexpr int kTimeLeft = 14, kTimeWidth = 62, kTextLeft = 92, kTextRight = 16, kPadding = 5, kTitleHeight = 18;

RecordKind kindOf(const QModelIndex& index) { return static_cast<RecordKind>(index.data(RecordModel::kKindRole).toInt()); }
QString titleOf(const QModelIndex& index) { return index.data(RecordModel::kTitleRole).toString(); }

int textHeight(const QString& text, int width) {
  return text.isEmpty() ? 0 : QFontMetrics(face(12)).boundingRect(QRect(0, 0, width, 0), Qt::TextWordWrap, text).height();
}

}  // namespace

QColor colourOf(RecordKind kind) {
  switch (kind) {
    case RecordKind::Event:
      return kCoral;
    case RecordKind::Error:
      return {0xB3, 0x26, 0x3A};
    case RecordKind::Decision:
      return kGreen;
    case RecordKind::Progress:
      return {0x5B, 0x7D, 0xA6};
    case RecordKind::Detail:
      break;
  }
  return kMuted;
}

void RecordDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const RecordKind kind = kindOf(index);
  const QRect row = option.rect;
  painter->setPen(kMuted);
  painter->setFont(face(11));
  painter->drawText(QRect(row.left() + kTimeLeft, row.top() + kPadding + 1, kTimeWidth, 16), Qt::AlignLeft | Qt::AlignTop,
                    index.data(RecordModel::kTimeRole).toDateTime().toString("HH:mm:ss"));
  painter->fillRect(QRect(row.left() + kTextLeft - 14, row.top() + kPadding, 3, row.height() - 2 * kPadding), colourOf(kind));
  QRect text = row.adjusted(kTextLeft, kPadding - 1, -kTextRight, 0);
  if (const QString title = titleOf(index); !title.isEmpty()) {
    painter->setPen(kInk);
    painter->setFont(face(13, QFont::DemiBold));
    painter->drawText(text, Qt::AlignLeft | Qt::AlignTop, title);
    text.setTop(text.top() + kTitleHeight);
  }
  const bool quiet = kind == RecordKind::Event || kind == RecordKind::Detail || kind == RecordKind::Progress;
  painter->setPen(quiet ? kMuted : kind == RecordKind::Error ? colourOf(kind) : kInk);
  painter->setFont(face(12));
  painter->drawText(text, Qt::TextWordWrap, index.data().toString());
}

QSize RecordDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const auto* const list = qobject_cast<const QListView*>(option.widget);
  const int row = list != nullptr ? list->viewport()->width() : BackPane::kWidth;
  const int title = titleOf(index).isEmpty() ? 0 : kTitleHeight;
  const int height = title + textHeight(index.data().toString(), row - kTextLeft - kTextRight);
  return {row, std::max(height, 16) + 2 * kPadding};
}

}  // namespace shop
