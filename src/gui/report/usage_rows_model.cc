#include "gui/report/usage_rows_model.h"

#include <cmath>

#include "gui/report/report_text.h"

namespace velto::gui {

namespace {

// Child indexes carry their parent's row + 1 in the internal id; top rows carry 0.
constexpr quintptr kTopLevel = 0;

}  // namespace

UsageRowsModel::UsageRowsModel(std::string language, QObject* parent)
    : QAbstractItemModel(parent), language_(std::move(language)) {}

void UsageRowsModel::setRows(std::vector<UsageRow> rows, double totalSeconds) {
  beginResetModel();
  rows_ = std::move(rows);
  totalSeconds_ = totalSeconds;
  endResetModel();
}

const UsageRow* UsageRowsModel::row(const QModelIndex& index) const {
  if (!index.isValid()) return nullptr;
  if (index.internalId() == kTopLevel) return &rows_[static_cast<size_t>(index.row())];
  const UsageRow& parent = rows_[index.internalId() - 1];
  return &parent.children[static_cast<size_t>(index.row())];
}

QModelIndex UsageRowsModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column < 0 || column >= columnCount_) return {};
  if (!parent.isValid()) {
    if (static_cast<size_t>(row) >= rows_.size()) return {};
    return createIndex(row, column, kTopLevel);
  }
  if (parent.internalId() != kTopLevel) return {};
  const UsageRow& top = rows_[static_cast<size_t>(parent.row())];
  if (static_cast<size_t>(row) >= top.children.size()) return {};
  return createIndex(row, column, static_cast<quintptr>(parent.row()) + 1);
}

QModelIndex UsageRowsModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || child.internalId() == kTopLevel) return {};
  return createIndex(static_cast<int>(child.internalId() - 1), 0, kTopLevel);
}

int UsageRowsModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(rows_.size());
  if (parent.internalId() != kTopLevel || parent.column() != 0) return 0;
  return static_cast<int>(rows_[static_cast<size_t>(parent.row())].children.size());
}

bool UsageRowsModel::hasChildren(const QModelIndex& parent) const {
  if (parent.isValid() && parent.internalId() == kTopLevel && parent.column() == 0 &&
      rows_[static_cast<size_t>(parent.row())].childrenLater) {
    return true;
  }
  return rowCount(parent) > 0;
}

bool UsageRowsModel::canFetchMore(const QModelIndex& parent) const {
  return parent.isValid() && parent.internalId() == kTopLevel && parent.column() == 0 &&
         rows_[static_cast<size_t>(parent.row())].childrenLater && childSource_;
}

void UsageRowsModel::fetchMore(const QModelIndex& parent) {
  if (!canFetchMore(parent)) return;
  UsageRow& top = rows_[static_cast<size_t>(parent.row())];
  top.childrenLater = false;
  std::vector<UsageRow> children = childSource_(top);
  if (children.empty()) {
    // No breakdown after all: the row loses its expander.
    Q_EMIT dataChanged(parent, parent.siblingAtColumn(columnCount_ - 1));
    return;
  }
  beginInsertRows(parent, 0, static_cast<int>(children.size()) - 1);
  top.children = std::move(children);
  endInsertRows();
}

int UsageRowsModel::columnCount(const QModelIndex&) const {
  return columnCount_;
}

QVariant UsageRowsModel::data(const QModelIndex& index, int role) const {
  const UsageRow* row = this->row(index);
  if (!row) return {};
  switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
      switch (index.column()) {
        case nameColumn:
          return qs(row->name);
        case timeColumn:
          return durationText(language_, row->seconds);
        case shareColumn:
          if (totalSeconds_ <= 0) return QString();
          return QStringLiteral("%1%").arg(std::llround(row->seconds / totalSeconds_ * 100));
      }
      return {};
    case Qt::TextAlignmentRole:
      if (index.column() == nameColumn) return {};
      return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    case KeyRole:
      return qs(row->key);
    case SecondsRole:
      return row->seconds;
    case CategoryRole:
      return qs(row->category);
    case KindRole:
      return static_cast<int>(row->kind);
  }
  return {};
}

QVariant UsageRowsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case nameColumn:
      return uiText(language_, "main.list.name");
    case timeColumn:
      return uiText(language_, "main.list.time");
    case shareColumn:
      return uiText(language_, "main.list.share");
  }
  return {};
}

}  // namespace velto::gui
