#pragma once

#include <QListView>
#include <QSortFilterProxyModel>
#include <QWidget>
#include <set>

#include "Shop/RecordModel.h"

namespace shop {

/// What goes on behind the counter: the tracked events and the library's log, each kind of which can be left out. A window of its
/// own beside the shop; a tool window, so that popups cover the shop and never this.
class BackPane : public QWidget {
 public:
  static constexpr int kWidth = 560;

  BackPane();

  void append(Record record);
  QListView& list() { return *list_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  class KindFilter;

  QWidget* makeFilterButtons();

  RecordModel records_;
  KindFilter* const filter_;
  QListView* const list_;
};

}  // namespace shop
