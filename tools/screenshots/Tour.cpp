#include "Tour.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QFile>
#include <QLineEdit>
#include <QMimeData>
#include <QScrollBar>
#include <QTabWidget>
#include <QTest>
#include <QUrl>
#include <algorithm>
#include <stdexcept>

#include "widgets/rows/RowListView.h"

namespace tovri::screenshots {
namespace {

// The list that is on view, or null.
RowListView* listIn(const QWidget& window) {
    for (RowListView* list : window.findChildren<RowListView*>())
        if (list->isVisible()) return list;
    return nullptr;
}

// The button on view with that text or name; null when there is none that can be pressed.
QAbstractButton* buttonIn(const QWidget& window, const QString& title) {
    for (QAbstractButton* button : window.findChildren<QAbstractButton*>())
        if (button->isVisible() && button->isEnabled() &&
            (button->text() == title || button->accessibleName() == title))
            return button;
    return nullptr;
}

}  // namespace

void Tour::run(QSize size) {
    window().resize(size);
    demonstration_.desktop().open();
    signIn();
    files();
    uploads();
    failedListing();
    downloads();
    conflict();
    transfers();
    automation();
    feeds();
    settings();
    closing();
}

// --- What a user does ---

// No window manager makes the window active again when a sheet has gone.
void Tour::type(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    window().activateWindow();
    (void)QTest::qWaitForWindowActive(&window());
    QWidget* focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : &window(), key, modifiers);
    QTest::qWait(50);
}

void Tour::select(SidebarItem section) {
    type(static_cast<Qt::Key>(Qt::Key_0 + shortcutDigit(section)), Qt::ControlModifier);
}

void Tour::press(const QString& title) {
    for (const QWidget* top : QApplication::topLevelWidgets()) {
        QAbstractButton* button = top->isVisible() ? buttonIn(*top, title) : nullptr;
        if (button == nullptr) continue;
        QTest::mouseClick(button, Qt::LeftButton);
        return QTest::qWait(50);
    }
    throw std::runtime_error("no button " + title.toStdString());
}

// In the menu bar.
void Tour::choose(const QString& title) {
    for (QAction* line : window().findChildren<QAction*>())
        if (line->text() == title) line->trigger();
    QTest::qWait(300);
}

void Tour::waitForRows() {
    const auto hasRows = [this] {
        const RowListView* list = listIn(window());
        return list != nullptr && list->model()->rowCount() > 0;
    };
    demonstration_.waitUntil(hasRows, "there are rows");
    QTest::qWait(100);
}

RowListView& Tour::shownList() {
    RowListView* list = listIn(window());
    if (list == nullptr) throw std::runtime_error("no list is on view");
    return *list;
}

void Tour::openMenu(int row) {
    RowListView& list = shownList();
    list.setCurrentIndex(list.model()->index(row, 0));
    const QPoint place = list.visualRect(list.currentIndex()).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, list.viewport()->mapToGlobal(place));
    QApplication::sendEvent(list.viewport(), &event);
}

void Tour::escape() {
    QWidget* popup = QApplication::activePopupWidget();
    QWidget* sheet = QApplication::activeModalWidget();
    QWidget* target = popup != nullptr ? popup : sheet;
    if (target == nullptr) throw std::runtime_error("nothing to close");
    QTest::keyClick(target, Qt::Key_Escape);
    QTest::qWait(50);
}

// The panel beside the rows, while it is there.
void Tour::details(const QString& name, int row) {
    RowListView& list = shownList();
    const QModelIndexList selected = list.selectionModel()->selectedIndexes();
    type(Qt::Key_F9);
    list.setCurrentIndex(list.model()->index(row, 0));
    QTest::qWait(300);
    take(name);
    type(Qt::Key_F9);
    list.clearSelection();
    for (const QModelIndex& index : selected) list.selectionModel()->select(index, QItemSelectionModel::Select);
}

// --- The way through the program ---

void Tour::signIn() {
    take("sign-in-first");
    demonstration_.app().authManager().saveClientID("4821");
    take("sign-in");
    press("Sign in with put.io");
    take("sign-in-waiting");
    demonstration_.strikeWith("api:/v2/files/list:delay=3,times=1");
    demonstration_.desktop().receive("tovri-putio://callback#access_token=sandbox-token");
    QTest::qWait(100);
    take("files-loading");
    waitForRows();
}

