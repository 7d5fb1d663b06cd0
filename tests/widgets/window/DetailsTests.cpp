#include <QClipboard>
#include <QMimeData>
#include <QScrollBar>
#include <QSplitter>
#include <QTextBlock>

#include "tests/widgets/window/DesktopFixture.h"
#include "widgets/parts/details/DetailsPanel.h"
#include "widgets/parts/details/DetailsText.h"
#include "widgets/rows/RowListView.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

// The panel beside the rows, in the whole window.
class DetailsWindow : public DesktopFixture {
public:
    void open() {
        startSignedIn();
        key(Qt::Key_3, Qt::ControlModifier);
    }

    // The panel on view, or null.
    DetailsPanel* panel() {
        for (auto* found : window().findChildren<DetailsPanel*>())
            if (found->isVisible()) return found;
        return nullptr;
    }

    DetailsText& text() { return *panel()->findChild<DetailsText*>(); }

    RowListView& list() {
        for (auto* found : window().findChildren<RowListView*>())
            if (found->isVisible()) return *found;
        throw std::runtime_error("no list");
    }

    // Row 0 is a header.
    void selectRow(int row) {
        list().setCurrentIndex(list().model()->index(row, 0));
        settle();
    }

    QAction* command() {
        for (auto* action : window().findChildren<QAction*>())
            if (action->text() == "&Details") return action;
        throw std::runtime_error("no command");
    }

    bool reads(const QString& words) { return text().toPlainText().contains(words); }

    // 10,000 bytes, 1,000 in a second.
    ConstDownloadPointer slowDownload(const std::string& name) {
        ConstDownloadPointer item = download(1, name, std::string(10'000, '.'));
        storage.links["https://storage.put.io/1"].rate = 1000;
        return item;
    }
};

TEST_F(DetailsWindow, comeAndGoWithTheirKey) {
    open();
    (void)download(1, "<b>Film.mkv");
    settle(5s);
    EXPECT_FALSE(panel());
    EXPECT_TRUE(command()->isEnabled());
    key(Qt::Key_F9);
    ASSERT_TRUE(panel());
    EXPECT_TRUE(command()->isChecked());
    EXPECT_EQ(text().toPlainText(), "Select a download to see its details.");
    selectRow(1);
    EXPECT_TRUE(reads("<b>Film.mkv\n")) << text().toPlainText().toStdString();
    EXPECT_TRUE(reads("Status\nArrived"));

    key(Qt::Key_2, Qt::ControlModifier);
    EXPECT_FALSE(panel());
    EXPECT_FALSE(command()->isEnabled());
    key(Qt::Key_1, Qt::ControlModifier);
    ASSERT_TRUE(panel());
    EXPECT_EQ(text().toPlainText(), "Select a file to see its details.");
    key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_TRUE(reads("Status\nArrived"));

    text().setFocus();
    key(Qt::Key_F9);
    EXPECT_FALSE(panel());
    EXPECT_TRUE(list().hasFocus());
}

TEST_F(DetailsWindow, leadToTheFileByKeyboard) {
    open();
    (void)download(1, "Film.mkv");
    settle(5s);
    key(Qt::Key_F9);
    selectRow(1);
    text().setFocus();
    for (const QString& name : {QStringLiteral("Show in Folder"), QStringLiteral("Open on put.io")}) {
        QTest::keyClick(window().focusWidget(), Qt::Key_Tab);
        ASSERT_TRUE(qobject_cast<QAbstractButton*>(window().focusWidget()));
        EXPECT_EQ(window().focusWidget()->accessibleName().toStdString(), name.toStdString());
        QTest::keyClick(window().focusWidget(), Qt::Key_Space);
    }
    EXPECT_EQ(workspace.revealedFiles.size(), 1U);
    EXPECT_EQ(workspace.openedAddresses, std::vector<std::string>{"https://app.put.io/files/1"});
}

TEST_F(DetailsWindow, areKeptWithTheirWidth) {
    open();
    key(Qt::Key_F9);
    window().resize(1200, 700);
    settle();
    EXPECT_EQ(panel()->width(), 280);
    window().details().setWidth(350);
    settle();
    EXPECT_EQ(panel()->width(), 350);
    window().resize(700, 500);
    settle();
    EXPECT_GE(panel()->width(), 200);
    EXPECT_GE(panel()->pos().x(), 300) << "the rows have no room";
    EXPECT_EQ(window().parts().sizes().front(), 180) << "the sidebar gives way";
    window().resize(1200, 700);
    settle();
    EXPECT_EQ(panel()->width(), 350) << "what was narrow for a while stays so";
    window().hide();
    desktop.reset();
    app.reset();
    open();
    ASSERT_TRUE(panel());
    EXPECT_EQ(panel()->width(), 350);
    EXPECT_TRUE(command()->isChecked());
}

TEST_F(DetailsWindow, followWhatRunsAndLeaveAloneWhatIsSelected) {
    open();
    const ConstDownloadPointer item = slowDownload("Film.mkv");
    settle(1s);
    key(Qt::Key_F9);
    selectRow(1);
    EXPECT_TRUE(reads("Connections\n1")) << text().toPlainText().toStdString();
    QTextCursor title(text().document()->begin());
    title.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    text().setTextCursor(title);
    const QString before = text().toPlainText();
    settle(2s);
    EXPECT_NE(text().toPlainText(), before);
    EXPECT_EQ(text().textCursor().selectedText(), "Film.mkv");
    text().copy();
    EXPECT_EQ(QApplication::clipboard()->text(), "Film.mkv");
    EXPECT_FALSE(QApplication::clipboard()->mimeData()->hasHtml());
    settle(20s);
    EXPECT_TRUE(reads("Status\nArrived")) << text().toPlainText().toStdString();
    EXPECT_FALSE(reads("Connections"));
}

TEST_F(DetailsWindow, breakLongNamesFromRightToLeftToo) {
    QApplication::setLayoutDirection(Qt::RightToLeft);
    const std::string name = std::string(200, 'x') + ".mkv";
    open();
    (void)download(1, name);
    settle(5s);
    key(Qt::Key_F9);
    selectRow(1);
    EXPECT_EQ(panel()->mapTo(&window(), QPoint()).x(), 0);
    EXPECT_LE(text().document()->size().width(), text().viewport()->width());
    EXPECT_EQ(text().horizontalScrollBar()->maximum(), 0);
    EXPECT_TRUE(reads(QString::fromStdString(name) + "\n"));
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

}  // namespace
}  // namespace tovri::test
