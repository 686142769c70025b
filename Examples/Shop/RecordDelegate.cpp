#include "Shop/RecordDelegate.h"

#include <QPainter>

#include "Shop/BackPane.h"
#include "Shop/Palette.h"

namespace shop {
namespace {

constexpr int kTimeLeft = 14, kTimeWidth = 62, kTextLeft = 92, kTextRight = 16, kPadding = 5;
constexpr int kWrap = Qt::TextWordWrap | Qt::TextWrapAnywhere;

RecordKind kindOf(const QModelIndex& index) { return static_cast<RecordKind>(index.data(RecordModel::kKindRole).toInt()); }

QFont faceOf(RecordKind kind) { return kind == RecordKind::Event ? face(13, QFont::DemiBold) : face(12); }

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
  painter->setPen(kind == RecordKind::Detail ? kMuted : kind == RecordKind::Error ? colourOf(kind) : kInk);
  painter->setFont(faceOf(kind));
  painter->drawText(row.adjusted(kTextLeft, kPadding - 1, -kTextRight, 0), kWrap, index.data().toString());
}

QSize RecordDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const int width = (option.widget != nullptr ? option.widget->width() : BackPane::kWidth) - kTextLeft - kTextRight - 12;
  const QRect text = QFontMetrics(faceOf(kindOf(index))).boundingRect(QRect(0, 0, width, 0), kWrap, index.data().toString());
  return {kTextLeft + width, std::max(text.height(), 16) + 2 * kPadding};
}

}  // namespace shop
