#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"
#include "cli/running/DownloadRun.h"
#include "downloads/listing/FolderWalk.h"

namespace tovri::cli {

// What all commands that download have in common: something is put on the queue, then the queue is worked off.
class DownloadCommand : public Command {
public:
    explicit DownloadCommand(CommandContext& context, DownloadRun::Until until = DownloadRun::Until::empty)
        : context_(context), downloads_(context), until_(until) {}

    Task<ExitCode> run(std::stop_token stop) final;

    void interrupt(std::function<void(ExitCode)> done) final { downloads_.interrupt(std::move(done)); }

protected:
    // What is wrong with the arguments as long as nothing was begun; empty when nothing is.
    [[nodiscard]] virtual std::string objection() { return {}; }

    // The same for what only a look at a volume tells, which may take long. Fails when it is given up.
    virtual Task<Result<std::string>> objectionOfVolume(std::stop_token stop);

    // Puts something on the restored queue.
    virtual Task<void> prepare(std::stop_token stop) = 0;

    CommandContext& context() { return context_; }

    DownloadRun& running() { return downloads_; }

private:
    CommandContext& context_;
    DownloadRun downloads_;
    DownloadRun::Until until_;
};

class GetCommand final : public DownloadCommand {
public:
    explicit GetCommand(CommandContext& context) : DownloadCommand(context), tree_(context.api) {}

private:
    Task<Result<std::string>> objectionOfVolume(std::stop_token stop) override;
    Task<void> prepare(std::stop_token stop) override;
    Task<Result<void>> enqueue(PutIOFile file, std::stop_token stop);
    [[nodiscard]] DestinationFolder destination();
    [[nodiscard]] bool isQueuedAlready(const PutIOFile& file, bool deletes);
    [[nodiscard]] bool hasUnfinishedBelow(const std::filesystem::path& folder) const;
    // By file and folder; of several items the uppermost.
    using Place = std::pair<FileID, std::filesystem::path>;

    struct QueuedBefore {
        std::map<Place, ConstDownloadPointer> known;
        std::set<Place> unfinished;
        std::set<Place> otherwise;  // of these, those queued with the other answer to --delete
    };

    [[nodiscard]] QueuedBefore queuedBefore(bool deletes);

    [[nodiscard]] static Place placeOf(const ListedFile& file) { return {file.file.id, file.folder}; }

    Task<Result<std::set<Place>>> onDisk(std::vector<ListedFile> files, std::stop_token stop);
    Task<Result<bool>> goOn(DownloadManager::FolderRequest request, bool deletes, std::stop_token stop);
    void tellGoingOn(const std::string& name, std::size_t waiting, std::size_t missing);
    void tellDeletion(const std::string& name, bool deletes);

    RemoteTree tree_;
    std::optional<UUID> batch_;                     // of what several paths bring; none: there is one path
    std::set<FileID> named_;                        // on the command line, as far as they were found
    std::vector<ConstDownloadPointer> unfinished_;  // what the saved queue still had to bring at the start
};

class RunCommand final : public DownloadCommand {
public:
    using DownloadCommand::DownloadCommand;

private:
    Task<void> prepare(std::stop_token stop) override;
};

class RetryCommand final : public DownloadCommand {
public:
    using DownloadCommand::DownloadCommand;

private:
    [[nodiscard]] std::string objection() override;
    Task<void> prepare(std::stop_token stop) override;
    void retry(const ConstDownloadPointer& item);
    void deleteAnyway(const ConstDownloadPointer& item);

    std::vector<UUID> items_;  // those that were named
};

// An absolute path without "." and ".." in it.
[[nodiscard]] std::filesystem::path absoluteFolder(const std::filesystem::path& current, const std::string& text);

}  // namespace tovri::cli
