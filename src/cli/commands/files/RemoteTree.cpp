#include "cli/commands/files/RemoteTree.h"

#include <algorithm>
#include <deque>

#include <fmt/format.h>

#include "service/records/IDList.h"
#include "service/records/PutIOFileList.h"

namespace tovri::cli {
namespace {

std::string pathText(const std::vector<std::string>& names, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += "/" + names[i];
    return text.empty() ? "/" : text;
}

Error noSuchName(const std::vector<std::string>& names, std::size_t level) {
    return {ErrorCase::file, fmt::format("There is no \"{}\" in \"{}\" on put.io. tovri-cli ls shows what there is.",
                                         names[level], pathText(names, level))};
}

Error ambiguousName(const std::vector<std::string>& names, std::size_t level, const std::vector<FileID>& ids) {
    return {ErrorCase::file, fmt::format("\"{}\" is in \"{}\" {} times. Give an ID instead: {}.", names[level],
                                         pathText(names, level), ids.size(), joinedIDs(ids, ", "))};
}

// The one entry with the name at this level.
Result<PutIOFile> entryNamed(const std::vector<PutIOFile>& entries, const std::vector<std::string>& names,
                             std::size_t level) {
    std::vector<FileID> ids;
    const PutIOFile* found = nullptr;
    for (const PutIOFile& entry : entries) {
        if (entry.name != names[level]) continue;
        found = &entry;
        ids.push_back(entry.id);
    }
    if (!found) return failure(noSuchName(names, level));
    if (ids.size() > 1) return failure(ambiguousName(names, level, ids));
    if (level + 1 < names.size() && !found->isFolder())
        return failure(Error(ErrorCase::file,
                             fmt::format("\"{}\" on put.io is a file, not a folder.", pathText(names, level + 1))));
    return *found;
}

}  // namespace

std::optional<Error> cutError(const FolderListing& listing, std::string_view folder) {
    std::optional<Error> cut = listing.cut;
    if (cut) cut->description = cutListingText(folder, cut->description);
    return cut;
}

RemotePath parseRemotePath(const std::string& text) {
    if (const auto id = FileID::parse(text)) return {id, {}};
    RemotePath path;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find('/', begin), text.size());
        if (end > begin) path.names.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return path;
}

PutIOFile rootFolder() {
    PutIOFile root;
    root.fileType = PutIOFile::FileType::folder;
    return root;
}

Task<Result<PutIOFile>> RemoteTree::find(std::string text, std::stop_token stop) {
    const RemotePath path = parseRemotePath(text);
    if (path.id == fileOf(rootFolderID)) co_return rootFolder();
    if (path.id) {
        Result<PutIOFile> byID = co_await findByID(*path.id, stop);
        co_return byID;
    }
    PutIOFile current = rootFolder();
    for (std::size_t level = 0; level < path.names.size(); ++level) {
        Result<FolderListing> listing = co_await list(folderOf(current.id), stop);
        if (!listing) co_return failure(listing);
        const std::optional<Error> cut = cutError(*listing, fmt::format("\"{}\"", pathText(path.names, level)));
        if (cut && cut->code != ErrorCase::turnedOff) co_return failure(*cut);
        Result<PutIOFile> entry = entryNamed(listing->files, path.names, level);
        if (!entry && cut) entry.error().description += " " + cut->description;
        if (!entry) co_return failure(entry);
        current = std::move(*entry);
    }
    co_return current;
}

Task<Result<FileID>> RemoteTree::findID(std::string text, std::stop_token stop) {
    if (const auto id = parseRemotePath(text).id) co_return *id;
    Result<PutIOFile> file = co_await find(std::move(text), stop);
    if (!file) co_return failure(file);
    co_return file->id;
}

Task<Result<PutIOFile>> RemoteTree::findFolder(std::string text, std::stop_token stop) {
    Result<PutIOFile> found = co_await find(text, stop);
    if (!found) co_return failure(found);
    if (!found->isFolder())
        co_return failure(Error(ErrorCase::file, fmt::format("\"{}\" on put.io is a file, not a folder.", text)));
    co_return found;
}

Task<Result<FolderListing>> RemoteTree::list(FolderID folderID, std::stop_token stop) {
    if (const auto known = listings_.find(folderID); known != listings_.end()) co_return known->second;
    Result<FolderListing> listing = co_await api_.readFolder(folderID, stop);
    if (!listing) co_return failure(listing);
    listings_[folderID] = *listing;
    co_return listing;
}

// A folder describes itself in its listing. A file has no listing, and the service no look-up by ID, so it is searched.
Task<Result<PutIOFile>> RemoteTree::findByID(FileID id, std::stop_token stop) {
    PutIOAPI::Parameters parameters{{"parent_id", id.text()}};
    Result<PutIOFileList> listing = co_await api_.get<PutIOFileList>("/files/list", std::move(parameters), stop);
    if (listing && listing->parent && listing->parent->id == id) co_return std::move(*listing->parent);
    if (!listing && listing.error().code != ErrorCase::httpStatus) co_return failure(listing);
    Result<PutIOFile> found = co_await search(id, stop);
    co_return found;
}

Task<Result<PutIOFile>> RemoteTree::search(FileID id, std::stop_token stop) {
    std::deque<FolderID> folders{rootFolderID};
    std::optional<Error> cut;
    while (!folders.empty()) {
        Result<FolderListing> listing = co_await list(folders.front(), stop);
        if (!listing) co_return failure(listing);
        folders.pop_front();
        for (PutIOFile& entry : listing->files) {
            if (entry.id == id) co_return std::move(entry);
            if (entry.isFolder()) folders.push_back(folderOf(entry.id));
        }
        if (listing->cut) cut = cutError(*listing, "a folder");
    }
    if (cut) co_return failure(*cut);
    co_return failure(Error(ErrorCase::file, fmt::format("There is nothing with the ID {} on put.io.", id.text())));
}

}  // namespace tovri::cli