void Tour::files() {
    RowListView& list = shownList();
    list.setFocus();
    list.setCurrentIndex(list.model()->index(5, 0));
    take("files");
    openMenu(5);
    take("files-menu");
    escape();

    list.setCurrentIndex(list.model()->index(3, 0));
    QTest::keyClick(&list, Qt::Key_Return);
    demonstration_.waitUntil([&] { return demonstration_.app().fileBrowserState().breadcrumbs().size() == 2; },
                             "a folder");
    waitForRows();
    list.setCurrentIndex(list.model()->index(3, 0));
    QTest::keyClick(&list, Qt::Key_Down, Qt::ShiftModifier);
    take("files-folder");
    details("files-details", 3);
    QTest::keyClick(&list, Qt::Key_Delete);
    take("files-delete");
    escape();
    type(Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::qWait(500);
    take("files-move");
    escape();

    type(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), "tra");
    take("files-search");
    QTest::keyClicks(QApplication::focusWidget(), "xyz");
    take("files-no-matches");
    type(Qt::Key_A, Qt::ControlModifier);
    type(Qt::Key_Delete);
}

void Tour::uploads() {
    QMimeData files;
    QList<QUrl> urls;
    for (const QString& name : {QStringLiteral("Programme.pdf"), QStringLiteral("Intertitles.txt")}) {
        const QString path = QString::fromStdString((demonstration_.home() / name.toStdString()).string());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(200'000, ' ')) < 0)
            throw std::runtime_error("cannot write a file to upload");
        urls << QUrl::fromLocalFile(path);
    }
    files.setUrls(urls);
    demonstration_.strikeWith("upload:Intertitles.txt:delay=4");
    QWidget* rows = shownList().viewport();
    const QPoint below = rows->rect().bottomLeft() + QPoint(20, -20);
    QDragEnterEvent enter(below, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(rows, &enter);
    QDropEvent drop(below, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(rows, &drop);
    FileBrowserState& state = demonstration_.app().fileBrowserState();
    demonstration_.waitUntil([&] { return state.isUploading(); }, "an upload runs");
    QTest::qWait(500);
    take("files-upload");
    demonstration_.waitUntil([&] { return !state.isUploading(); }, "all is uploaded");
}

void Tour::failedListing() {
    demonstration_.strikeWith("api:/v2/files/list:status=503");
    type(Qt::Key_F5);
    demonstration_.waitUntil([this] { return listIn(window()) == nullptr; }, "the listing has failed");
    take("files-error");
    demonstration_.strikeNoMore();
    type(Qt::Key_F5);
    waitForRows();
}

// One download in each of the states that last.
void Tour::queueDownloads() {
    using Status = DownloadStatus;
    DownloadManager& manager = demonstration_.app().downloadManager();
    const auto queue = [&](std::string_view path, bool deletes = false) {
        return manager.enqueue(demonstration_.fileAt(path), {.deleteAfterDownload = deletes});
    };
    const auto wait = [&](const ConstDownloadPointer& item, Status status) {
        demonstration_.waitUntil([&] { return item->status == status; }, rawValue(status));
    };
    demonstration_.strikeWith("api:/v2/files/delete:status=500");
    demonstration_.strikeWith("link:Pillars of Creation.tif:status=404");
    demonstration_.app().preferences().setConflictBehavior(ConflictBehavior::skip);
    wait(queue("/Books/Moby-Dick - Herman Melville.pdf"), Status::completed);
    wait(queue("/Books/Moby-Dick - Herman Melville.pdf"), Status::skipped);
    wait(queue("/Pictures/Hokusai - The Great Wave.png", true), Status::remoteDeleteFailed);
    wait(queue("/Pictures/Pillars of Creation.tif"), Status::failed);
    wait(queue("/Pictures/Earthrise.jpg"), Status::completed);

    demonstration_.strikeWith("storage:*:rate=700KB");
    demonstration_.app().preferences().setConflictBehavior(ConflictBehavior::ask);
    const ConstDownloadPointer paused = queue("/Films/Safety Last! (1923).mkv");
    demonstration_.waitUntil([&] { return paused->bytesDownloaded > 1'000'000; }, "some of a download is here");
    manager.pause(paused);
    queue("/Films/The General (1926)/Poster.jpg");
    manager.cancel(queue("/Films/The Great Train Robbery (1903).mp4"));
    const UUID together = manager.newBatchID();
    for (const auto* path :
         {"/Music/Bach - Goldberg Variations/01 Aria.flac", "/Films/Sherlock Jr. (1924).mkv",
          "/Films/The General (1926)/The General (1926).mkv", "/Films/Nosferatu (1922)/Nosferatu (1922).mkv"})
        manager.enqueue(demonstration_.fileAt(path), {.batchID = together});
}

void Tour::downloads() {
    select(SidebarItem::downloads);
    take("downloads-empty");
    queueDownloads();
    QTest::qWait(2500);
    shownList().verticalScrollBar()->setValue(0);
    take("downloads");
    details("downloads-details", 1);
    openMenu(1);
    take("downloads-menu");
    escape();
    shownList().verticalScrollBar()->setValue(shownList().verticalScrollBar()->maximum());
    take("downloads-finished");
    details("downloads-details-failed", shownList().model()->rowCount() - 4);
    choose("By &Name");
    take("downloads-finished-by-name");
    choose("As in the &Queue");
    batches();
}

void Tour::batches() {
    choose("&Batches");
    RowListView& list = shownList();
    list.verticalScrollBar()->setValue(0);
    take("downloads-batches");
    list.setCurrentIndex(list.model()->index(1, 0));
    QTest::keyClick(&list, Qt::Key_Right);
    take("downloads-batch-open");
    choose("&Batches");
}

void Tour::conflict() {
    DownloadManager& manager = demonstration_.app().downloadManager();
    manager.cancelAll();
    QTest::qWait(300);
    take("downloads-cancelled");
    demonstration_.strikeNoMore();
    manager.enqueue(demonstration_.fileAt("/Pictures/Earthrise.jpg"), {});
    demonstration_.waitUntil([&] { return manager.pendingConflict() != nullptr; }, "a name is taken");
    take("conflict");
    press("Keep Both");
}

void Tour::transfers() {
    select(SidebarItem::transfers);
    waitForRows();
    take("transfers");
    openMenu(1);
    if (QApplication::activePopupWidget() != nullptr) {
        take("transfers-menu");
        escape();
    }
    demonstration_.workspace().clipboard = "magnet:?xt=urn:btih:0000000000000000000000000000000000000000&dn=Faust";
    press("Add Transfer");
    take("transfers-add");
    escape();
}

void Tour::automation() {
    select(SidebarItem::sync);
    take("automation-empty");
    press("Add Rule");
    QTest::qWait(500);
    take("automation-add");
    escape();

    SyncManager& manager = demonstration_.app().syncManager();
    for (const std::string name : {"Series", "Music"}) {
        const PutIOFile folder = demonstration_.fileAt("/" + name);
        SyncRule rule;
        rule.id = SystemRandom().makeUUID();
        rule.putioFolderID = folderOf(folder.id);
        rule.putioFolderName = folder.name;
        rule.localFolderPath = demonstration_.home() / name;
        rule.isEnabled = name == "Series";
        manager.addRule(std::move(rule));
    }
    const auto isReady = [](const SyncRule& rule) { return rule.isInitialized; };
    demonstration_.waitUntil([&] { return std::ranges::all_of(manager.rules(), isReady); },
                             "the rules know their folders");
    take("automation");
    demonstration_.strikeWith("api:/v2/files/list:status=503");
    manager.startSyncAll(SyncUrgency::forced);
    demonstration_.waitUntil([&] { return manager.lastError().has_value(); }, "a pass has failed");
    take("automation-error");
    demonstration_.strikeNoMore();
}

void Tour::feeds() {
    select(SidebarItem::rss);
    waitForRows();
    take("feeds");
    press("Add Feed");
    take("feeds-add");
    escape();
}

void Tour::settings() {
    SettingsWindow& settings = demonstration_.desktop().settings();
    settings.bringForward();
    auto* tabs = settings.findChild<QTabWidget*>();
    for (const char* name : {"settings-general", "settings-transfers", "settings-account", "settings-desktop"}) {
        camera_.take(settings, name);
        tabs->setCurrentIndex(tabs->currentIndex() + 1);
    }
    settings.close();
}

void Tour::closing() {
    type(Qt::Key_Question, Qt::ControlModifier);
    take("keyboard");
    escape();
    window().close();
    take("closing");
    escape();
}

}  // namespace tovri::screenshots
