#pragma once

#include <QPoint>
#include <QString>
#include <QStringList>
#include <functional>

class QAbstractButton;
class QWidget;

namespace tovri {

class RowListView;
class Sheet;

namespace test {

// Handles what is pending and what comes of it, timers that are due included: then a view is laid out and drawn, and
// what was to be deleted later is gone, however slow the machine is.
void settle();

// The rows of the view's list: "Active:" for a header, "Film | 45% · 2 MB/s [Cancel]" for a row with a button.
[[nodiscard]] QStringList seenRows(const QWidget& view);

[[nodiscard]] RowListView& listOf(const QWidget& view);

// All texts that are on view in it, in no order.
[[nodiscard]] QStringList seenTexts(const QWidget& view);

// The sheet over the view's window, or null.
[[nodiscard]] Sheet* seenSheet(const QWidget& view);

// The button on view with that text or accessible name, or null.
[[nodiscard]] QAbstractButton* seenButton(const QWidget& view, const QString& title);

// Clicks it; false when it is not there or takes no click.
bool press(const QWidget& view, const QString& title);

// Clicks the button of that help in the row.
bool pressInRow(const QWidget& view, int row, const QString& help);

// Clicks twice as a hand does, a few pixels and a seventh of a second apart, on what is under the pointer then, and
// does between the clicks what happens by itself. `place` is one of the window.
void doubleClick(QWidget& window, const QPoint& place, const std::function<void()>& meanwhile = settle);

// Types the key in the list, which has the row as its current one and the focus.
void pressKeyInRow(const QWidget& view, int row, Qt::Key key);

// Opens the row's menu and chooses a line; false when there is none. The titles are what seenMenu() says then.
bool chooseInMenu(QWidget& view, int row, const QString& title);
[[nodiscard]] QStringList seenMenu(QWidget& view, int row);

// Writes pictures of the view, shown by then, in light and dark, mirrored, small and at double density, into the folder
// that TOVRI_PICTURES names; does nothing without.
void takePictures(QWidget& view, const QString& name);

}  // namespace test
}  // namespace tovri
