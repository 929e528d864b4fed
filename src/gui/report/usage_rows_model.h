// A two-level list of usage rows (an application and its details, a category and its
// applications) with the columns name, time and share of the period's total.
// Thread: main thread.
#pragma once

#include <QAbstractItemModel>
#include <functional>
#include <string>
#include <vector>

#include "gui/report/report_rows.h"

namespace velto::gui {

class UsageRowsModel : public QAbstractItemModel {
  Q_OBJECT
 public:
  enum Column { nameColumn, timeColumn, shareColumn, columnCount_ };
  enum Role { KeyRole = Qt::UserRole + 1, SecondsRole, CategoryRole, KindRole };

  explicit UsageRowsModel(std::string language, QObject* parent = nullptr);

  // `totalSeconds` is what the share column divides by (the period's time at the computer).
  void setRows(std::vector<UsageRow> rows, double totalSeconds);
  // Gives the children of top rows marked `childrenLater` when a view opens them.
  void setChildSource(std::function<std::vector<UsageRow>(const UsageRow&)> source) {
    childSource_ = std::move(source);
  }
  const std::vector<UsageRow>& rows() const { return rows_; }
  // The row behind an index; null for an invalid one.
  const UsageRow* row(const QModelIndex& index) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  bool hasChildren(const QModelIndex& parent = {}) const override;
  bool canFetchMore(const QModelIndex& parent) const override;
  void fetchMore(const QModelIndex& parent) override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation,
                      int role = Qt::DisplayRole) const override;

 private:
  std::string language_;
  std::vector<UsageRow> rows_;
  double totalSeconds_ = 0;
  std::function<std::vector<UsageRow>(const UsageRow&)> childSource_;
};

}  // namespace velto::gui
