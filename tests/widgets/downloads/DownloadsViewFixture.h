#pragma once

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "support/FakeWorkspace.h"
#include "support/PlainTextCollation.h"
#include "tests/widgets/Seen.h"
#include "widgets/downloads/DownloadsView.h"
#include "widgets/parts/PlaceholderView.h"
#include "widgets/parts/bars/SummaryLine.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/rows/RowListView.h"

namespace tovri::test {

using Status = DownloadStatus;
using namespace std::chrono_literals;

// The screen on the real engine, whose bytes and time are simulated, as a user meets it.
class DownloadsViewTest : public testing::Test {
public:
    DownloadsViewTest() {
        world.volumes.longestDelay = {};
        world.preferences.setMaxConcurrentDownloads(1);
        view.resize(820, 500);
        view.show();
        view.activateWindow();
        list().setFocus(Qt::TabFocusReason);
        settle();
    }

    // A file of 1,000 bytes that takes so many seconds.
    ConstDownloadPointer enqueue(const std::string& name, int seconds = 10) {
        const FileID file = world.addFile(name, std::string(1000, '.'));
        world.link(file).rate = 1000 / seconds;
        const ConstDownloadPointer item = world.enqueue(file);
        pass(0s);
        return item;
    }

    ConstDownloadPointer enqueueLarge(const std::string& name, ByteCount megabytes) {
        const FileID file = world.addFile(name, std::string(static_cast<std::size_t>(megabytes * 1'000'000), '.'));
        world.link(file).rate = 1'300'000;
        return world.enqueue(file);
    }

    void pass(MainLoop::Duration time) {
        world.loop.advance(time);
        settle();
    }

    // Ends as soon as the item has the status, which may be for a moment only.
    void passUntil(const ConstDownloadPointer& item, Status status) {
        ASSERT_TRUE(world.runUntil(item, status));
        pass(0s);
    }

    [[nodiscard]] std::string rows() const {
        QString text;
        for (int row = 0; row < list().rows()->rowCount(); ++row) {
            const RowContent content = list().rows()->contentAt(row);
            text += content.shape == RowShape::header ? "[" + content.title + "] " : content.title + " ";
        }
        return text.trimmed().toStdString();
    }

    [[nodiscard]] int rowOf(const ConstDownloadPointer& item) const {
        return static_cast<int>(screen.rowOf(item->id).value());
    }

    // "film | Queued · 1 KB [Move to top of queue] [Cancel]"
    [[nodiscard]] std::string row(const ConstDownloadPointer& item) const {
        return seenRows(view).at(rowOf(item)).toStdString();
    }

    void press(const ConstDownloadPointer& item, const QString& help) {
        EXPECT_TRUE(pressInRow(view, rowOf(item), help)) << help.toStdString();
        pass(100ms);
    }

    // "-" is a separator.
    [[nodiscard]] std::string menu(const ConstDownloadPointer& item) {
        return seenMenu(view, rowOf(item)).join("|").toStdString();
    }

    void choose(const ConstDownloadPointer& item, const QString& title) {
        EXPECT_TRUE(chooseInMenu(view, rowOf(item), title)) << title.toStdString();
        pass(100ms);
    }

    // The menu of all selected rows, by its key; a line is chosen if it is given.
    std::string menuOfSelection(const QString& title = {}) {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
        QApplication::sendEvent(list().viewport(), &event);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu == nullptr) return "none";
        QStringList lines;
        for (QAction* line : menu->actions()) {
            lines << (line->isSeparator() ? "-" : line->text());
            if (!title.isEmpty() && line->text() == title) line->trigger();
        }
        menu->close();
        pass(100ms);
        return lines.join("|").toStdString();
    }

    // The visible buttons; in parentheses what is disabled.
    [[nodiscard]] std::string toolbar() const {
        QStringList titles;
        for (const auto* button :
             view.findChild<Toolbar*>()->findChildren<QToolButton*>(QString(), Qt::FindDirectChildrenOnly))
            if (button->isVisible()) titles << (button->isEnabled() ? button->text() : "(" + button->text() + ")");
        return titles.join(" ").toStdString();
    }

    // Twice on the same place, as fast as a hand does, in a queue that goes on.
    void doubleClick(const QPoint& place) {
        test::doubleClick(view, place, [this] { pass(140ms); });
        pass(100ms);
    }

    [[nodiscard]] QPoint placeOf(const ConstDownloadPointer& item, int button) const {
        return list().viewport()->mapTo(&view, list().buttonRect(rowOf(item), button).center());
    }

    [[nodiscard]] QPoint placeInToolbar(const QString& title) const {
        const QAbstractButton& tool = *seenButton(view, title);
        return tool.mapTo(&view, tool.rect().center());
    }

    void pressInToolbar(const QString& title) {
        EXPECT_TRUE(test::press(view, title)) << title.toStdString();
        pass(100ms);
    }

    [[nodiscard]] std::string summary() const {
        const auto* line = view.findChild<SummaryLine*>();
        return line->isVisible() ? line->accessibleName().toStdString() : "";
    }

    [[nodiscard]] bool showsPlaceholder() const { return view.findChild<PlaceholderView*>()->isVisible(); }

    [[nodiscard]] RowListView& list() const { return *view.findChild<RowListView*>(); }

    World world;
    FakeWorkspace workspace;
    MemoryUserDefaults defaults;
    DesktopPreferences desktop{defaults};
    SpeedLimit limit{world.loop};
    SpeedControl speed{world.loop, world.clock, world.preferences, limit};
    Notices notices{world.loop};
    PlainTextCollation collation;
    DownloadsScreen screen{
        {world.manager(), speed, desktop, workspace, notices, collation, world.loop, world.clock, world.random}};
    DownloadsView view{screen};
};

}  // namespace tovri::test
