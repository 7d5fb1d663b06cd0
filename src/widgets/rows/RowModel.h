#pragma once

#include <QAbstractListModel>
#include <functional>
#include <optional>
#include <vector>

#include "screens/ScreenChange.h"
#include "widgets/rows/RowSource.h"

namespace tovri {

// A screen's rows for a view. It repeats what the screen tells, step by step; a reset keeps the rows that are there
// before and after, and with them the selection. Contents are read when they are drawn. A screen whose rows can be
// dragged or dropped on derives from it.
class RowModel : public QAbstractListModel {
    Q_OBJECT

public:
    // `source` outlives the model.
    explicit RowModel(const RowSource& source, QObject* parent = nullptr);

    // Changes of the chrome are none of its business.
    void follow(const ScreenChange& change);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

    // Empty for a row that does not exist, as does shapeAt().
    [[nodiscard]] RowContent contentAt(int row) const;
    [[nodiscard]] RowShape shapeAt(int row) const;
    [[nodiscard]] RowKey keyAt(int row) const;

private:
    struct Row {
        RowKey key;
        RowShape shape = RowShape::plain;
    };

    [[nodiscard]] Row read(std::size_t row) const;
    [[nodiscard]] std::vector<Row> readAll() const;
    [[nodiscard]] std::optional<std::size_t> placeOf(int row) const;
    void insert(std::size_t first, std::size_t count);
    void remove(std::size_t first, std::size_t count);
    void move(std::size_t from, std::size_t count, std::size_t to);
    void change(std::size_t first, std::size_t count);
    void reset();
    void exchange(const std::vector<Row>& rows);
    void insertAll(std::vector<Row> rows);
    void removeFrom(std::size_t first);
    void arrange(std::vector<Row> rows, const std::function<std::size_t(std::size_t)>& placeOf);

    const RowSource& source_;
    std::vector<Row> rows_;  // as told

    // Where the source has a row while a change is being told that the source has made already.
    std::function<std::optional<std::size_t>(std::size_t)> whileTelling_;
};

}  // namespace tovri
