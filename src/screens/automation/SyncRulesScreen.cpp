#include "screens/automation/SyncRulesScreen.h"

#include <algorithm>
#include <chrono>

namespace tovri {

SyncRulesScreen::SyncRulesScreen(SyncManager& manager, PutIOAPI& api, Ports ports)
    : manager_(manager),
      loop_(ports.loop),
      clock_(ports.clock),
      home_(std::move(ports.home)),
      editor_(manager, api, ports.random, ports.folderAccess),
      following_(manager.onChange([this](const SyncChange& change) { follow(change); })) {}

void SyncRulesScreen::appear() {
    isOnView_ = true;
    tellTimes();
}

void SyncRulesScreen::disappear() {
    isOnView_ = false;
    times_.reset();
    editor_.close();
}

// --- What is seen ---

std::optional<Placeholder> SyncRulesScreen::placeholder() const {
    if (!manager_.rules().empty()) return std::nullopt;
    return Placeholder{Placeholder::Kind::message, "arrow.triangle.2.circlepath", "No Automation Rules",
                       "Create a rule to automatically download new files from a put.io folder.", "Add Rule"};
}

std::vector<ToolbarItem<SyncToolbarAction>> SyncRulesScreen::toolbar() const {
    using Item = ToolbarItem<SyncToolbarAction>;
    return {{.kind = Item::Kind::progress, .isVisible = manager_.isSyncing()},
            {.action = SyncToolbarAction::syncAll,
             .title = "Sync Now",
             .symbol = "arrow.clockwise",
             .isEnabled = canRefresh()},
            {.action = SyncToolbarAction::addRule, .title = "Add Rule", .symbol = "plus"}};
}

bool SyncRulesScreen::canRefresh() const {
    return std::ranges::any_of(manager_.rules(),
                               [](const SyncRule& rule) { return rule.isEnabled && !rule.isForeign; });
}

// A rule by itself is looked into whether it is enabled or not.
std::vector<MenuItem<SyncRuleAction>> SyncRulesScreen::menu(const UUID& rule) const {
    const SyncRule* found = manager_.find(rule);
    const bool canSync = found && !found->isForeign && !manager_.isSyncing();
    std::vector<MenuItem<SyncRuleAction>> menu = syncRuleMenu();
    for (MenuItem<SyncRuleAction>& item : menu)
        if (item.action == SyncRuleAction::syncNow) item.isEnabled = canSync;
    return menu;
}

std::optional<Banner> SyncRulesScreen::banner() const {
    if (!manager_.lastError()) return std::nullopt;
    return Banner{"exclamationmark.triangle.fill", Tint::attention, syncFailureText(*manager_.lastError()), "Dismiss"};
}

SyncRuleRow SyncRulesScreen::row(std::size_t index) const {
    return syncRuleRow(manager_.rules().at(index), home_, clock_.now());
}

// --- Following the rules and the time ---

void SyncRulesScreen::follow(const SyncChange& change) {
    using Kind = ScreenChange::Kind;
    switch (change.kind) {
        case SyncChange::Kind::ruleAdded:
            changes_.tell({Kind::inserted, change.index, 1});
            break;
        case SyncChange::Kind::ruleChanged:
            changes_.tell({Kind::changed, change.index, 1});
            break;
        case SyncChange::Kind::ruleRemoved:
            changes_.tell({Kind::removed, change.index, 1});
            break;
        case SyncChange::Kind::isSyncing:
        case SyncChange::Kind::lastError:
            break;
    }
    changes_.tell({});
    followTime();
}

void SyncRulesScreen::followTime() {
    times_.reset();
    if (!isOnView_) return;
    std::optional<std::chrono::nanoseconds> next;
    for (const SyncRule& rule : manager_.rules())
        if (const auto time = timeToNextText(rule, clock_.now())) next = std::min(next.value_or(*time), *time);
    if (!next) return;
    // The clock of the dates may be behind that of the loop, or far from the rules' dates.
    constexpr std::chrono::nanoseconds shortest = std::chrono::milliseconds(50);
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(1);
    times_ = loop_.schedule(std::clamp(*next, shortest, longest), [this] { tellTimes(); });
}

void SyncRulesScreen::tellTimes() {
    const Timestamp before = std::exchange(told_, clock_.now());
    for (std::size_t i = 0; i < manager_.rules().size(); ++i) {
        const SyncRule& rule = manager_.rules()[i];
        if (syncRuleRow(rule, home_, before) == syncRuleRow(rule, home_, told_)) continue;
        changes_.tell({ScreenChange::Kind::changed, i, 1});
    }
    followTime();
}

// --- What the user does ---

void SyncRulesScreen::perform(SyncToolbarAction action) {
    switch (action) {
        case SyncToolbarAction::syncAll:
            manager_.startSyncAll(SyncUrgency::forced);
            break;
        case SyncToolbarAction::addRule:
            editor_.open(std::nullopt);
            break;
    }
}

void SyncRulesScreen::perform(SyncRuleAction action, const UUID& rule) {
    const SyncRule* found = manager_.find(rule);
    if (!found) return;
    switch (action) {
        case SyncRuleAction::edit:
            editor_.open(*found);
            break;
        case SyncRuleAction::syncNow:
            manager_.startSyncRule(rule, SyncUrgency::forced);
            break;
        case SyncRuleAction::remove:
            manager_.deleteRule(rule);
            break;
    }
}

void SyncRulesScreen::setEnabled(const UUID& rule, bool isEnabled) {
    const SyncRule* found = manager_.find(rule);
    if (!found || found->isEnabled == isEnabled) return;
    if (isEnabled && found->isForeign) {
        manager_.useAnyAccount(rule);
        found = manager_.find(rule);
    }
    SyncRule changed = *found;
    changed.isEnabled = isEnabled;
    manager_.updateRule(std::move(changed));
}

void SyncRulesScreen::deleteRules(const std::vector<UUID>& rules) {
    for (const UUID& rule : rules) perform(SyncRuleAction::remove, rule);
}

}  // namespace tovri
