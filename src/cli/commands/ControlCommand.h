#pragma once

#include "cli/commands/Command.h"

namespace tovri::cli {

// pause, resume, cancel, remove, top and clear, on the saved queue. Each prints how many downloads it changed; those in
// whose state there is nothing to do stay as they are.
class ControlCommand final : public Command {
public:
    explicit ControlCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    [[nodiscard]] Result<std::vector<ConstDownloadPointer>> selectedItems() const;
    [[nodiscard]] std::size_t changeQueue();
    [[nodiscard]] std::size_t changeItems(const std::vector<ConstDownloadPointer>& items);
    void change(const ConstDownloadPointer& item);
    void settle(const Download& item);
    [[nodiscard]] bool hasSaved();
    void tell(std::size_t count) const;

    CommandContext& context_;
};

}  // namespace tovri::cli
