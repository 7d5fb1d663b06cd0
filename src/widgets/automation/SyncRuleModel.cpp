#include "widgets/automation/SyncRuleModel.h"

#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

QString textIn(int column, const SyncRuleRow& row) {
    switch (column) {
        case SyncRuleModel::remoteFolder:
            return textOf(row.folderName);
        case SyncRuleModel::localFolder:
            return textOf(row.localFolder);
        case SyncRuleModel::interval:
            return textOf(row.interval);
        case SyncRuleModel::status:
            return textOf(row.status);
        default:
            return {};
    }
}

QString helpIn(int column, const SyncRuleRow& row) {
    if (column == SyncRuleModel::remoteFolder && !row.failure.empty()) return textOf(row.failure);
    if (column == SyncRuleModel::remoteFolder && row.deletes) return textOf(SyncRuleRow::deletionHelp);
    if (column == SyncRuleModel::localFolder) return textOf(row.localFolderHelp);
    if (column == SyncRuleModel::status) return textOf(row.statusHelp);
    return {};
}

}  // namespace

SyncRuleModel::SyncRuleModel(SyncRulesScreen& screen, QObject* parent)
    : QAbstractTableModel(parent), screen_(screen), count_(static_cast<int>(screen.rowCount())) {}

void SyncRuleModel::follow(const ScreenChange& change) {
    const int first = static_cast<int>(change.first);
    const int last = first + static_cast<int>(change.count) - 1;
    switch (change.kind) {
        case ScreenChange::Kind::inserted:
            beginInsertRows({}, first, last);
            count_ += last - first + 1;
            endInsertRows();
            break;
        case ScreenChange::Kind::removed:
            beginRemoveRows({}, first, last);
            count_ -= last - first + 1;
            endRemoveRows();
            break;
        case ScreenChange::Kind::changed:
            emit dataChanged(index(first, 0), index(last, columnEnd - 1));
            break;
        case ScreenChange::Kind::moved:
        case ScreenChange::Kind::reset:
            beginResetModel();
            count_ = static_cast<int>(screen_.rowCount());
            endResetModel();
            break;
        case ScreenChange::Kind::chrome:
            break;
    }
}

SyncRuleRow SyncRuleModel::rowAt(int row) const {
    const auto index = static_cast<std::size_t>(row);
    return row >= 0 && index < screen_.rowCount() ? screen_.row(index) : SyncRuleRow();
}

int SyncRuleModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count_;
}

int SyncRuleModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnEnd;
}

QVariant SyncRuleModel::data(const QModelIndex& index, int role) const {
    const int column = index.column();
    switch (role) {
        case Qt::DisplayRole:
            return textIn(column, rowAt(index.row()));
        case Qt::AccessibleTextRole:
            return column == enabled ? textOf(SyncRuleRow::switchName) : textIn(column, rowAt(index.row()));
        case Qt::ToolTipRole:
        case Qt::AccessibleDescriptionRole:
            return helpIn(column, rowAt(index.row()));
        case Qt::CheckStateRole:
            if (column != enabled) return {};
            return rowAt(index.row()).isEnabled ? Qt::Checked : Qt::Unchecked;
        default:
            return {};
    }
}

bool SyncRuleModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (index.column() != enabled || role != Qt::CheckStateRole) return false;
    screen_.setEnabled(rowAt(index.row()).id, value.toInt() == Qt::Checked);
    return true;
}

QVariant SyncRuleModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnEnd) return {};
    if (role == Qt::AccessibleTextRole && section == enabled) return textOf(SyncRuleRow::switchName);
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole) return {};
    return textOf(SyncRuleRow::columns[section].title);
}

Qt::ItemFlags SyncRuleModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags usual = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return index.column() == enabled ? usual | Qt::ItemIsUserCheckable : usual;
}

}  // namespace tovri
