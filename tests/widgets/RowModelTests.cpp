#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "tests/widgets/ListedRows.h"
#include "widgets/rows/RowModel.h"

namespace tovri {
namespace {

using Kind = ScreenChange::Kind;

std::vector<ListedRows::Row> numbered(std::uint64_t first, std::uint64_t last) {
    std::vector<ListedRows::Row> rows;
    for (std::uint64_t number = first; number <= last; ++number) rows.push_back(plainRow(number));
    return rows;
}

std::vector<std::uint64_t> selectedNumbers(const QItemSelectionModel& selection, const RowModel& model) {
    std::vector<std::uint64_t> numbers;
    for (const QModelIndex& index : selection.selectedIndexes()) numbers.push_back(model.keyAt(index.row()).low);
    std::ranges::sort(numbers);
    return numbers;
}

struct RowModelTest : testing::Test {
    void select(std::initializer_list<int> rows) {
        for (const int row : rows) selection.select(model.index(row), QItemSelectionModel::Select);
    }

    [[nodiscard]] std::vector<std::uint64_t> order() const {
        std::vector<std::uint64_t> numbers;
        for (int row = 0; row < model.rowCount(); ++row) numbers.push_back(model.keyAt(row).low);
        return numbers;
    }

    ListedRows source{numbered(1, 9)};
    RowModel model{source};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    QItemSelectionModel selection{&model};
};

TEST_F(RowModelTest, repeatsWhatTheScreenTells) {
    select({4});
    source.rows.insert(source.rows.begin() + 2, plainRow(20));
    model.follow({Kind::inserted, 2, 1});
    source.rows.erase(source.rows.begin(), source.rows.begin() + 2);
    model.follow({Kind::removed, 0, 2});
    std::rotate(source.rows.begin(), source.rows.begin() + 1, source.rows.begin() + 4);  // the first goes to 3
    model.follow({.kind = Kind::moved, .first = 0, .count = 1, .to = 3});
    EXPECT_EQ(order(), (std::vector<std::uint64_t>{3, 4, 5, 20, 6, 7, 8, 9}));
    std::rotate(source.rows.begin() + 1, source.rows.begin() + 5, source.rows.begin() + 6);  // and 5 up to 1
    model.follow({.kind = Kind::moved, .first = 5, .count = 1, .to = 1});
    EXPECT_EQ(order(), (std::vector<std::uint64_t>{3, 7, 4, 5, 20, 6, 8, 9}));
    std::rotate(source.rows.begin() + 1, source.rows.begin() + 3, source.rows.begin() + 6);  // two go to 4
    model.follow({.kind = Kind::moved, .first = 1, .count = 2, .to = 4});
    std::rotate(source.rows.begin(), source.rows.begin() + 4, source.rows.begin() + 6);  // and up to 0
    model.follow({.kind = Kind::moved, .first = 4, .count = 2, .to = 0});
    EXPECT_EQ(order(), (std::vector<std::uint64_t>{7, 4, 3, 5, 20, 6, 8, 9}));
    EXPECT_EQ(selectedNumbers(selection, model), std::vector<std::uint64_t>{5});
}

TEST_F(RowModelTest, aResetKeepsTheSelectionOfWhatStays) {
    select({1, 3, 8});
    source.rows = {plainRow(9), plainRow(30), plainRow(4), plainRow(1), plainRow(31), plainRow(3)};
    int resets = 0;
    QObject::connect(&model, &QAbstractItemModel::modelReset, &model, [&] { ++resets; });
    model.follow({Kind::reset});
    EXPECT_EQ(order(), (std::vector<std::uint64_t>{9, 30, 4, 1, 31, 3}));
    EXPECT_EQ(selectedNumbers(selection, model), (std::vector<std::uint64_t>{4, 9}));
    EXPECT_EQ(resets, 0);
}

TEST_F(RowModelTest, aResetToOtherRowsOrToNoneForgetsTheSelection) {
    select({0, 1});
    source.rows = numbered(100, 140);
    model.follow({Kind::reset});
    EXPECT_EQ(model.rowCount(), 41);
    EXPECT_TRUE(selection.selectedIndexes().isEmpty());
    source.rows.clear();
    model.follow({Kind::reset});
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(RowModelTest, anyResetEndsInTheRowsAsTheyAre) {
    std::mt19937 random(7);  // NOLINT(*-msc51-cpp): the same in every run
    const auto below = [&](std::size_t end) { return random() % end; };
    for (int round = 0; round < 200; ++round) {
        std::vector<ListedRows::Row> pool = numbered(1, 14);
        for (std::size_t i = pool.size() - 1; i > 0; --i) std::swap(pool[i], pool[below(i + 1)]);
        pool.resize(below(pool.size() + 1));
        const std::vector<std::uint64_t> before = selectedNumbers(selection, model);
        source.rows = pool;
        model.follow({Kind::reset});
        std::vector<std::uint64_t> expected;
        for (const ListedRows::Row& row : pool)
            if (std::ranges::binary_search(before, row.number)) expected.push_back(row.number);
        std::ranges::sort(expected);
        ASSERT_EQ(selectedNumbers(selection, model), expected) << "round " << round;
        for (std::size_t i = 0; i < pool.size(); ++i) ASSERT_EQ(order()[i], pool[i].number);
        if (!pool.empty()) select({static_cast<int>(below(pool.size()))});
    }
}

}  // namespace
}  // namespace tovri
