#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "automation/SyncManager.h"
#include "base/Signal.h"
#include "platform/FolderAccess.h"
#include "platform/MainLoop.h"
#include "platform/RandomSource.h"
#include "platform/WallClock.h"
#include "screens/Banner.h"
#include "screens/Placeholder.h"
#include "screens/ScreenChange.h"
#include "screens/ToolbarItem.h"
#include "screens/automation/SyncRuleEditorSheet.h"
#include "screens/automation/SyncRuleRow.h"

namespace tovri {

enum class SyncToolbarAction : std::uint8_t { syncAll, addRule };

// The automation rules, their state and the sheet that makes and edits them. All that it shows is SyncManager's.
class SyncRulesScreen {
public:
    // What it works with; outlives it.
    struct Ports {
        MainLoop& loop;
        WallClock& clock;
        RandomSource& random;
        FolderAccess& folderAccess;
        std::filesystem::path home;
    };

    // Both outlive the screen.
    SyncRulesScreen(SyncManager& manager, PutIOAPI& api, Ports ports);

    void appear();
    void disappear();

    // --- What is seen ---

    // Instead of the rows and their header. Its button is openPlaceholder().
    [[nodiscard]] std::optional<Placeholder> placeholder() const;

    [[nodiscard]] std::vector<ToolbarItem<SyncToolbarAction>> toolbar() const;

    // What went wrong last. Its button is dismissBanner().
    [[nodiscard]] std::optional<Banner> banner() const;

    [[nodiscard]] std::size_t rowCount() const { return manager_.rules().size(); }

    // The times in it are told anew as they go on, while the screen is on view.
    [[nodiscard]] SyncRuleRow row(std::size_t index) const;

    [[nodiscard]] std::vector<MenuItem<SyncRuleAction>> menu(const UUID& rule) const;

    [[nodiscard]] const SyncRuleEditorSheet& editor() const { return editor_; }

    [[nodiscard]] SyncRuleEditorSheet& editor() { return editor_; }

    // The editor tells of its own changes.
    Subscription onChange(std::function<void(const ScreenChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- What the user does ---

    void openPlaceholder() { editor_.open(std::nullopt); }

    void dismissBanner() { manager_.dismissLastError(); }

    // Looks into the folders of all enabled rules, as the toolbar's button does.
    void refresh() { perform(SyncToolbarAction::syncAll); }

    // Whether there is such a rule, of this account.
    [[nodiscard]] bool canRefresh() const;

    void perform(SyncToolbarAction action);

    // Nothing happens when the rule has gone; here and below.
    void perform(SyncRuleAction action, const UUID& rule);

    // A row's switch.
    void setEnabled(const UUID& rule, bool isEnabled);

    // The Delete key.
    void deleteRules(const std::vector<UUID>& rules);

private:
    void follow(const SyncChange& change);
    void followTime();
    void tellTimes();

    SyncManager& manager_;
    MainLoop& loop_;
    WallClock& clock_;
    std::filesystem::path home_;
    bool isOnView_ = false;
    Timestamp told_;  // when the rows were last told to read differently by themselves
    SyncRuleEditorSheet editor_;
    Signal<const ScreenChange&> changes_;
    Subscription following_;
    Subscription times_;
};

}  // namespace tovri
