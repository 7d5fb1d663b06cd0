#include "screens/files/FileBrowserState.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include "platform/Await.h"

namespace tovri {
namespace {

// put.io lists some uploads only after a while.
constexpr std::chrono::seconds listingDelay{3};

FolderPath rootPath() {
    return {{rootFolderID, "Your Files"}};
}

std::string lastComponent(const std::filesystem::path& path) {
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

}  // namespace

FileBrowserState::FileBrowserState(const Platform& platform)
    : loop_(platform.loop),
      random_(platform.random),
      files_(std::make_shared<const std::vector<PutIOFile>>()),
      breadcrumbs_(rootPath()),
      currentLoadRequestID_(random_.makeUUID()) {}

FolderID FileBrowserState::currentFolderID() const {
    return breadcrumbs_.empty() ? rootFolderID : breadcrumbs_.back().id;
}

std::vector<const PutIOFile*> FileBrowserState::displayedFiles(const TextCollation& collation) {
    return arrangement_.arrange(files_, searchText_, sortOrder_, collation);
}

template <class T>
void FileBrowserState::assign(Field field, T& member, T value) {
    if (member == value) return;
    member = std::move(value);
    changed_.push_back(field);
}

void FileBrowserState::tellChanges() {
    for (const Field field : std::exchange(changed_, {})) changes_.tell(field);
}

void FileBrowserState::setFiles(std::vector<PutIOFile> files) {
    if (*files_ == files) return;
    files_ = std::make_shared<const std::vector<PutIOFile>>(std::move(files));
    changed_.push_back(Field::files);
}

void FileBrowserState::setSelectedFiles(FileIDs ids) {
    assign(Field::selectedFiles, selectedFiles_, std::move(ids));
    tellChanges();
}

void FileBrowserState::setSortOrder(SortOrder order) {
    assign(Field::sortOrder, sortOrder_, order);
    tellChanges();
}

void FileBrowserState::setSearchText(std::string text) {
    assign(Field::searchText, searchText_, std::move(text));
    tellChanges();
}

// --- Loading ---

void FileBrowserState::loadFiles() {
    if (!api_) return tellChanges();
    const UUID request = random_.makeUUID();
    currentLoadRequestID_ = request;
    assign(Field::isLoading, isLoading_, true);
    assign(Field::error, error_, {});
    assign(Field::cut, cut_, {});
    tellChanges();
    scope_.start(load(currentFolderID(), request));
}

Task<> FileBrowserState::load(FolderID folderID, UUID request) {
    Result<PutIOFileList> loaded = co_await api_->listFolder(folderID, scope_.stopToken());
    if (!isCurrent(folderID, request)) co_return;  // the newer load owns the flag
    if (!loaded) {
        assign(Field::error, error_, std::optional(loaded.error().description));
        assign(Field::isLoading, isLoading_, false);
        co_return tellChanges();
    }
    ListingContinuation rest(*api_, *loaded);
    filesFolderID_ = folderID;
    setFiles(std::move(loaded->files));
    assign(Field::hasLoaded, hasLoaded_, true);
    assign(Field::isLoading, isLoading_, false);
    tellChanges();
    if (!rest.isOver() && isCurrent(folderID, request)) co_await loadRest(folderID, request, std::move(rest));
}

bool FileBrowserState::isCurrent(FolderID folderID, const UUID& request) const {
    return currentLoadRequestID_ == request && currentFolderID() == folderID;
}

Task<> FileBrowserState::loadRest(FolderID folderID, UUID request, ListingContinuation rest) {
    // Each time that files are appended all of them are arranged anew: in small steps that would cost the square of
    // them.
    constexpr std::size_t leastGrowth = 4;  // by the fourth part
    std::vector<PutIOFile> waiting;
    while (!rest.isOver() && !cut_) {
        Result<std::vector<PutIOFile>> more = co_await rest.next(scope_.stopToken());
        if (!isCurrent(folderID, request)) co_return;
        if (more)
            std::ranges::move(*more, std::back_inserter(waiting));
        else
            assign(Field::cut, cut_, std::optional(std::move(more.error().description)));
        if (rest.isOver() || cut_ || waiting.size() >= files().size() / leastGrowth) appendFiles(waiting);
        tellChanges();
    }
}

void FileBrowserState::appendFiles(std::vector<PutIOFile>& more) {
    std::vector<PutIOFile> all = files();
    std::ranges::move(std::exchange(more, {}), std::back_inserter(all));
    setFiles(std::move(all));
}

void FileBrowserState::dismissCut() {
    assign(Field::cut, cut_, {});
    tellChanges();
}

// --- Ways ---

void FileBrowserState::navigateInto(const PutIOFile& folder) {
    const auto onTheWay = std::ranges::find(breadcrumbs_, folderOf(folder.id), &Breadcrumb::id);
    if (onTheWay != breadcrumbs_.end())
        return navigateToBreadcrumb(static_cast<std::size_t>(onTheWay - breadcrumbs_.begin()));
    FolderPath path = breadcrumbs_;
    path.push_back({folderOf(folder.id), folder.name});
    enter(std::move(path));
}

void FileBrowserState::navigateToBreadcrumb(std::size_t index) {
    if (index >= breadcrumbs_.size()) return;
    FolderPath path = breadcrumbs_;
    path.resize(index + 1);
    enter(std::move(path));
}

void FileBrowserState::goUp() {
    if (breadcrumbs_.size() > 1) navigateToBreadcrumb(breadcrumbs_.size() - 2);
}

void FileBrowserState::goBack() {
    if (auto path = history_.goBack(breadcrumbs_)) show(std::move(*path));
}

void FileBrowserState::goForward() {
    if (auto path = history_.goForward(breadcrumbs_)) show(std::move(*path));
}

void FileBrowserState::enter(FolderPath path) {
    if (path != breadcrumbs_) history_.leave(breadcrumbs_);
    show(std::move(path));
}

void FileBrowserState::show(FolderPath path) {
    assign(Field::breadcrumbs, breadcrumbs_, std::move(path));
    assign(Field::selectedFiles, selectedFiles_, {});
    loadFiles();
}

void FileBrowserState::reset() {
    currentLoadRequestID_ = random_.makeUUID();
    setFiles({});
    filesFolderID_ = rootFolderID;
    history_.clear();
    assign(Field::cut, cut_, {});
    assign(Field::breadcrumbs, breadcrumbs_, rootPath());
    assign(Field::hasLoaded, hasLoaded_, false);
    assign(Field::isLoading, isLoading_, false);
    tellChanges();
}

// --- Uploads ---

double FileBrowserState::uploadProgress() const {
    if (uploadTotal_ < 1) return 0;
    const auto pending = static_cast<std::int64_t>(pendingUploads_.size());
    return static_cast<double>(std::max<std::int64_t>(uploadTotal_ - pending, 0)) / static_cast<double>(uploadTotal_);
}

void FileBrowserState::uploadFiles(const std::vector<std::filesystem::path>& files, FolderID folderID) {
    if (!api_ || files.empty()) return;
    std::vector<PendingUpload> started;
    for (const std::filesystem::path& file : files)
        started.push_back({random_.makeUUID(), lastComponent(file), folderID});
    std::vector<PendingUpload> pending = pendingUploads_;
    pending.insert(pending.end(), started.begin(), started.end());
    for (const PendingUpload& entry : started) uploadTasks_.try_emplace(entry.id);
    assign(Field::isUploading, isUploading_, true);
    assign(Field::uploadTotal, uploadTotal_, uploadTotal_ + static_cast<std::int64_t>(files.size()));
    assign(Field::pendingUploads, pendingUploads_, std::move(pending));
    tellChanges();

    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto task = uploadTasks_.find(started[i].id);
        if (task == uploadTasks_.end()) continue;  // cancelled by whoever was told of it
        scope_.start(upload(files[i], started[i], task->second.get_token()));
    }
}

Task<> FileBrowserState::upload(std::filesystem::path file, PendingUpload pending, std::stop_token stop) {
    Result<PutIOFile> uploaded = co_await api_->uploadFile(std::move(file), pending.folderID, {}, std::move(stop));
    if (!uploaded && !uploaded.error().isCancellation())
        uploadFailures_.tell("Couldn't upload “" + pending.name + "”: " + uploaded.error().description);
    finishUpload(pending);
    if (uploaded) loadAfterUpload(pending.folderID);
}

void FileBrowserState::finishUpload(const PendingUpload& upload) {
    uploadTasks_.erase(upload.id);
    std::vector<PendingUpload> left = pendingUploads_;
    std::erase(left, upload);
    if (left.empty()) {
        assign(Field::isUploading, isUploading_, false);
        assign(Field::uploadTotal, uploadTotal_, std::int64_t{0});
    }
    assign(Field::pendingUploads, pendingUploads_, std::move(left));
    tellChanges();
}

void FileBrowserState::cancelUpload(PendingUpload upload) {
    if (const auto task = uploadTasks_.find(upload.id); task != uploadTasks_.end()) {
        std::stop_source stop = task->second;
        stop.request_stop();
    }
    finishUpload(upload);
}

void FileBrowserState::loadAfterUpload(FolderID folderID) {
    if (currentFolderID() != folderID) return;
    loadFiles();
    scope_.start(loadAgainLater(folderID, scope_.stopToken()));
}

Task<> FileBrowserState::loadAgainLater(FolderID folderID, std::stop_token stop) {
    co_await sleepFor(loop_, listingDelay, std::move(stop));
    if (currentFolderID() == folderID) loadFiles();
}

}  // namespace tovri
