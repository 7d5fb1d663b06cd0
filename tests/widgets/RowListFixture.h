#pragma once

#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

#include "tests/widgets/ListedRows.h"
#include "tests/widgets/Seen.h"
#include "widgets/rows/RowListView.h"

namespace tovri {

inline ListedRows::Row busyRow(std::uint64_t number) {
    ListedRows::Row row = plainRow(number);
    row.content.shape = RowShape::progress;
    row.content.progress = RowProgress{0.4};
    row.content.caption = {{QStringLiteral("400 MB / 1 GB")}, {QStringLiteral("2 MB/s")}};
    row.content.buttons = {{1, "pause.fill", QStringLiteral("Pause")}, {2, "xmark", QStringLiteral("Cancel")}};
    return row;
}

// A list in sight, with the keyboard: three rows in progress under one header, and 57 plain ones under another.
struct RowListFixture : testing::Test {
    static constexpr int longestWait = 60'000;  // milliseconds

    RowListFixture() {
        source.rows.push_back(headerRow(1000, QStringLiteral("Active")));
        for (std::uint64_t i = 1; i <= 3; ++i) source.rows.push_back(busyRow(i));
        source.rows.push_back(headerRow(1001, QStringLiteral("Finished")));
        for (std::uint64_t i = 4; i <= 60; ++i) source.rows.push_back(plainRow(i));
        model.follow({ScreenChange::Kind::reset});
        view.setModel(&model);
        view.resize(500, 400);
        QCursor::setPos(600, 0);  // beside it
        view.show();
        view.activateWindow();
        view.setFocus(Qt::TabFocusReason);
        test::settle();
    }

    ~RowListFixture() override { view.setModel(nullptr); }

    [[nodiscard]] int topOf(int row) const { return view.visualRect(model.index(row)).top(); }

    ListedRows::Row remove(std::size_t row) {
        const ListedRows::Row removed = source.rows[row];
        source.rows.erase(source.rows.begin() + static_cast<std::ptrdiff_t>(row));
        model.follow({ScreenChange::Kind::removed, row, 1});
        return removed;
    }

    void insert(std::size_t row, const ListedRows::Row& inserted) {
        source.rows.insert(source.rows.begin() + static_cast<std::ptrdiff_t>(row), inserted);
        model.follow({ScreenChange::Kind::inserted, row, 1});
    }

    void move(std::size_t from, std::size_t to) {
        const ListedRows::Row moved = source.rows[from];
        source.rows.erase(source.rows.begin() + static_cast<std::ptrdiff_t>(from));
        source.rows.insert(source.rows.begin() + static_cast<std::ptrdiff_t>(to), moved);
        model.follow({.kind = ScreenChange::Kind::moved, .first = from, .count = 1, .to = to});
    }

    [[nodiscard]] QImage picture() { return view.viewport()->grab().toImage(); }

    // As a view draws it that has not seen any other rows.
    [[nodiscard]] QImage pictureAtRest() {
        RowListView other;
        other.setModel(&model);
        other.resize(view.size());
        static_cast<void>(other.grab());
        other.verticalScrollBar()->setValue(view.verticalScrollBar()->value());
        return other.viewport()->grab().toImage();
    }

    [[nodiscard]] bool comesToRest() {
        return QTest::qWaitFor([this] { return picture() == pictureAtRest(); }, longestWait);
    }

    ListedRows source;
    RowModel model{source};
    RowListView view;
};

}  // namespace tovri
