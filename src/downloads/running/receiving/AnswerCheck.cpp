#include "downloads/running/receiving/AnswerCheck.h"

namespace tovri {
namespace {

Error statusError(const AnswerHead& head) {
    Error error(ErrorCase::httpStatus, "HTTP error " + std::to_string(head.status) + " from put.io.");
    error.httpStatus = head.status;
    error.retryHints = head.retryHints;
    return error;
}

Error transportError(std::string description) {
    return {ErrorCase::transport, std::move(description)};
}

Result<AnnouncedFile> checkWhole(const ExpectedAnswer& expected, const AnswerHead& head) {
    if (head.status == 206) return failure(transportError("The server sent a part of the file; retry."));
    AnnouncedFile announced{.length = head.bodyLength, .validator = head.validator};
    if (head.bodyLength)
        announced.limit = *head.bodyLength;
    else if (expected.listedSize > 0)
        announced.limit = expected.listedSize;
    return announced;
}

Result<AnnouncedFile> checkRest(const ExpectedAnswer& expected, const AnswerHead& head) {
    const ByteCount length = expected.length.value_or(-1);
    const ByteCount end = expected.end.value_or(length);
    const ContentRange rest{expected.offset, end - 1, length};
    const bool isRest = head.status == 206 && head.contentRange == rest &&
                        head.bodyLength.value_or(end - expected.offset) == end - expected.offset;
    const bool isOther = !head.validator.empty() && !expected.validator.empty() &&
                         head.validator != expected.validator && !expected.hasListedChecksum;
    if (!isRest || isOther)
        return failure(
            transportError("The server did not go on where the transfer had stopped; the download starts over."));
    const std::string& validator = head.validator.empty() ? expected.validator : head.validator;
    return AnnouncedFile{.length = length, .validator = validator, .limit = length};
}

}  // namespace

Result<AnnouncedFile> checkAnswer(const ExpectedAnswer& expected, const AnswerHead& head) {
    if (head.status < 200 || head.status > 299) return failure(statusError(head));
    if (!head.contentEncoding.empty())
        return failure(transportError("The server sent the file in another form than it was asked for; retry."));
    return expected.offset > 0 || expected.end ? checkRest(expected, head) : checkWhole(expected, head);
}

bool isRefusal(const ExpectedAnswer& expected, const AnswerHead& head) {
    constexpr int rangeNotSatisfiable = 416;
    const bool isOther = head.status >= 200 && head.status <= 299 && head.contentEncoding.empty();
    return expected.offset > 0 && (isOther || head.status == rangeNotSatisfiable);
}

}  // namespace tovri
