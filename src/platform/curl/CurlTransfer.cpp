#include "platform/curl/CurlTransfer.h"

#include <algorithm>
#include <utility>

#include "platform/curl/ContentRange.h"
#include "platform/curl/TransportError.h"

namespace tovri {
namespace {

Error statusError(int status) {
    Error error(ErrorCase::httpStatus, "HTTP error " + std::to_string(status) + " from put.io.");
    error.httpStatus = status;
    return error;
}

Error changedError() {
    return {ErrorCase::transport, "The server did not go on where the transfer had stopped; the download starts over."};
}

}  // namespace

CurlTransfer::CurlTransfer(ResumePoint origin, std::filesystem::path partial, Events events)
    : origin_(std::move(origin)), partialPath_(std::move(partial)), events_(std::move(events)) {}

Result<void> CurlTransfer::start(CurlLoop& loop, std::chrono::milliseconds idleLimit) {
    ExchangeRequest request{.method = "GET",
                            .url = origin_.link,
                            .headers = {{"Accept-Encoding", "identity"}},
                            .body = {},
                            .idleLimit = idleLimit};
    if (isResumed()) {
        Result<PartialFile> file = PartialFile::reopen(partialPath_, origin_.offset);
        if (!file) return failure(file);
        file_ = std::make_shared<PartialFile>(std::move(*file));
        validator_ = origin_.validator;
        expected_ = origin_.length;
        request.headers.emplace_back("Range", "bytes=" + std::to_string(origin_.offset) + "-");
        request.headers.emplace_back("If-Range", origin_.validator);
    }
    exchange_ = std::make_unique<Exchange>(loop, *this, std::move(request));
    return exchange_->start();
}

Result<void> CurlTransfer::didReceiveHead(const ResponseHead& head) {
    return isResumed() ? acceptRest(head) : acceptWhole(head);
}

Result<void> CurlTransfer::acceptWhole(const ResponseHead& head) {
    if (!head.isSuccess()) return failure(statusError(head.status));
    if (head.status == 206) return failure(Error(ErrorCase::transport, "The server sent a part of the file; retry."));
    Result<PartialFile> file = PartialFile::create(partialPath_);
    if (!file) return failure(file);
    file_ = std::make_shared<PartialFile>(std::move(*file));
    expected_ = head.bodyLength().value_or(-1);
    validator_ = head.validator();
    return {};
}

Result<void> CurlTransfer::acceptRest(const ResponseHead& head) {
    const ContentRange rest{origin_.offset, origin_.length - 1, origin_.length};
    const bool hasLengthOfRest = !head.bodyLength() || *head.bodyLength() == origin_.length - origin_.offset;
    if (head.status == 206 && parseContentRange(head.contentRange) == rest && hasLengthOfRest) return {};
    validator_.clear();
    return failure(head.isSuccess() ? changedError() : statusError(head.status));
}

Result<void> CurlTransfer::didReceiveBytes(std::string_view bytes) {
    const auto count = static_cast<ByteCount>(bytes.size());
    if (expected_ >= 0 && file_->length() + count > expected_) {
        validator_.clear();
        return failure(Error(ErrorCase::transport, "The server sent more bytes than it announced; retry."));
    }
    Result<void> written = file_->append(bytes);
    if (written) report(std::chrono::steady_clock::now());
    return written;
}

void CurlTransfer::report(std::chrono::steady_clock::time_point now) {
    if (!file_ || file_->length() == reported_ || !pace_.isDue(now)) return;
    reported_ = file_->length();
    events_.wrote(reported_, expected_);
}

void CurlTransfer::didEnd(Result<void> result) {
    if (result) result = checkedLength();
    if (!result && file_ && file_->length() == expected_) validator_.clear();  // all is there and yet it is wrong
    if (file_ && file_->length() != reported_) events_.wrote(file_->length(), expected_);
    const auto ended = events_.ended;  // outlives this transfer
    ended(std::move(result));
}

Result<void> CurlTransfer::checkedLength() const {
    if (file_ && (expected_ < 0 || file_->length() == expected_)) return {};
    return failure(Error(ErrorCase::transport, "The server sent fewer bytes than it announced; retry."));
}

// One byte at least is left to ask for, so that the server confirms its content even for a file that is complete.
std::optional<ResumePoint> CurlTransfer::resumePoint() const {
    if (!file_) return isResumed() ? std::optional(origin_) : std::nullopt;
    if (validator_.empty()) return std::nullopt;
    const ByteCount offset = std::min(file_->length(), expected_ - 1);
    if (offset < 1) return std::nullopt;
    return ResumePoint{origin_.link, validator_, expected_, offset, origin_.partial};
}

}  // namespace tovri
