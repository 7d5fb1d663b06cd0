#include "tests/widgets/Seen.h"

#include <QAbstractButton>
#include <QAbstractEventDispatcher>
#include <QAbstractItemView>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QTest>
#include <ranges>

#include <gtest/gtest.h>

#include "widgets/parts/sheets/Sheet.h"
#include "widgets/rows/RowListView.h"
#include "widgets/theme/Palettes.h"

namespace tovri::test {
namespace {

QString plain(QString title) {
    return title.replace(QLatin1StringView("&&"), QLatin1StringView("&"));
}

QString seenRow(const RowContent& row) {
    if (row.shape == RowShape::header) return row.title + ":";
    QString text = row.title;
    if (!row.caption.empty()) text += " | " + row.captionText();
    for (const InlineButton& button : row.buttons) text += " [" + button.help + "]";
    return text;
}

// Of the row, which becomes the selected one. Closed by the caller.
QMenu* openMenu(QWidget& view, int row) {
    auto& list = *view.findChild<QAbstractItemView*>();
    list.setCurrentIndex(list.model()->index(row, 0));
    const QPoint place = list.visualRect(list.currentIndex()).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, list.viewport()->mapToGlobal(place));
    QApplication::sendEvent(list.viewport(), &event);
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

}  // namespace

RowListView& listOf(const QWidget& view) {
    return *view.findChild<RowListView*>();
}

QStringList seenRows(const QWidget& view) {
    QStringList rows;
    const RowListView& list = listOf(view);
    if (!list.isVisible()) return rows;
    for (int row = 0; row < list.rows()->rowCount(); ++row) rows << seenRow(list.rows()->contentAt(row));
    return rows;
}

QStringList seenTexts(const QWidget& view) {
    QStringList texts;
    for (const QLabel* label : view.findChildren<QLabel*>())
        if (label->isVisible() && !label->text().isEmpty()) texts << label->text();
    for (const QAbstractButton* button : view.findChildren<QAbstractButton*>())
        if (button->isVisible() && !button->text().isEmpty()) texts << plain(button->text());
    return texts;
}

Sheet* seenSheet(const QWidget& view) {
    for (Sheet* sheet : view.window()->findChildren<Sheet*>())
        if (sheet->isVisible()) return sheet;
    return nullptr;
}

QAbstractButton* seenButton(const QWidget& view, const QString& title) {
    for (QAbstractButton* button : view.findChildren<QAbstractButton*>())
        if (button->isVisible() && (plain(button->text()) == title || button->accessibleName() == title)) return button;
    return nullptr;
}

bool press(const QWidget& view, const QString& title) {
    QAbstractButton* button = seenButton(view, title);
    if (button == nullptr || !button->isEnabled()) return false;
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

bool pressInRow(const QWidget& view, int row, const QString& help) {
    RowListView& list = listOf(view);
    const RowContent content = list.rows()->contentAt(row);
    const auto found = std::ranges::find(content.buttons, help, &InlineButton::help);
    if (found == content.buttons.end()) return false;
    const int button = static_cast<int>(found - content.buttons.begin());
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.buttonRect(row, button).center());
    return true;
}

void doubleClick(QWidget& window, const QPoint& place, const std::function<void()>& meanwhile) {
    static quint64 time = 0;  // milliseconds
    time += 60'000;
    const auto send = [&](QEvent::Type type, const QPoint& at) {
        QWidget* below = window.childAt(at);
        QWidget& target = below == nullptr ? window : *below;
        const Qt::MouseButton held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, target.mapFrom(&window, at), window.mapToGlobal(at), Qt::LeftButton, held, {});
        event.setTimestamp(time);
        time += 70;
        QApplication::sendEvent(&target, &event);
    };
    send(QEvent::MouseButtonPress, place);
    send(QEvent::MouseButtonRelease, place);
    meanwhile();
    send(QEvent::MouseButtonDblClick, place + QPoint(2, 1));
    send(QEvent::MouseButtonRelease, place + QPoint(2, 1));
}

void pressKeyInRow(const QWidget& view, int row, Qt::Key key) {
    auto& list = *view.findChild<QAbstractItemView*>();
    view.window()->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(view.window()));
    list.setFocus();
    list.setCurrentIndex(list.model()->index(row, 0));
    QTest::keyClick(&list, key);
}

QStringList seenMenu(QWidget& view, int row) {
    QStringList titles;
    QMenu* menu = openMenu(view, row);
    if (menu == nullptr) return titles;
    for (const QAction* line : menu->actions()) titles << (line->isSeparator() ? "-" : plain(line->text()));
    menu->close();
    return titles;
}

bool chooseInMenu(QWidget& view, int row, const QString& title) {
    QMenu* menu = openMenu(view, row);
    if (menu == nullptr) return false;
    const QList<QAction*> lines = menu->actions();
    const auto found = std::ranges::find_if(lines, [&](const QAction* line) { return plain(line->text()) == title; });
    const bool isThere = found != lines.end();
    if (isThere) (*found)->trigger();
    menu->close();
    return isThere;
}

void settle() {
    constexpr int mostRounds = 1000;  // where something is due again and again
    QAbstractEventDispatcher& dispatcher = *QAbstractEventDispatcher::instance();
    for (int round = 0; round < mostRounds && dispatcher.processEvents(QEventLoop::AllEvents); ++round) {
    }
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void takePictures(QWidget& view, const QString& name) {
    const QString folder = qEnvironmentVariable("TOVRI_PICTURES");
    if (folder.isEmpty()) return;
    const auto take = [&](const QString& suffix) {
        QTest::qWait(150);  // longer than a row fades
        QWidget* sheet = seenSheet(view);
        for (QWidget* shown : {view.window(), sheet}) {
            if (shown == nullptr) continue;
            const double scale = shown->devicePixelRatio();
            QPixmap picture(shown->size() * scale);
            picture.setDevicePixelRatio(scale);
            shown->render(&picture);
            picture.save(QString("%1/%2%3-%4.png").arg(folder, name, shown == sheet ? "-sheet" : "", suffix));
        }
    };
    const QSize size = view.window()->size();
    take("light");
    QApplication::setPalette(darkPalette());
    take("dark");
    QApplication::setPalette(lightPalette());
    QApplication::setLayoutDirection(Qt::RightToLeft);
    take("rtl");
    QApplication::setLayoutDirection(Qt::LeftToRight);
    view.window()->resize(520, 420);
    take("small");
    view.window()->resize(size);
}

}  // namespace tovri::test
