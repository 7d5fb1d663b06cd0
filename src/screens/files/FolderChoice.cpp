#include "screens/files/FolderChoice.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "service/records/ListingContinuation.h"

namespace tovri {

void FolderChoice::open(Breadcrumb chosen, FolderPath path) {
    listing_ = std::stop_source();
    path_ = std::move(path);
    chosen_ = std::move(chosen);
    folders_.clear();
    load();
}

void FolderChoice::close() {
    listing_.request_stop();
    request_ = random_.makeUUID();
    isLoading_ = false;
    path_.clear();
    folders_.clear();
}

void FolderChoice::openFolder(std::size_t index) {
    if (index >= folders_.size()) return;
    path_.push_back({folderOf(folders_[index].id), folders_[index].name});
    choose(path_.back());
}

void FolderChoice::openBreadcrumb(std::size_t index) {
    if (index >= path_.size()) return;
    path_.resize(index + 1);
    choose(path_.back());
}

void FolderChoice::choose(Breadcrumb folder) {
    chosen_ = std::move(folder);
    changes_.tell(Change::chosen);
    load();
}

void FolderChoice::load() {
    request_ = random_.makeUUID();
    isLoading_ = true;
    changes_.tell(Change::folders);
    scope_.start(list(chosen_.id, request_, listing_.get_token()));
}

Task<> FolderChoice::list(FolderID folder, UUID request, std::stop_token stop) {
    Result<PutIOFileList> listed = co_await api_.listFolder(folder, stop);
    if (request_ != request) co_return;  // the newer listing owns the flag
    folders_.clear();
    isLoading_ = false;
    if (!listed) co_return changes_.tell(Change::folders);
    ListingContinuation rest(api_, *listed);
    addFolders(std::move(listed->files));
    while (!rest.isOver()) {
        Result<std::vector<PutIOFile>> more = co_await rest.next(stop);
        if (request_ != request || !more) co_return;
        addFolders(std::move(*more));
    }
}

void FolderChoice::addFolders(std::vector<PutIOFile> listed) {
    std::ranges::copy_if(listed, std::back_inserter(folders_), &PutIOFile::isFolder);
    changes_.tell(Change::folders);
}

}  // namespace tovri
