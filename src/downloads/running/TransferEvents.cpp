#include "downloads/running/TransferEvents.h"

namespace tovri {

TransferEvents::TransferEvents(const Platform& platform, std::filesystem::path staging, Handlers handlers)
    : platform_(platform),
      staging_(std::move(staging)),
      handlers_(std::make_shared<const Handlers>(std::move(handlers))) {}

void TransferEvents::forward(std::function<void(const Handlers&)> report) {
    platform_.loop.post([target = std::weak_ptr(handlers_), report = std::move(report)] {
        if (const auto handlers = target.lock()) report(*handlers);
    });
}

void TransferEvents::transferDidWrite(TransferID transfer, ByteCount written, ByteCount expected) {
    forward([=](const Handlers& handlers) { handlers.handleProgress(transfer, written, expected); });
}

// A file that cannot be staged shows when it is placed: there is nothing to move then.
void TransferEvents::transferDidFinish(TransferID transfer, const std::filesystem::path& file) {
    std::filesystem::path staged = staging_ / platform_.random.makeUUID().text();
    (void)platform_.files.cloneFile(file, staged);
    forward([transfer, staged = std::move(staged)](const Handlers& handlers) {
        handlers.handleFinished(transfer, staged);
    });
}

void TransferEvents::transferDidFail(TransferID transfer, Error error) {
    forward(
        [transfer, error = std::move(error)](const Handlers& handlers) { handlers.handleTaskError(transfer, error); });
}

TransferSession::TokenReceiver TransferEvents::tokenReceiver(
    std::function<void(std::optional<TransferSession::ResumeToken>)> receive) {
    return [&loop = platform_.loop, target = std::weak_ptr(handlers_),
            receive = std::move(receive)](std::optional<TransferSession::ResumeToken> token) {
        loop.post([target, receive, token = std::move(token)] {
            if (!target.expired()) receive(token);
        });
    };
}

}  // namespace tovri
