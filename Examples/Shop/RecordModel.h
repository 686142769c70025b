#pragma once

#include <QAbstractListModel>
#include <QDateTime>
#include <deque>

namespace shop {

/// Decision: a line of the log's level 4 that says which way a popup went. Progress: any other of that level.
enum class RecordKind { Event, Error, Decision, Progress, Detail };

/// A tracked event or a line of the library's log.
struct Record {
  RecordKind kind = RecordKind::Progress;
  QDateTime time;
  QString title;  ///< empty: none
  QString text;
};

/// The latest records, in the order in which they came.
class RecordModel : public QAbstractListModel {
 public:
  static constexpr std::size_t kMaxRecords = 2000;
  static constexpr int kMaxCharacters = 240;  ///< longer texts are cut
  static constexpr int kKindRole = Qt::UserRole, kTimeRole = Qt::UserRole + 1, kTitleRole = Qt::UserRole + 2;

  using QAbstractListModel::QAbstractListModel;

  void append(Record record);
  void clear();

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  std::deque<Record> records_;
};

}  // namespace shop
