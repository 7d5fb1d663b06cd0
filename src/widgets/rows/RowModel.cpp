#include "widgets/rows/RowModel.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace tovri {
namespace {

// Where each key stands.
using Places = std::unordered_map<RowKey, std::size_t>;

template <class Rows>
Places placesOf(const Rows& rows) {
    Places places;
    places.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) places.emplace(rows[i].key, i);
    return places;
}

}  // namespace

RowModel::RowModel(const RowSource& source, QObject* parent)
    : QAbstractListModel(parent), source_(source), rows_(readAll()) {}

RowModel::Row RowModel::read(std::size_t row) const {
    return {source_.keyAt(row), source_.shapeAt(row)};
}

std::vector<RowModel::Row> RowModel::readAll() const {
    std::vector<Row> rows(source_.rowCount());
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = read(i);
    return rows;
}

void RowModel::follow(const ScreenChange& change) {
    switch (change.kind) {
        case ScreenChange::Kind::reset:
            return reset();
        case ScreenChange::Kind::inserted:
            return insert(change.first, change.count);
        case ScreenChange::Kind::removed:
            return remove(change.first, change.count);
        case ScreenChange::Kind::changed:
            return this->change(change.first, change.count);
        case ScreenChange::Kind::moved:
            return move(change.first, change.to);
        case ScreenChange::Kind::chrome:
            return;
    }
}

void RowModel::insert(std::size_t first, std::size_t count) {
    if (count == 0) return;
    std::vector<Row> added;
    for (std::size_t i = first; i < first + count; ++i) added.push_back(read(i));
    whileTelling_ = [=](std::size_t row) { return row < first ? row : row + count; };
    beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + count - 1));
    whileTelling_ = nullptr;
    rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(first), added.begin(), added.end());
    endInsertRows();
}

void RowModel::remove(std::size_t first, std::size_t count) {
    if (count == 0) return;
    whileTelling_ = [=](std::size_t row) -> std::optional<std::size_t> {
        if (row >= first && row < first + count) return std::nullopt;
        return row < first ? row : row - count;
    };
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(first + count - 1));
    whileTelling_ = nullptr;
    const auto begin = rows_.begin() + static_cast<std::ptrdiff_t>(first);
    rows_.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
    endRemoveRows();
}

void RowModel::move(std::size_t from, std::size_t to) {
    const std::size_t before = to > from ? to + 1 : to;  // Qt counts with the row still in its old place
    const int row = static_cast<int>(from);
    whileTelling_ = [=](std::size_t one) {
        if (one == from) return to;
        if (one > from) --one;
        return one < to ? one : one + 1;
    };
    const bool moves = from != to && beginMoveRows({}, row, row, {}, static_cast<int>(before));
    whileTelling_ = nullptr;
    if (moves) {
        rows_.erase(rows_.begin() + row);
        rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(to), read(to));
        endMoveRows();
    }
    change(to, 1);
}

void RowModel::change(std::size_t first, std::size_t count) {
    if (count == 0) return;
    for (std::size_t i = first; i < first + count; ++i) rows_[i] = read(i);
    emit dataChanged(index(static_cast<int>(first)), index(static_cast<int>(first + count - 1)));
}

// The rows that go are gathered at the end and taken away at once, those that come are added there, and then all are
// put in order: four steps whatever changed, and every row that stays keeps its selection.
void RowModel::reset() {
    std::vector<Row> rows = readAll();
    const Places after = placesOf(rows);
    whileTelling_ = [&](std::size_t row) -> std::optional<std::size_t> {
        const auto place = after.find(rows_[row].key);
        return place == after.end() ? std::nullopt : std::optional(place->second);
    };
    const auto stays = [&](const Row& row) { return after.contains(row.key); };
    const auto staying = static_cast<std::size_t>(std::ranges::count_if(rows_, stays));
    if (staying < rows_.size()) {
        if (staying > 0) {
            std::vector<Row> gathered;
            std::ranges::copy_if(rows_, std::back_inserter(gathered), stays);
            std::ranges::copy_if(rows_, std::back_inserter(gathered), std::not_fn(stays));
            arrange(gathered);
        }
        removeFrom(staying);
    }
    const Places kept = placesOf(rows_);
    std::vector<Row> added;
    std::ranges::copy_if(rows, std::back_inserter(added), [&](const Row& row) { return !kept.contains(row.key); });
    insertAll(std::move(added));
    arrange(rows);
    whileTelling_ = nullptr;
    if (!rows_.empty()) emit dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1));
}

void RowModel::removeFrom(std::size_t first) {
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(rows_.size()) - 1);
    rows_.resize(first);
    endRemoveRows();
}

void RowModel::insertAll(std::vector<Row> rows) {
    if (rows.empty()) return;
    beginInsertRows({}, static_cast<int>(rows_.size()), static_cast<int>(rows_.size() + rows.size()) - 1);
    std::ranges::move(rows, std::back_inserter(rows_));
    endInsertRows();
}

// Puts the same rows into another order.
void RowModel::arrange(const std::vector<Row>& rows) {
    if (std::ranges::equal(rows, rows_, {}, &Row::key, &Row::key)) {
        rows_ = rows;
        return;
    }
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const Places places = placesOf(rows);
    const QModelIndexList old = persistentIndexList();
    QModelIndexList moved;
    for (const QModelIndex& one : old) {
        const auto place = places.find(rows_[static_cast<std::size_t>(one.row())].key);
        moved.push_back(place == places.end() ? QModelIndex() : index(static_cast<int>(place->second)));
    }
    rows_ = rows;
    changePersistentIndexList(old, moved);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

int RowModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant RowModel::data(const QModelIndex& index, int role) const {
    const std::optional<std::size_t> place = placeOf(index.row());
    if (!place) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return source_.titleAt(*place);
        case Qt::AccessibleDescriptionRole:
            return source_.contentAt(*place).captionText();
        default:
            return {};
    }
}

Qt::ItemFlags RowModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return QAbstractListModel::flags(index);
    if (shapeAt(index.row()) == RowShape::header) return Qt::ItemNeverHasChildren;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

std::optional<std::size_t> RowModel::placeOf(int row) const {
    const auto told = static_cast<std::size_t>(row);
    if (row < 0 || told >= rows_.size()) return std::nullopt;
    const std::optional<std::size_t> place = whileTelling_ ? whileTelling_(told) : told;
    return place && *place < source_.rowCount() ? place : std::nullopt;
}

RowContent RowModel::contentAt(int row) const {
    const std::optional<std::size_t> place = placeOf(row);
    return place ? source_.contentAt(*place) : RowContent();
}

RowShape RowModel::shapeAt(int row) const {
    const auto place = static_cast<std::size_t>(row);
    return row >= 0 && place < rows_.size() ? rows_[place].shape : RowShape::plain;
}

RowKey RowModel::keyAt(int row) const {
    const auto place = static_cast<std::size_t>(row);
    return row >= 0 && place < rows_.size() ? rows_[place].key : RowKey();
}

}  // namespace tovri
