#pragma once

#include "screens/files/FileBrowserScreen.h"
#include "widgets/files/FileModel.h"
#include "widgets/files/FileRows.h"
#include "widgets/parts/SectionView.h"

namespace tovri {

class Breadcrumbs;
class FileListView;

// The file browser: a toolbar with the search field, the way to the folder on view, and its rows; or a placeholder.
// What is selected is the screen's: rows that go out of sight and come back are selected as before.
class FileBrowserView final : public SectionView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit FileBrowserView(FileBrowserScreen& screen, QWidget* parent = nullptr);

    [[nodiscard]] bool can(SectionCommand command) const override;
    void perform(SectionCommand command) override;

protected:
    void appear() override { screen_.appear(); }

    void disappear() override { screen_.disappear(); }

    void pressToolbar(int action) override;

    void pressPlaceholder() override { screen_.openPlaceholder(); }

    void pressBanner() override { screen_.dismissBanner(); }

    void pressDelete() override { screen_.deleteSelection(); }

    void pressDetails(DetailsAction action) override { screen_.perform(action); }

    void renewDetails() override;

private:
    void connectParts();
    void follow(const ScreenChange& change);
    void showChrome();
    void showSelection();
    void showMoveSheet();
    [[nodiscard]] bool accepts(int breadcrumb, const QMimeData& data) const;
    void take(int breadcrumb, const QMimeData& data);
    void takeSelection();
    void showMenu(const QPoint& globalPosition);

    FileBrowserScreen& screen_;
    FileRows rows_;
    FileModel model_;
    Breadcrumbs* breadcrumbs_;
    FileListView* list_;
    FileIDs selection_;             // the screen's, as the list shows it
    bool haveRowsChanged_ = false;  // since then
    bool isSelectionOurs_ = false;  // the list's selection changes with the screen, not by the user
    Subscription following_;
    Subscription followingMoves_;
};

}  // namespace tovri
