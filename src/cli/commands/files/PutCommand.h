#pragma once

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"
#include "uploads/Uploads.h"

namespace tovri::cli {

// put: uploads one file after the other.
class PutCommand final : public Command {
public:
    explicit PutCommand(CommandContext& context);

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<Result<void>> upload(std::string file, FolderID folderID, std::stop_token stop);
    void tellArrived(const std::string& file, const PutIOFile& uploaded);
    void tellFailed(const std::string& file, const Error& error);
    void tellProgress();

    CommandContext& context_;
    RemoteTree tree_;
    Uploads uploads_;
    MainLoop::TimePoint lastTold_;
    MainLoop::TimePoint began_;
    Subscription following_;
};

}  // namespace tovri::cli
