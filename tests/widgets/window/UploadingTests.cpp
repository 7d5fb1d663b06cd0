#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QProgressBar>

#include "tests/widgets/window/DesktopFixture.h"
#include "widgets/files/FileListView.h"
#include "widgets/window/UploadStatus.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class Uploading : public DesktopFixture {
public:
    Uploading() {
        http.handler = [](const HTTPRequest& request) {
            if (request.url.ends_with("/upload"))
                return HTTPResponse{200, R"({"file":{"id":9,"name":"film"},"status":"OK"})"};
            return HTTPResponse{200, R"({"files":[{"id":1,"name":"notes","file_type":"FILE"}],"status":"OK"})"};
        };
        EXPECT_TRUE(files.createDirectories("/tmp"));
        files.put("/home/user/film", "film");
        files.put("/home/user/song", "song");
    }

    // Onto the files, beside the rows.
    void drop(const QString& path) {
        auto* list = window().findChild<FileListView*>();
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        const QPoint place(20, list->viewport()->height() - 20);
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list->viewport(), &enter);
        QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list->viewport(), &event);
        EXPECT_TRUE(event.isAccepted());
        settle();
    }

    UploadStatus& panel() { return *window().findChild<UploadStatus*>(); }

    // What is read on the panel; nothing while it is hidden.
    std::string seen() {
        QStringList texts;
        for (const auto* label : panel().findChildren<QLabel*>())
            if (label->isVisible() && !label->text().isEmpty()) texts << label->text();
        return texts.join(' ').toStdString();
    }
};

TEST_F(Uploading, isShownBelowTheSectionsUntilAllHasArrived) {
    startSignedIn();
    EXPECT_EQ(seen(), "");
    http.latency = 10s;
    drop("/home/user/film");
    EXPECT_EQ(seen(), "Uploading... 0/1");
    settle(5s);
    drop("/home/user/song");
    EXPECT_EQ(seen(), "Uploading... 0/2");
    EXPECT_EQ(panel().findChild<QProgressBar*>()->value(), 0);

    key(Qt::Key_3, Qt::ControlModifier);  // whatever section is on view
    settle(5s);
    EXPECT_EQ(seen(), "Uploading... 1/2");
    EXPECT_EQ(panel().accessibleName(), "Uploading... 1/2");
    const auto* bar = panel().findChild<QProgressBar*>();
    EXPECT_EQ(bar->value() * 2, bar->maximum());
    settle(6s);
    EXPECT_EQ(seen(), "");
    EXPECT_FALSE(panel().isVisible());
}

}  // namespace

TEST_F(Uploading, isAskedAboutBeforeTheProgramEnds) {
    startSignedIn();
    http.latency = 10s;
    drop("/home/user/film");
    key(Qt::Key_Q, Qt::ControlModifier);
    settle(1s);
    EXPECT_FALSE(hasEnded);
    press(window(), "Cancel");
    settle(1s);
    EXPECT_FALSE(button(window(), "Quit Anyway"));
    emit window().quitWanted();
    settle(1s);
    press(window(), "Quit Anyway");
    settle(1s);
    EXPECT_TRUE(hasEnded);
}

}  // namespace tovri::test
