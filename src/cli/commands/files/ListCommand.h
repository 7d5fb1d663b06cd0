#pragma once

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"

namespace tovri::cli {

// ls
class ListCommand final : public Command {
public:
    explicit ListCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    void print(const std::vector<PutIOFile>& files) const;
    void printJSON(const std::vector<PutIOFile>& files) const;

    CommandContext& context_;
    RemoteTree tree_;
};

}  // namespace tovri::cli
