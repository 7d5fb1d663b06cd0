#include "downloads/World.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace tovri::test {
namespace {

std::string jsonText(const std::string& text) {
    std::string json = "\"";
    for (const char letter : text) {
        if (letter == '\0') {
            json += "\\u0000";
        } else if (letter == '\n') {
            json += "\\n";
        } else {
            if (letter == '"' || letter == '\\') json += '\\';
            json += letter;
        }
    }
    return json + "\"";
}

Task<> ignoreOutcome(Task<Result<std::vector<ConstDownloadPointer>>> task) {
    (void)co_await std::move(task);
}

}  // namespace

void FaultlessLog::line(std::string_view text) {
    EXPECT_FALSE(text.starts_with("[DownloadManager] No step ")) << text;
    RecordingLog::line(text);
}

World::World() {
    signIn();
    background.longestDelay = std::chrono::milliseconds(3);
    http.handler = [this](const HTTPRequest& request) { return answer(request); };
    http.actsAtOnce = true;
    start();
}

World::~World() {
    kill();
}

// --- put.io ---

FileID World::nextID() const {
    return FileID(static_cast<std::int64_t>(remote_.size() + gone_.size()) + 100);
}

FileID World::addFile(std::string name, std::string content, FolderID folder) {
    const FileID id = nextID();
    storage.links[url(id)].content = content;
    remote_[id] = {std::move(name), false, std::move(content), folder};
    return id;
}

FolderID World::addFolder(std::string name, FolderID folder) {
    const FileID id = nextID();
    remote_[id] = {std::move(name), true, "", folder};
    return folderOf(id);
}

SimulatedStorage::Link& World::link(FileID file) {
    return storage.links.at(url(file));
}

Result<HTTPResponse> World::answer(const HTTPRequest& request) {
    const auto numberAfter = [](const std::string& text, std::string_view mark) -> std::int64_t {
        const auto at = text.find(mark);
        return at == std::string::npos ? -1 : std::stoll(text.substr(at + mark.size()));
    };
    if (interferes)
        if (auto instead = interferes(request)) return *instead;
    if (const auto folder = numberAfter(request.url, "parent_id="); folder >= 0)
        return HTTPResponse{200, listing(FolderID(folder))};
    if (request.url.ends_with("/files/list/continue")) {
        const FolderID folder(numberAfter(request.body, "cursor="));
        if (cutListings.contains(folder)) return HTTPResponse{400, ""};
        return HTTPResponse{200, listing(folder, static_cast<std::size_t>(numberAfter(request.body, "-")))};
    }
    if (request.url.ends_with("/account/info"))
        return HTTPResponse{200, R"({"info":{"username":")" + account + R"("},"status":"OK"})"};
    const bool deletes = request.url.ends_with("/files/delete");
    const FileID id(deletes ? numberAfter(request.body, "file_ids=") : numberAfter(request.url, "/v2/files/"));
    if (refusals[id] > 0 && refusals[id]-- > 0) return HTTPResponse{400, ""};
    if (!remote_.contains(id) || account != owner)
        return HTTPResponse{404, R"({"status":"ERROR","status_code":404,"error_type":"NotFound"})"};
    if (!deletes && !request.url.ends_with("/url"))
        return HTTPResponse{200, R"({"file":)" + recordText(id) + R"(,"status":"OK"})"};
    if (!deletes) link(id).expired.reset();
    if (!deletes) return HTTPResponse{200, R"({"url":")" + url(id) + R"(","status":"OK"})"};
    if (deletes && doesNotConfirm) return HTTPResponse{200, R"({"status":"ERROR"})"};
    deletions.push_back(id);
    remove(id);
    if (std::exchange(losesAnswer, false)) return failure(Error(TransportFault::brokenOff, "The connection was lost."));
    return HTTPResponse{200, R"({"status":"OK"})"};
}

std::string World::recordText(FileID id) const {
    const Entry& entry = remote_.at(id);
    return R"({"id":)" + id.text() + R"(,"name":)" + jsonText(entry.name) + R"(,"file_type":")" +
           (entry.isFolder ? "FOLDER" : "FILE") + R"(","size":)" +
           (sizeless.contains(id) ? "null" : std::to_string(entry.announcedSize())) +
           (entry.crc32 ? R"(,"crc32":")" + *entry.crc32 + '"' : "") + "}";
}

std::string World::listing(FolderID folder, std::size_t from) const {
    std::string entries;
    std::size_t position = 0;
    for (const auto& [id, entry] : remote_) {
        if (entry.folder != folder || position++ < from) continue;
        if (position > from + pageSize) break;
        entries += (entries.empty() ? "" : ",") + recordText(id);
    }
    const bool goesOn = position > from + pageSize || cutListings.contains(folder);
    const std::string cursor = folder.text() + "-" + std::to_string(from + pageSize);
    return R"({"cursor":")" + (goesOn ? cursor : "") + R"(","files":[)" + entries + R"(],"status":"OK"})";
}

void World::remove(FileID entry) {
    for (const FileID id : entriesOf(folderOf(entry))) remove(id);
    EXPECT_TRUE(remote_.at(entry).isFolder || isDurable(entry) || mayLose)
        << "put.io was told to delete " << remote_.at(entry).name << " before it was safe";
    gone_.insert(remote_.extract(entry));
}

