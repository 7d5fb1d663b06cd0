#pragma once

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QTest>
#include <algorithm>

#include "downloads/PutIODownloadService.h"
#include "screens/files/FileBrowserFixture.h"
#include "support/FakeWorkspace.h"
#include "support/SimulatedTransferSession.h"
#include "tests/widgets/Seen.h"
#include "widgets/files/FileBrowserView.h"
#include "widgets/files/FileListView.h"
#include "widgets/parts/sheets/Sheet.h"

namespace tovri::test {

// The file browser in a window, over an account whose folders a test fills.
class FileBrowserViewFixture : public FileBrowserFixture {
public:
    FileBrowserViewFixture() {
        downloads.configure(service, preferences);
        downloads.pauseAll();  // what is queued stays to be looked at
        folders[0] = {folder(1, "Films"), folder(2, "Music"), file(3, "a.mkv", 1'200'000), file(4, "b.txt", 10)};
        folders[1] = {file(11, "one"), folder(12, "Extras")};
    }

    void show() {
        view.resize(900, 600);
        view.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&view));
        settle();
        list().setFocus();
    }

    [[nodiscard]] FileListView& list() const { return *view.findChild<FileListView*>(); }

    // "Films, Music, a.mkv", as the list has them.
    [[nodiscard]] std::string rows() const {
        QStringList titles;
        for (int row = 0; row < list().rows()->rowCount(); ++row)
            titles << list().rows()->index(row).data(Qt::DisplayRole).toString();
        return titles.join(", ").toStdString();
    }

    [[nodiscard]] std::string selectedRows() const {
        QStringList titles;
        for (const int row : list().selectedRows())
            titles << list().rows()->index(row).data(Qt::DisplayRole).toString();
        return titles.join(", ").toStdString();
    }

    [[nodiscard]] int rowOf(const QString& title) const {
        for (int row = 0; row < list().rows()->rowCount(); ++row)
            if (list().rows()->index(row).data(Qt::DisplayRole) == title) return row;
        ADD_FAILURE() << "no row " << title.toStdString();
        return 0;
    }

    [[nodiscard]] QPoint placeOf(const QString& title) const {
        return list().visualRect(list().rows()->index(rowOf(title))).center();
    }

    void click(const QString& title, Qt::KeyboardModifiers modifiers = {}, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(list().viewport(), button, modifiers, placeOf(title));
    }

    void doubleClick(const QString& title) {
        click(title);
        QTest::mouseDClick(list().viewport(), Qt::LeftButton, {}, placeOf(title));
        QTest::mouseRelease(list().viewport(), Qt::LeftButton, {}, list().viewport()->rect().center());
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(&list(), key, modifiers); }

    [[nodiscard]] QAbstractButton* button(const QString& name) const { return seenButton(view, name); }

    [[nodiscard]] bool isEnabled(const QString& name) const {
        const QAbstractButton* one = button(name);
        EXPECT_NE(one, nullptr) << name.toStdString();
        return one != nullptr && one->isEnabled();
    }

    void pressButton(const QString& name) {
        EXPECT_TRUE(test::press(view, name)) << name.toStdString();
        settle();
    }

    // All that is read on the sheet over the window, or nothing.
    [[nodiscard]] std::string sheet() const {
        QStringList texts;
        if (const Sheet* one = seenSheet(view))
            for (const auto* label : one->findChildren<QLabel*>())
                if (label->isVisible()) texts << label->text();
        return texts.join(" | ").toStdString();
    }

    // The menu of the selection, opened on that row; its lines are "Open", "-" for a separator.
    [[nodiscard]] QMenu* openMenu(const QString& title) {
        const QPoint place = placeOf(title);
        QTest::mouseClick(list().viewport(), Qt::RightButton, {}, place);
        QContextMenuEvent event(QContextMenuEvent::Mouse, place, list().viewport()->mapToGlobal(place));
        QApplication::sendEvent(list().viewport(), &event);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    }

    static std::string linesOf(const QMenu* menu) {
        if (menu == nullptr) return "no menu";
        QStringList lines;
        for (const QAction* line : menu->actions()) lines << (line->isSeparator() ? QString("-") : line->text());
        return lines.join(" | ").toStdString();
    }

    static void choose(QMenu& menu, const QString& text) {
        const QList<QAction*> lines = menu.actions();
        const auto line = std::ranges::find(lines, text, &QAction::text);
        if (line != lines.end()) (*line)->trigger();  // after which the menu may have others
        menu.close();
    }

    [[nodiscard]] std::string queue() const {
        std::string names;
        for (const ConstDownloadPointer& item : downloads.downloads().items())
            names += (names.empty() ? "" : ", ") + item->fileName;
        return names;
    }

    MemoryUserDefaults defaults;
    Preferences preferences{defaults, folderAccess, "/home/user"};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    PutIODownloadService service{api};
    DownloadManager downloads{downloadPorts(platform, transfers)};
    FakeWorkspace workspace;
    Notices notices{loop};
    bool showsDownloads = false;
    FileBrowserScreen screen{{state, api, downloads, preferences, workspace, collation, random, notices,
                              [this] { showsDownloads = true; }, platform.clock}};
    FileBrowserView view{screen};
};

}  // namespace tovri::test
