#include <algorithm>
#include <functional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "screens/RowList.h"

namespace tovri::test {
namespace {

using Kind = ScreenChange::Kind;

struct Row {
    int id;
    std::string text;

    bool operator==(const Row&) const = default;
};

struct Traits {
    static int key(const Row& row) { return row.id; }

    static bool isSame(const Row& left, const Row& right) { return left == right; }
};

using Rows = std::vector<Row>;

// A view that knows of the list only what it is told, and looks at the rows that are new or look different.
class View {
public:
    explicit View(RowList<Row, Traits>& list) : list_(list) {}

    void show(Rows rows) {
        changes.clear();
        list_.replace(std::move(rows), [this](const ScreenChange& change) { follow(change); });
    }

    void follow(const ScreenChange& change) {
        changes.push_back(change);
        const auto at = [](auto& rows, std::size_t index) { return rows.begin() + static_cast<std::ptrdiff_t>(index); };
        const Kind kind = change.kind;
        const std::size_t first = change.first;
        const std::size_t count = change.count;
        if (kind == Kind::reset) shown = list_.rows();
        if (kind == Kind::removed) shown.erase(at(shown, first), at(shown, first + count));
        if (kind == Kind::inserted)
            shown.insert(at(shown, first), at(list_.rows(), first), at(list_.rows(), first + count));
        if (kind == Kind::changed)
            std::copy(at(list_.rows(), first), at(list_.rows(), first + count), at(shown, first));
        ASSERT_EQ(shown.size(), list_.rows().size());
        if (onChange) onChange(change);
    }

    Rows shown;
    std::vector<ScreenChange> changes;
    std::function<void(const ScreenChange&)> onChange;

private:
    RowList<Row, Traits>& list_;
};

TEST(RowList, tellsTheFewestStepsThatAViewNeeds) {
    struct Case {
        Rows before;
        Rows after;
        std::vector<ScreenChange> steps;
    };

    const Case cases[] = {
        {{}, {{1, "a"}, {2, "b"}}, {{Kind::inserted, 0, 2}}},
        {{{1, "a"}, {2, "b"}}, {{1, "a"}, {2, "b"}}, {}},
        {{{1, "a"}, {2, "b"}, {3, "c"}, {4, "d"}}, {{2, "b"}}, {{Kind::removed, 2, 2}, {Kind::removed, 0, 1}}},
        {{{1, "a"}, {2, "b"}}, {{7, "x"}, {1, "A"}, {2, "B"}}, {{Kind::inserted, 0, 1}, {Kind::changed, 1, 2}}},
        {{{1, "a"}, {2, "b"}, {3, "c"}},
         {{1, "a"}, {9, "x"}, {3, "c"}},
         {{Kind::removed, 1, 1}, {Kind::inserted, 1, 1}}},
        {{{1, "a"}, {2, "b"}}, {{2, "b"}, {1, "a"}}, {{Kind::reset}}},  // changed places
        {{{1, "a"}}, {{2, "b"}}, {{Kind::reset}}},                      // another list
        {{{1, "a"}}, {{1, "a"}, {2, "b"}, {2, "b"}}, {{Kind::reset}}},  // two of one key
        {{{1, "a"}, {2, "b"}}, {}, {{Kind::removed, 0, 2}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        RowList<Row, Traits> list;
        View view(list);
        view.show(c.before);
        view.show(c.after);
        EXPECT_EQ(view.changes, c.steps);
        EXPECT_EQ(view.shown, c.after);
    }
}

TEST(RowList, aViewThatFollowsSeesEveryList) {
    std::mt19937 numbers(7);
    const auto below = [&](int bound) { return static_cast<int>(numbers() % static_cast<unsigned>(bound)); };
    RowList<Row, Traits> list;
    View view(list);
    for (int round = 0; round < 500; ++round) {
        const int oneIn = 2 + below(40);
        Rows rows;
        for (int id = 0; id < 300; ++id)
            if (below(oneIn) != 0) rows.push_back({id, std::to_string(below(oneIn) == 0 ? round : 0)});
        view.show(rows);
        ASSERT_EQ(view.shown, rows) << "round " << round;
    }
}

TEST(RowList, canBeReplacedAgainByWhoeverIsTold) {
    RowList<Row, Traits> list;
    View view(list);
    view.show({{1, "a"}, {2, "b"}, {3, "c"}});
    view.onChange = [&](const ScreenChange&) {
        view.onChange = nullptr;
        view.show({{2, "b"}, {4, "d"}});
    };
    view.show({{2, "B"}, {5, "e"}});
    EXPECT_EQ(view.shown, (Rows{{2, "b"}, {4, "d"}}));
    EXPECT_EQ(list.rows(), view.shown);
}

}  // namespace
}  // namespace tovri::test
