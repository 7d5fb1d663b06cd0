#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/UUID.h"
#include "platform/curl/Exchange.h"
#include "platform/curl/PartialFile.h"
#include "platform/curl/ReportPace.h"
#include "platform/curl/ResumePoint.h"

namespace tovri {

// One download: asks for a link, or for the rest of what a token describes, and appends the body to a partial file.
// Never decides what becomes of that file. Owned by the session; the loop's thread.
class CurlTransfer final : public ExchangeReceiver {
public:
    struct Events {
        std::function<void(ByteCount written, ByteCount expected)> wrote;
        std::function<void(Result<void>)> ended;  // the last call; may destroy the transfer
    };

    // `partial` is the path of the partial file that a fresh transfer creates with the first byte of an answer, and
    // that a resumed one finds.
    CurlTransfer(ResumePoint origin, std::filesystem::path partial, Events events);

    // A failure when the transfer cannot begin; the events are not told then.
    [[nodiscard]] Result<void> start(CurlLoop& loop, std::chrono::milliseconds idleLimit);

    // Nothing arrives and nothing is told any more.
    void stop() { exchange_.reset(); }

    // How to go on from what has arrived; none when the server offers no way, has refused one, or nothing has arrived.
    [[nodiscard]] std::optional<ResumePoint> resumePoint() const;

    // The file as far as it has come; null before the answer.
    [[nodiscard]] std::shared_ptr<const PartialFile> file() const { return file_; }

    [[nodiscard]] const std::filesystem::path& partialPath() const { return partialPath_; }

    [[nodiscard]] bool isResumed() const { return origin_.offset > 0; }

private:
    Result<void> didReceiveHead(const ResponseHead& head) override;
    Result<void> didReceiveBytes(std::string_view bytes) override;

    void didSend(ByteCount, ByteCount) override {}

    void tick(std::chrono::steady_clock::time_point now) override { report(now); }

    void didEnd(Result<void> result) override;

    [[nodiscard]] Result<void> acceptWhole(const ResponseHead& head);
    [[nodiscard]] Result<void> acceptRest(const ResponseHead& head);
    [[nodiscard]] Result<void> checkedLength() const;
    void report(std::chrono::steady_clock::time_point now);

    ResumePoint origin_;  // of a fresh transfer: the link and the partial file's name alone
    std::filesystem::path partialPath_;
    Events events_;
    std::shared_ptr<PartialFile> file_;
    std::string validator_;    // empty when there is no way to go on later
    ByteCount expected_ = -1;  // length of the whole file; -1 when unknown
    ByteCount reported_ = -1;
    ReportPace pace_;
    std::unique_ptr<Exchange> exchange_;
};

}  // namespace tovri
