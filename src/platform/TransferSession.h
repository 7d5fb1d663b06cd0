#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Result.h"

namespace tovri {

using TransferID = std::int64_t;  // unique within a session

// What a session reports. Called on the session's own thread; an implementation passes each report on to the main
// thread. A transfer ends with exactly one of finish and failure, or with none when it was cancelled.
class TransferDelegate {
public:
    virtual ~TransferDelegate() = default;

    // `written` counts from the file's first byte, also in a resumed transfer; `expected` is -1 when unknown. Told a
    // few dozen times a second at most.
    virtual void transferDidWrite(TransferID transfer, ByteCount written, ByteCount expected) = 0;

    // The whole body is in `file`, which is gone when this returns.
    virtual void transferDidFinish(TransferID transfer, const std::filesystem::path& file) = 0;

    // Error::resumeToken says how to go on, where that is possible.
    virtual void transferDidFail(TransferID transfer, Error error) = 0;
};

// Downloads to files, at most 6 connections per host at a time. Bytes are written once, to a partial file of the
// session's own. A body that is shorter or longer than announced, or a status outside 200 to 299, is a failure. A
// transfer that was made from a resume token fails unless the server goes on with the same content at exactly the
// token's offset. Destroying the session ends its transfers; nothing is reported after that.
class TransferSession {
public:
    using ResumeToken = ByteBlob;  // opaque; good across restarts of the program
    using TokenReceiver = std::move_only_function<void(std::optional<ResumeToken>)>;

    virtual ~TransferSession() = default;

    // A transfer at rest, until `start`: from the first byte, or from where a token says.
    [[nodiscard]] virtual TransferID makeTransfer(std::string url) = 0;
    [[nodiscard]] virtual TransferID resumeTransfer(const ResumeToken& token) = 0;
    virtual void start(TransferID transfer) = 0;

    // Ends the transfer and removes its partial file. A transfer that has ended is ignored.
    virtual void cancel(TransferID transfer) = 0;

    // Ends the transfer, makes what has arrived durable and hands over its token; none when nothing can be resumed or
    // the transfer has ended. `receive` runs on the session's thread.
    virtual void cancelProducingToken(TransferID transfer, TokenReceiver receive) = 0;

    // Removes the partial file of a token that nobody will use any more.
    virtual void discard(const ResumeToken& token) = 0;

    // Removes every partial file that neither a token nor a transfer of this session names.
    virtual void discardAllBut(const std::vector<ResumeToken>& tokens) = 0;
};

// Makes the session on its first need.
using TransferSessionFactory = std::function<std::unique_ptr<TransferSession>(TransferDelegate&)>;

}  // namespace tovri
