#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "platform/Platform.h"
#include "platform/TransferSession.h"

namespace tovri {

// Stands between the transfer session's thread and the engine: stages a finished file, and passes every report on to
// the main thread. Reports that arrive after this is gone are dropped.
class TransferEvents : public TransferDelegate {
public:
    // Main thread, in the order of the session's reports.
    struct Handlers {
        std::function<void(TransferID, ByteCount written, ByteCount expected)> handleProgress;
        std::function<void(TransferID, const std::filesystem::path& staged)> handleFinished;
        std::function<void(TransferID, const Error&)> handleTaskError;
    };

    // Finished files go to `staging`, each under a new UUID.
    TransferEvents(const Platform& platform, std::filesystem::path staging, Handlers handlers);

    void transferDidWrite(TransferID transfer, ByteCount written, ByteCount expected) override;
    void transferDidFinish(TransferID transfer, const std::filesystem::path& file) override;
    void transferDidFail(TransferID transfer, Error error) override;

    // A receiver for the session's thread that hands the token over on the main thread.
    [[nodiscard]] TransferSession::TokenReceiver tokenReceiver(
        std::function<void(std::optional<TransferSession::ResumeToken>)> receive);

private:
    void forward(std::function<void(const Handlers&)> report);

    Platform platform_;
    std::filesystem::path staging_;
    std::shared_ptr<const Handlers> handlers_;  // reports under way hold it weakly
};

}  // namespace tovri
