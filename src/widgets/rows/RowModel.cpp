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
            return move(change.first, change.count, change.to);
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

void RowModel::move(std::size_t from, std::size_t count, std::size_t to) {
    const std::size_t before = to > from ? to + count : to;  // Qt counts with the rows still in their old place
    const int first = static_cast<int>(from);
    const int last = static_cast<int>(from + count) - 1;
    whileTelling_ = [=](std::size_t one) {
        if (one >= from && one < from + count) return to + (one - from);
        if (one > from) one -= count;
        return one < to ? one : one + count;
    };
    const bool moves = from != to && beginMoveRows({}, first, last, {}, static_cast<int>(before));
    whileTelling_ = nullptr;
    if (moves) {
        const auto at = [this](std::size_t row) { return rows_.begin() + static_cast<std::ptrdiff_t>(row); };
        if (to < from)
            std::rotate(at(to), at(from), at(from + count));
        else
            std::rotate(at(from), at(from + count), at(to + count));
        for (std::size_t i = to; i < to + count; ++i) rows_[i] = read(i);
        endMoveRows();
    }
    change(to, count);
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
    if (!std::ranges::equal(rows, rows_, {}, &Row::key, &Row::key)) exchange(rows);
    rows_ = std::move(rows);
    if (!rows_.empty()) emit dataChanged(index(0), index(static_cast<int>(rows_.size()) - 1));
}

void RowModel::exchange(const std::vector<Row>& rows) {
    const Places after = placesOf(rows);
    whileTelling_ = [&](std::size_t row) -> std::optional<std::size_t> {
        const auto place = after.find(rows_[row].key);
        return place == after.end() ? std::nullopt : std::optional(place->second);
    };
    std::vector<bool> isKept(rows.size());
    std::vector<Row> staying;
    std::vector<Row> leaving;
    std::vector<std::size_t> gathered(rows_.size());  // where each row stands among those that stay, or that leave
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const auto place = after.find(rows_[i].key);
        std::vector<Row>& group = place == after.end() ? leaving : staying;
        gathered[i] = group.size();
        group.push_back(rows_[i]);
        if (place != after.end()) isKept[place->second] = true;
    }
    if (!leaving.empty()) {
        const std::size_t count = staying.size();
        const auto isLeaving = [&](std::size_t row) { return !after.contains(rows_[row].key); };
        std::ranges::move(leaving, std::back_inserter(staying));
        if (count > 0)
            arrange(std::move(staying), [&](std::size_t row) { return gathered[row] + (isLeaving(row) ? count : 0); });
        removeFrom(count);
    }
    std::vector<Row> added;
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (!isKept[i]) added.push_back(rows[i]);
    insertAll(std::move(added));
    arrange(rows, [&](std::size_t row) { return after.at(rows_[row].key); });
    whileTelling_ = nullptr;
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

// Puts the same rows into another order. `placeOf` tells where each goes.
void RowModel::arrange(std::vector<Row> rows, const std::function<std::size_t(std::size_t)>& placeOf) {
    if (std::ranges::equal(rows, rows_, {}, &Row::key, &Row::key)) return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList old = persistentIndexList();
    QModelIndexList moved;
    for (const QModelIndex& one : old)
        moved.push_back(index(static_cast<int>(placeOf(static_cast<std::size_t>(one.row())))));
    rows_ = std::move(rows);
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
