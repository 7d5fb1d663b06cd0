#include "uploads/Uploads.h"

#include <algorithm>
#include <chrono>

namespace tovri {
namespace {

constexpr std::chrono::milliseconds sentInterval{100};

std::string lastComponent(const std::filesystem::path& path) {
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

}  // namespace

double Uploads::progress() const {
    if (total_ < 1) return 0;
    const auto left = static_cast<std::int64_t>(pending_.size());
    return static_cast<double>(std::max<std::int64_t>(total_ - left, 0)) / static_cast<double>(total_);
}

SentBytes Uploads::sent(const UUID& id) const {
    const auto running = running_.find(id);
    return running == running_.end() ? SentBytes() : running->second.sent;
}

template <class T>
void Uploads::assign(Field field, T& member, T value) {
    if (member == value) return;
    member = std::move(value);
    changed_.push_back(field);
}

void Uploads::tellChanges() {
    for (const Field field : std::exchange(changed_, {})) changes_.tell(field);
}

// --- One upload's way ---

void Uploads::start(const std::vector<std::filesystem::path>& files, FolderID folderID) {
    if (!api_ || files.empty()) return;
    const std::vector<PendingUpload> added = add(files, folderID);
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto running = running_.find(added[i].id);
        if (running == running_.end()) continue;  // cancelled by whoever was told of it
        scope_.start(sendAndTell(files[i], added[i], running->second.stop.get_token()));
    }
}

std::vector<PendingUpload> Uploads::add(const std::vector<std::filesystem::path>& files, FolderID folderID) {
    std::vector<PendingUpload> added;
    added.reserve(files.size());
    for (const std::filesystem::path& file : files)
        added.push_back({random_.makeUUID(), lastComponent(file), folderID});
    std::vector<PendingUpload> pending = pending_;
    pending.insert(pending.end(), added.begin(), added.end());
    for (const PendingUpload& upload : added) running_.try_emplace(upload.id);
    assign(Field::isUploading, isUploading_, true);
    assign(Field::total, total_, total_ + static_cast<std::int64_t>(files.size()));
    assign(Field::pending, pending_, std::move(pending));
    tellChanges();
    return added;
}

Task<Result<PutIOFile>> Uploads::send(std::filesystem::path file, PendingUpload upload, std::stop_token stop) {
    auto noteProgress = [this, id = upload.id](ByteCount sent, ByteCount total) { noteSent(id, {sent, total}); };
    return api_->uploadFile(std::move(file), upload.folderID, std::move(noteProgress), std::move(stop));
}

Task<> Uploads::sendAndTell(std::filesystem::path file, PendingUpload upload, std::stop_token stop) {
    Result<PutIOFile> uploaded = co_await send(file, upload, std::move(stop));
    if (!uploaded && !uploaded.error().isCancellation()) {
        std::vector<FailedUpload> failed = failed_;
        failed.push_back({upload, std::move(file), uploaded.error().description});
        assign(Field::failed, failed_, std::move(failed));
        failures_.tell("Couldn't upload “" + upload.name + "”: " + uploaded.error().description);
    }
    finish(upload);
    if (uploaded) arrivals_.tell(upload.folderID);
}

Task<Result<PutIOFile>> Uploads::upload(std::filesystem::path file, FolderID folderID, std::stop_token stop) {
    const PendingUpload upload = add({file}, folderID).front();
    Result<PutIOFile> uploaded = co_await send(std::move(file), upload, std::move(stop));
    finish(upload);
    co_return uploaded;
}

void Uploads::noteSent(const UUID& id, SentBytes sent) {
    const auto running = running_.find(id);
    if (running == running_.end()) return;
    running->second.sent = sent;
    if (tellingSent_.isActive()) return;
    tellingSent_ = loop_.schedule(sentInterval, [this] {
        tellingSent_.reset();
        changes_.tell(Field::sent);
    });
}

void Uploads::finish(const PendingUpload& upload) {
    running_.erase(upload.id);
    std::vector<PendingUpload> left = pending_;
    std::erase(left, upload);
    if (left.empty()) {
        assign(Field::isUploading, isUploading_, false);
        assign(Field::total, total_, std::int64_t{0});
    }
    assign(Field::pending, pending_, std::move(left));
    tellChanges();
}

// --- What the user does meanwhile ---

void Uploads::cancel(PendingUpload upload) {
    if (const auto running = running_.find(upload.id); running != running_.end()) {
        std::stop_source stop = running->second.stop;
        stop.request_stop();
    }
    finish(upload);
}

void Uploads::retry(const UUID& id) {
    const auto failed = std::ranges::find(failed_, id, [](const FailedUpload& each) { return each.upload.id; });
    if (failed == failed_.end()) return;
    const std::filesystem::path file = failed->file;
    const FolderID folderID = failed->upload.folderID;
    dismiss(id);
    start({file}, folderID);
}

void Uploads::dismiss(const UUID& id) {
    std::vector<FailedUpload> left = failed_;
    std::erase_if(left, [&id](const FailedUpload& each) { return each.upload.id == id; });
    assign(Field::failed, failed_, std::move(left));
    tellChanges();
}

}  // namespace tovri
