#include "screens/automation/SyncRuleEditorSheet.h"

namespace tovri {
namespace {

const Breadcrumb root{rootFolderID, "Your Files"};

}  // namespace

SyncRuleEditorSheet::SyncRuleEditorSheet(SyncManager& manager, PutIOAPI& api, RandomSource& random,
                                         FolderAccess& folderAccess)
    : manager_(manager), random_(random), folderAccess_(folderAccess), remoteFolder_(api, random_) {
    reset(std::nullopt);
}

FileChooser SyncRuleEditorSheet::localFolderChooser() {
    return {FileChooser::Target::folder, "Select the local folder for synced downloads", "Choose"};
}

Stepper SyncRuleEditorSheet::pollInterval() const {
    const char* unit = pollIntervalMinutes_ == 1 ? " minute" : " minutes";
    return {"Check every " + std::to_string(pollIntervalMinutes_) + unit, "", pollIntervalMinutes_, intervalBounds};
}

const char* SyncRuleEditorSheet::notice() const {
    SyncRule edited;
    if (existingRule_) edited.id = existingRule_->id;
    edited.putioFolderID = remoteFolder_.chosen().id;
    edited.localFolderPath = localFolderPath_;
    const bool isSecond = isOpen_ && canConfirm() && ruleOfPair(manager_.rules(), edited);
    return isSecond ? "Another rule brings this folder to the same place already." : "";
}

// --- Opening and closing ---

void SyncRuleEditorSheet::reset(std::optional<SyncRule> rule) {
    SyncRule values;
    if (rule) values = *rule;
    localFolderPath_ = std::move(values.localFolderPath);
    localFolderBookmark_ = std::move(values.localFolderBookmark);
    deleteAfterDownload_ = rule ? values.deleteAfterDownload : true;
    pollIntervalMinutes_ = rule ? values.pollIntervalMinutes : 5;
    existingRule_ = std::move(rule);
}

void SyncRuleEditorSheet::open(std::optional<SyncRule> rule) {
    if (std::exchange(isOpen_, true)) return;
    reset(std::move(rule));
    const Breadcrumb chosen =
        existingRule_ ? Breadcrumb{existingRule_->putioFolderID, existingRule_->putioFolderName} : root;
    remoteFolder_.open(chosen, {root});
    changes_.tell();
}

void SyncRuleEditorSheet::close() {
    if (!std::exchange(isOpen_, false)) return;
    remoteFolder_.close();
    reset(std::nullopt);
    changes_.tell();
}

// --- The other fields ---

void SyncRuleEditorSheet::setLocalFolder(const std::filesystem::path& folder) {
    Result<ByteBlob> bookmark = folderAccess_.makeBookmark(folder);
    localFolderBookmark_ = bookmark ? std::optional(std::move(*bookmark)) : std::nullopt;
    localFolderPath_ = folder.has_filename() ? folder.native() : folder.parent_path().native();
    changes_.tell();
}

void SyncRuleEditorSheet::setDeleteAfterDownload(bool deletes) {
    if (std::exchange(deleteAfterDownload_, deletes) != deletes) changes_.tell();
}

void SyncRuleEditorSheet::setPollInterval(std::int64_t minutes) {
    minutes = intervalBounds.clamped(minutes);
    if (std::exchange(pollIntervalMinutes_, minutes) != minutes) changes_.tell();
}

// --- Saving ---

void SyncRuleEditorSheet::confirm() {
    if (!isOpen_ || !canConfirm()) return;
    const bool isNew = !existingRule_;
    SyncRule rule = isNew ? SyncRule() : *existingRule_;
    if (isNew) rule.id = random_.makeUUID();
    rule.putioFolderID = remoteFolder_.chosen().id;
    rule.putioFolderName = remoteFolder_.chosen().name;
    rule.localFolderPath = localFolderPath_;
    rule.localFolderBookmark = localFolderBookmark_;
    rule.deleteAfterDownload = deleteAfterDownload_;
    rule.pollIntervalMinutes = pollIntervalMinutes_;
    if (isNew)
        manager_.addRule(std::move(rule));
    else
        manager_.updateRule(std::move(rule));
    close();
}

}  // namespace tovri
