#pragma once

#include "cli/commands/Command.h"

namespace tovri::cli {

// pause, resume, cancel, remove, top and clear, on the saved queue. Each prints how many downloads it changed, and
// fails for those that were named and cannot become what was asked.
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
    [[nodiscard]] bool isAsAsked(const Download& item) const;
    [[nodiscard]] Result<void> save();
    void tell(std::size_t count) const;

    CommandContext& context_;
};

}  // namespace tovri::cli
