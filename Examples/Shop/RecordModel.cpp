#include "Shop/RecordModel.h"

namespace shop {

void RecordModel::append(Record record) {
  if (records_.size() == kMaxRecords) {
    beginRemoveRows({}, 0, 0);
    records_.pop_front();
    endRemoveRows();
  }
  if (record.text.size() > kMaxCharacters) record.text = record.text.left(kMaxCharacters) + QChar(0x2026);
  const int row = static_cast<int>(records_.size());
  beginInsertRows({}, row, row);
  records_.push_back(std::move(record));
  endInsertRows();
}

void RecordModel::clear() {
  beginResetModel();
  records_.clear();
  endResetModel();
}

int RecordModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : static_cast<int>(records_.size()); }

QVariant RecordModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const Record& record = records_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      return record.text;
    case kKindRole:
      return static_cast<int>(record.kind);
    case kTimeRole:
      return record.time;
    case kTitleRole:
      return record.title;
    default:
      return {};
  }
}

}  // namespace shop
