#include "screens/automation/SyncRuleEditorSheet.h"

#include <algorithm>
#include <iterator>

#include "service/ListingContinuation.h"

namespace tovri {
namespace {

const Breadcrumb root{rootFolderID, "Your Files"};

}  // namespace

SyncRuleEditorSheet::SyncRuleEditorSheet(SyncManager& manager, PutIOAPI& api, RandomSource& random,
                                         FolderAccess& folderAccess)
    : manager_(manager), api_(api), random_(random), folderAccess_(folderAccess) {
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
    edited.putioFolderID = putioFolderID_;
    edited.localFolderPath = localFolderPath_;
    const bool isSecond = isOpen_ && canConfirm() && ruleOfPair(manager_.rules(), edited);
    return isSecond ? "Another rule brings this folder to the same place already." : "";
}

// --- Opening and closing ---

void SyncRuleEditorSheet::reset(std::optional<SyncRule> rule) {
    SyncRule values;
    if (rule)
        values = *rule;
    else
        values.putioFolderName = root.name;
    putioFolderID_ = values.putioFolderID;
    putioFolderName_ = std::move(values.putioFolderName);
    localFolderPath_ = std::move(values.localFolderPath);
    localFolderBookmark_ = std::move(values.localFolderBookmark);
    deleteAfterDownload_ = rule ? values.deleteAfterDownload : true;
    pollIntervalMinutes_ = rule ? values.pollIntervalMinutes : 5;
    existingRule_ = std::move(rule);
    browserPath_ = {root};
    folders_.clear();
    isLoadingFolders_ = false;
    folderLoadRequestID_ = random_.makeUUID();
}

void SyncRuleEditorSheet::open(std::optional<SyncRule> rule) {
    if (std::exchange(isOpen_, true)) return;
    opening_ = std::stop_source();
    reset(std::move(rule));
    changes_.tell(Change::fields);
    loadFolders();
}

void SyncRuleEditorSheet::close() {
    if (!std::exchange(isOpen_, false)) return;
    opening_.request_stop();
    reset(std::nullopt);
    changes_.tell(Change::fields);
}

// --- The put.io folder ---

void SyncRuleEditorSheet::openFolder(std::size_t index) {
    if (index >= folders_.size()) return;
    browserPath_.push_back({folderOf(folders_[index].id), folders_[index].name});
    select(browserPath_.back());
}

void SyncRuleEditorSheet::openBreadcrumb(std::size_t index) {
    if (index >= browserPath_.size()) return;
    browserPath_.resize(index + 1);
    select(browserPath_.back());
}

void SyncRuleEditorSheet::select(const Breadcrumb& folder) {
    putioFolderID_ = folder.id;
    putioFolderName_ = folder.name;
    changes_.tell(Change::fields);
    loadFolders();
}

void SyncRuleEditorSheet::loadFolders() {
    if (!isOpen_) return;
    folderLoadRequestID_ = random_.makeUUID();
    isLoadingFolders_ = true;
    changes_.tell(Change::folders);
    scope_.start(load(putioFolderID_, folderLoadRequestID_, opening_.get_token()));
}

Task<> SyncRuleEditorSheet::load(FolderID folderID, UUID request, std::stop_token stop) {
    Result<PutIOFileList> listed = co_await api_.listFolder(folderID, stop);
    // The newer listing owns the flag.
    if (folderLoadRequestID_ != request || putioFolderID_ != folderID) co_return;
    folders_.clear();
    isLoadingFolders_ = false;
    if (!listed) co_return changes_.tell(Change::folders);
    ListingContinuation rest(api_, *listed);
    addFolders(std::move(listed->files));
    while (!rest.isOver()) {
        Result<std::vector<PutIOFile>> more = co_await rest.next(stop);
        if (folderLoadRequestID_ != request || putioFolderID_ != folderID || !more) co_return;
        addFolders(std::move(*more));
    }
}

void SyncRuleEditorSheet::addFolders(std::vector<PutIOFile> listed) {
    std::ranges::copy_if(listed, std::back_inserter(folders_), &PutIOFile::isFolder);
    changes_.tell(Change::folders);
}

// --- The other fields ---

void SyncRuleEditorSheet::setLocalFolder(const std::filesystem::path& folder) {
    Result<ByteBlob> bookmark = folderAccess_.makeBookmark(folder);
    localFolderBookmark_ = bookmark ? std::optional(std::move(*bookmark)) : std::nullopt;
    localFolderPath_ = folder.has_filename() ? folder.native() : folder.parent_path().native();
    changes_.tell(Change::fields);
}

void SyncRuleEditorSheet::setDeleteAfterDownload(bool deletes) {
    if (std::exchange(deleteAfterDownload_, deletes) != deletes) changes_.tell(Change::fields);
}

void SyncRuleEditorSheet::setPollInterval(std::int64_t minutes) {
    minutes = intervalBounds.clamped(minutes);
    if (std::exchange(pollIntervalMinutes_, minutes) != minutes) changes_.tell(Change::fields);
}

// --- Saving ---

void SyncRuleEditorSheet::confirm() {
    if (!isOpen_ || !canConfirm()) return;
    const bool isNew = !existingRule_;
    SyncRule rule = isNew ? SyncRule() : *existingRule_;
    if (isNew) rule.id = random_.makeUUID();
    rule.putioFolderID = putioFolderID_;
    rule.putioFolderName = putioFolderName_;
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
