#pragma once

#include "Camera.h"
#include "Demonstration.h"

namespace tovri {
class RowListView;
}

namespace tovri::screenshots {

// Goes through the program as a new user does, from signing in to closing the window, and takes a picture wherever
// there is something else to see.
class Tour {
public:
    // Both outlive the tour.
    Tour(Demonstration& demonstration, Camera& camera) : demonstration_(demonstration), camera_(camera) {}

    // The window's size during the tour.
    void run(QSize size);

private:
    void signIn();
    void files();
    void uploads();
    void failedListing();
    void queueDownloads();
    void downloads();
    void batches();
    void conflict();
    void transfers();
    void automation();
    void feeds();
    void settings();
    void closing();

    [[nodiscard]] MainWindow& window() { return demonstration_.desktop().window(); }

    void type(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void select(SidebarItem section);
    void press(const QString& title);
    void choose(const QString& title);
    void waitForRows();
    [[nodiscard]] RowListView& shownList();
    void openMenu(int row);
    void details(const QString& name, int row);
    void escape();

    void take(const QString& name) { camera_.take(window(), name); }

    Demonstration& demonstration_;
    Camera& camera_;
};

}  // namespace tovri::screenshots
