#pragma once

#include <QWidget>

#include "screens/files/FileBrowserScreen.h"
#include "widgets/files/FileModel.h"
#include "widgets/files/FileRows.h"

namespace tovri {

class Breadcrumbs;
class ContentArea;
class FileListView;
class Toolbar;

// The file browser: a toolbar with the search field, the way to the folder on view, and its rows; or a placeholder.
// What is selected is the screen's: rows that go out of sight and come back are selected as before.
class FileBrowserView final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit FileBrowserView(FileBrowserScreen& screen, QWidget* parent = nullptr);
    ~FileBrowserView() override;

    void focusSearch();
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void arrange();
    void connectParts();
    void addDeleteKey();
    void follow(const ScreenChange& change);
    void showChrome();
    void showSelection();
    void takeSelection();
    void perform(FileToolbarAction action);
    void showMenu(const QPoint& globalPosition);

    FileBrowserScreen& screen_;
    FileRows rows_;
    FileModel model_;
    Toolbar* toolbar_;
    Breadcrumbs* breadcrumbs_;
    FileListView* list_;
    ContentArea* content_;
    FileIDs selection_;             // the screen's, as the list shows it
    bool haveRowsChanged_ = false;  // since then
    bool isSelectionOurs_ = false;  // the list's selection changes with the screen, not by the user
    Subscription following_;
};

}  // namespace tovri
