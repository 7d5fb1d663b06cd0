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

FileBrowserState::Field fieldOf(Uploads::Field field) {
    switch (field) {
        case Uploads::Field::isUploading:
            return FileBrowserState::Field::isUploading;
        case Uploads::Field::total:
            return FileBrowserState::Field::uploadTotal;
        case Uploads::Field::pending:
            return FileBrowserState::Field::pendingUploads;
        case Uploads::Field::sent:
            return FileBrowserState::Field::sentBytes;
        case Uploads::Field::failed:
            break;
    }
    return FileBrowserState::Field::failedUploads;
}

}  // namespace

FileBrowserState::FileBrowserState(MainLoop& loop, RandomSource& random)
    : loop_(loop),
      random_(random),
      files_(std::make_shared<const std::vector<PutIOFile>>()),
      breadcrumbs_(rootPath()),
      currentLoadRequestID_(random_.makeUUID()),
      uploads_(loop_, random_),
      followingUploads_(uploads_.onChange([this](Uploads::Field field) { changes_.tell(fieldOf(field)); })),
      followingArrivals_(uploads_.onArrival([this](FolderID folderID) { loadAfterUpload(folderID); })) {}

void FileBrowserState::configure(PutIOAPI& api) {
    api_ = &api;
    uploads_.configure(api);
}

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
