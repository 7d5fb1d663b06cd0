#pragma once

#include <QWidget>
#include <vector>

#include "screens/ToolbarItem.h"

class QHBoxLayout;
class QLineEdit;
class QToolButton;

namespace tovri {

// A screen's toolbar item with its action as a number.
using ToolbarEntry = ToolbarItem<int>;

template <class Action>
[[nodiscard]] std::vector<ToolbarEntry> toolbarEntries(const std::vector<ToolbarItem<Action>>& items) {
    std::vector<ToolbarEntry> entries;
    for (const ToolbarItem<Action>& item : items) {
        ToolbarEntry entry{.kind = static_cast<ToolbarEntry::Kind>(item.kind),
                           .title = item.title,
                           .symbol = item.symbol,
                           .help = item.help,
                           .isEnabled = item.isEnabled,
                           .isVisible = item.isVisible,
                           .isCompact = item.isCompact};
        if (item.action) entry.action = static_cast<int>(*item.action);
        for (const auto& choice : item.choices)
            entry.choices.push_back({static_cast<int>(choice.action), choice.title, choice.isChosen});
        entries.push_back(std::move(entry));
    }
    return entries;
}

// The buttons of a screen, from its items: symbols with titles, or the symbols alone where the titles find no room; at
// the end the sign of what is under way, and the search field. Shown anew as often as the items change; what stays
// keeps its focus and its text. What is hidden leaves its place empty: nothing moves under the pointer. A double click
// is one press.
class Toolbar final : public QWidget {
    Q_OBJECT

public:
    explicit Toolbar(QWidget* parent = nullptr);

    void show(const std::vector<ToolbarEntry>& entries);
    using QWidget::show;

    [[nodiscard]] bool hasSearch() const;
    void setSearchText(const QString& text);
    void focusSearch();

    // With the symbols alone.
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    void triggered(int action);
    void searchChanged(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void build(const std::vector<ToolbarEntry>& entries);
    QWidget* makePart(const ToolbarEntry& entry);
    static QWidget* makeTurningSign();
    QToolButton* makeButton(const ToolbarEntry& entry);
    void fill(QToolButton& button, const ToolbarEntry& entry);
    void addSearch();
    void nameSearch(const QString& prompt);
    void measure();
    void showTexts();
    void setTexts(Qt::ToolButtonStyle style);
    [[nodiscard]] int widthOfParts(int search) const;

    QHBoxLayout* line_;
    std::vector<ToolbarEntry> entries_;
    std::vector<QWidget*> parts_;  // one per entry
    QLineEdit* search_ = nullptr;
    int widthWithTexts_ = 0;
    int widthOfSymbols_ = 0;
};

}  // namespace tovri
