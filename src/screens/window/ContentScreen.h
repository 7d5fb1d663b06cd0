#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "downloads/DownloadManager.h"
#include "screens/Placeholder.h"
#include "screens/files/FileBrowserState.h"
#include "screens/window/ConflictSheet.h"
#include "screens/window/EntryDescription.h"
#include "screens/window/SidebarItem.h"
#include "service/signin/AuthManager.h"

namespace tovri {

// How far the uploads have come; below the sidebar's list.
struct UploadPanel {
    static constexpr const char* symbol = "arrow.up.circle.fill";
    static constexpr const char* text = "Uploading...";  // secondary

    std::string count;    // "1/2", at the line's end; digits keep their width
    double fraction = 0;  // of the bar below

    bool operator==(const UploadPanel&) const = default;
};

// The main window: the sign-in screen, or the sidebar beside the screen of the section that is selected; and over
// either, the sheet that asks about a file conflict. The selection lasts as long as the window, also while nobody is
// signed in.
class ContentScreen {
public:
    enum class Change : std::uint8_t {
        content,    // sign-in screen or split view; also the title
        selection,  // also the title
        badge,
        uploads,
        conflict,  // another sheet, none, or what it says
    };

    // Of the sidebar, in points.
    static constexpr int sidebarMinimumWidth = 160;
    static constexpr int sidebarIdealWidth = 180;
    static constexpr int sidebarMaximumWidth = 220;

    // All outlive the screen.
    ContentScreen(AuthManager& auth, DownloadManager& manager, FileBrowserState& files, EntryPorts entries);

    // Told after the state is consistent, only when what is seen differs.
    Subscription onChange(std::function<void(Change)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- What is shown ---

    // The sign-in screen fills the window while this is false.
    [[nodiscard]] bool showsSections() const { return auth_.isAuthenticated(); }

    [[nodiscard]] std::string_view windowTitle() const;

    [[nodiscard]] std::optional<SidebarItem> selectedItem() const { return selectedItem_; }

    // In place of a section's screen while none is selected.
    [[nodiscard]] std::optional<Placeholder> placeholder() const;

    // Empty: the row has none.
    [[nodiscard]] std::string badge(SidebarItem item) const;

    // None while nothing is uploaded.
    [[nodiscard]] const std::optional<UploadPanel>& uploadPanel() const { return uploadPanel_; }

    // None while no conflict waits for its answer.
    [[nodiscard]] const std::optional<ConflictSheet>& conflictSheet() const { return conflictSheet_; }

    // --- What the user does ---

    // Does nothing while the sections are not shown.
    void select(std::optional<SidebarItem> item);

    // The digit that was pressed together with Ctrl.
    void selectByDigit(int digit);

    // The switch of the sheet that is shown.
    void setApplyToAll(bool applies);

    // The answer to the conflict, which does nothing unless its sheet is the one that is shown.
    void answer(const UUID& conflict, ConflictChoice choice);

private:
    void followQueue(const QueueChange& change);
    void updateUploads();
    void updateConflict();
    Task<> describe(std::string ConflictSheet::* line, std::filesystem::path file, std::stop_token stop);

    AuthManager& auth_;
    DownloadManager& manager_;
    FileBrowserState& files_;
    EntryPorts entries_;
    std::optional<SidebarItem> selectedItem_ = SidebarItem::files;
    std::size_t activeDownloads_ = 0;
    std::optional<UploadPanel> uploadPanel_;
    std::optional<ConflictSheet> conflictSheet_;
    std::stop_source looking_;  // at the files of that sheet
    Signal<Change> changes_;
    Subscription signIn_;
    Subscription queue_;
    Subscription uploads_;
    TaskScope scope_;
};

}  // namespace tovri