void World::takeAway(FileID entry) {
    for (const FileID id : entriesOf(folderOf(entry))) takeAway(id);
    gone_.insert(remote_.extract(entry));
}

std::vector<FileID> World::entriesOf(FolderID folder) const {
    std::vector<FileID> entries;
    for (const auto& [id, entry] : remote_)
        if (entry.folder == folder) entries.push_back(id);
    return entries;
}

bool World::isDurable(FileID file) {
    const auto durable = files.durableFiles();
    return std::ranges::any_of(arrived[file], [&](const Path& path) {
        const auto found = durable.find(path);
        return found != durable.end() && found->second == link(file).content;
    });
}

// --- processes ---

Platform World::platform() {
    return {loop, clock, random, files, folderAccess, background, volumes, log, {"/home/user", data, "/tmp"}};
}

void World::start() {
    files.goOn();
    api_ = std::make_unique<PutIOAPI>(auth_, http, servicePorts(platform()), ServiceHosts{},
                                      [this] { return preferences.readLongFolders(); });
    manager_ = std::make_unique<DownloadManager>(ports());
    service_ = std::make_unique<PutIODownloadService>(*api_);
    manager_->configure(*service_, preferences);
    watching_ = manager_->onChange([this](const QueueChange& change) {
        if (change.item && change.item->status == Download::Status::completed && change.item->resolvedURL)
            arrived[change.item->fileID].insert(*change.item->resolvedURL);
        if (watch) watch(*manager_, change);
    });
    signingIn_ = auth_.onChange([this](AuthManager::Change) { manager_->setSignedIn(auth_.isAuthenticated()); });
    manager_->setSignedIn(auth_.isAuthenticated());
    scope_ = std::make_unique<TaskScope>();
    manager_->restoreQueue();
}

void World::kill() {
    scope_.reset();
    watching_.reset();
    signingIn_.reset();
    manager_.reset();
    volumes.drop();
    service_.reset();
    api_.reset();
}

void World::losePower() {
    kill();
    files.powerLoss();
    ++clock.starts;
    checkDurableItems();
}

void World::checkDurableItems() {
    const auto saved = files.content(queueFile);
    const auto queue = saved ? decodeQueue(*saved) : failure(Error(ErrorCase::file, "There is none."));
    if (!queue) return;
    for (const DownloadRecord& item : queue->downloads) {
        if (item.status != DownloadStatus::completed || item.durable != true || !item.resolvedURL) continue;
        const auto content = files.content(*item.resolvedURL);
        const bool isWhole =
            std::ranges::any_of(storage.links, [&](const auto& link) { return content == link.second.content; });
        EXPECT_TRUE(isWhole || takenAway.contains(*item.resolvedURL))
            << *item.resolvedURL << " is called durable, but is " << content.value_or("<none>");
    }
}

// --- what a user does ---

PutIOFile World::record(FileID file) const {
    const auto found = remote_.find(file);
    const Entry& entry = found == remote_.end() ? gone_.at(file) : found->second;
    PutIOFile result;
    result.id = file;
    result.name = entry.name;
    if (!sizeless.contains(file)) result.size = entry.announcedSize();
    result.crc32 = entry.crc32;
    return result;
}

ConstDownloadPointer World::enqueue(FileID file, const DownloadManager::EnqueueOptions& options) {
    return manager_->enqueue(record(file), options);
}

void World::enqueueFolder(FolderID folder, bool deletes) {
    const auto found = remote_.find(fileOf(folder));
    if (found == remote_.end()) return;
    DestinationFolder destination = manager_->resolveDestination(std::nullopt);
    destination.folder /= found->second.name;
    scope_->start(ignoreOutcome(manager_->enqueueFolder(
        {folder, found->second.name, std::move(destination), deletes, random.makeUUID()}, scope_->stopToken())));
}

void World::settle() {
    EXPECT_TRUE(loop.runUntil([this] { return loop.isIdle(); }));
}

bool World::runUntil(const ConstDownloadPointer& item, Download::Status status) {
    return loop.runUntil([&] { return item->status == status; }, std::chrono::minutes(1));
}

// --- what can be seen ---

std::string World::outcome(const ConstDownloadPointer& item) {
    const std::string status(rawValue(item->status));
    return item->error ? status + ": " + *item->error : status;
}

std::string World::tree() {
    std::string text;
    for (const auto& [path, content] : files.files(downloads)) {
        if (!text.empty()) text += ' ';
        text += path.lexically_relative(downloads).native() + "=" + content;
    }
    return text;
}

std::map<World::Path, std::string> World::partialFiles(const Path& folder) {
    std::map<Path, std::string> found = files.files(folder);
    std::erase_if(found, [](const auto& file) { return file.first.extension() == ".note"; });
    return found;
}

ConstDownloadPointer World::find(FileID file) {
    const ItemOrder& items = manager_->downloads().items();
    const auto found = std::ranges::find(items, file, [](const ConstDownloadPointer& item) { return item->fileID; });
    return found == items.end() ? nullptr : *found;
}

std::size_t World::transfersOf(FileID file) const {
    return static_cast<std::size_t>(std::ranges::count(storage.started, url(file)));
}

}  // namespace tovri::test
