#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "base/UUID.h"
#include "platform/MainLoop.h"
#include "platform/RandomSource.h"
#include "service/PutIOAPI.h"

namespace tovri {

// A local file on its way into a put.io folder.
struct PendingUpload {
    UUID id;
    std::string name;  // of the local file
    FolderID folderID;

    bool operator==(const PendingUpload&) const = default;
};

// How far one has come.
struct SentBytes {
    ByteCount sent = 0;
    ByteCount total = 0;  // 0 while nothing is on its way yet

    bool operator==(const SentBytes&) const = default;
};

// One that did not arrive, and could be begun again.
struct FailedUpload {
    PendingUpload upload;
    std::filesystem::path file;
    std::string reason;

    bool operator==(const FailedUpload&) const = default;
};

// The uploads of this process: those under way, all at once, and those that failed. A batch is what is under way at one
// time; it grows until nothing is left of it.
class Uploads {
public:
    enum class Field : std::uint8_t {
        isUploading,
        total,
        pending,
        sent,  // of any of them; told ten times a second at most
        failed,
    };

    // Both outlive the uploads.
    Uploads(MainLoop& loop, RandomSource& random) : loop_(loop), random_(random) {}

    // `api` outlives the uploads. Nothing is uploaded before.
    void configure(PutIOAPI& api) { api_ = &api; }

    // --- What is under way ---

    [[nodiscard]] bool isUploading() const { return isUploading_; }

    // How many files the present batch has had.
    [[nodiscard]] std::int64_t total() const { return total_; }

    // In the order of their start.
    [[nodiscard]] const std::vector<PendingUpload>& pending() const { return pending_; }

    // The part of the present batch's files that has ended, 0 to 1.
    [[nodiscard]] double progress() const;

    [[nodiscard]] SentBytes sent(const UUID& id) const;

    // In the order of their failures.
    [[nodiscard]] const std::vector<FailedUpload>& failed() const { return failed_; }

    // --- What the user does ---

    // Starts all at once.
    void start(const std::vector<std::filesystem::path>& files, FolderID folderID);

    // One file, whose end is the caller's to tell: it does not stand among the failed ones.
    Task<Result<PutIOFile>> upload(std::filesystem::path file, FolderID folderID, std::stop_token stop);

    // A copy: the list that may hold it shrinks.
    void cancel(PendingUpload upload);

    // A failed one begins anew, as another.
    void retry(const UUID& id);

    // A failed one is forgotten.
    void dismiss(const UUID& id);

    // Told after the state is consistent, only when the value differs.
    Subscription onChange(std::function<void(Field)> tell) { return changes_.subscribe(std::move(tell)); }

    // A file of start() has arrived in this folder.
    Subscription onArrival(std::function<void(FolderID)> tell) { return arrivals_.subscribe(std::move(tell)); }

    // One of start() failed; the message is for the user. A cancelled one is not told.
    Subscription onFailure(std::function<void(std::string message)> tell) {
        return failures_.subscribe(std::move(tell));
    }

private:
    template <class T>
    void assign(Field field, T& member, T value);

    void tellChanges();
    std::vector<PendingUpload> add(const std::vector<std::filesystem::path>& files, FolderID folderID);
    Task<Result<PutIOFile>> send(std::filesystem::path file, PendingUpload upload, std::stop_token stop);
    Task<> sendAndTell(std::filesystem::path file, PendingUpload upload, std::stop_token stop);
    void noteSent(const UUID& id, SentBytes sent);
    void finish(const PendingUpload& upload);

    struct Running {
        std::stop_source stop;
        SentBytes sent;
    };

    MainLoop& loop_;
    RandomSource& random_;
    PutIOAPI* api_ = nullptr;
    bool isUploading_ = false;
    std::int64_t total_ = 0;
    std::vector<PendingUpload> pending_;
    std::unordered_map<UUID, Running> running_;  // by PendingUpload::id
    std::vector<FailedUpload> failed_;
    std::vector<Field> changed_;  // assigned, not told yet
    Signal<Field> changes_;
    Signal<FolderID> arrivals_;
    Signal<std::string> failures_;
    Subscription tellingSent_;
    TaskScope scope_;
};

}  // namespace tovri
