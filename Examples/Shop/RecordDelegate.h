#pragma once

#include <QStyledItemDelegate>

#include "Shop/RecordModel.h"

namespace shop {

/// The colour that stands for a kind of record.
QColor colourOf(RecordKind kind);

/// Draws a record: time, a bar in its kind's colour, and its text over as many lines as it takes.
class RecordDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace shop
