#include "sandbox/http/StorageServer.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "sandbox/api/Answers.h"
#include "sandbox/api/ApiCall.h"
#include "sandbox/http/ByteRange.h"

namespace tovri::sandbox {
namespace {

HttpResponse plainAnswer(int status, std::string_view text) {
    HttpResponse response;
    response.status = status;
    response.contentType = "text/plain";
    response.body = text;
    return response;
}

void addValidators(HttpResponse& response, const File& file, const Fault& fault) {
    if (fault.noValidator) return;
    const std::string tag = fault.otherValidator ? "\"other-machine\"" : file.entityTag();
    response.headers.emplace_back("ETag", (fault.weakValidator ? "W/" : "") + tag);
    if (!fault.weakValidator) response.headers.emplace_back("Last-Modified", httpDate(file.updatedAt));
}

// RFC 9110, section 13.1.5: a weak tag never matches, a date only exactly.
bool isRangeValid(std::string_view ifRange, const File& file) {
    return ifRange.empty() || ifRange == file.entityTag() || ifRange == httpDate(file.updatedAt);
}

ByteRange shifted(ByteRange range, std::int64_t by) {
    const auto end = static_cast<std::int64_t>(range.first + range.count);
    const std::int64_t first = std::clamp<std::int64_t>(static_cast<std::int64_t>(range.first) + by, 0, end - 1);
    return {static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(end - first)};
}

RangeWish wishedRange(const HttpRequest& request, const File& file, const Fault& fault) {
    if (fault.ignoreRange) return {};
    if (!fault.ignoreIfRange && !isRangeValid(request.header("If-Range"), file)) return {};
    RangeWish wish = parseRange(request.header("Range"), static_cast<std::uint64_t>(file.size));
    if (wish.range) wish.range = shifted(*wish.range, fault.rangeShift);
    return wish;
}

File ofSize(File file, std::uint64_t size) {
    file.size = static_cast<std::int64_t>(size);
    if (file.storedContent) {
        std::string bytes = *file.storedContent;
        bytes.resize(static_cast<std::size_t>(size));
        file.storedContent = std::make_shared<const std::string>(std::move(bytes));
    }
    return file;
}

std::optional<File> requestedFile(const Account& account, const std::string& path) {
    constexpr std::string_view prefix = "/download/";
    if (!path.starts_with(prefix)) return std::nullopt;
    const auto id = parseID(std::string_view(path).substr(prefix.size()));
    std::optional<File> file = id ? account.find(*id) : std::nullopt;
    return file && !file->isFolder ? file : std::nullopt;
}

}  // namespace

HttpResponse StorageServer::answer(const HttpRequest& request) {
    const std::optional<File> file = requestedFile(account_, request.path);
    LoggedRequest logged = describe(Role::storage, request);
    std::vector<std::string> names = {request.path};
    if (file) {
        logged.fileID = file->id;
        names.insert(names.end(), {file->name, fmt::format("#{}", file->id)});
    }
    const bool isTransfer = request.method == "GET";
    const std::uint64_t sequence = log_.begin(std::move(logged), isTransfer);
    const Fault fault = faults_.take(Role::storage, names).value_or(Fault{});

    auto [response, body] = answerFor(request, file, fault);
    log_.answered(sequence, response.status, fault.text);
    const auto endTransfer = [this, isTransfer] {
        if (isTransfer) log_.transferEnded();
    };
    if (body) {
        body->ending = endTransfer;
        body->closed = [this, sequence](std::uint64_t sent) { log_.finish(sequence, sent); };
        response.stream = streamBody(std::move(*body));
    } else {
        endTransfer();
        log_.finish(sequence, response.body.size());
    }
    return std::move(response);
}

StorageServer::Answer StorageServer::answerFor(const HttpRequest& request, std::optional<File> file,
                                               const Fault& fault) {
    if (!pause_.wait(fault.delay)) return {plainAnswer(503, "stopping\n"), std::nullopt};
    if (std::optional<HttpResponse> forced = forcedAnswer(fault)) return {std::move(*forced), std::nullopt};
    if (const auto status = refusal(request, fault))
        return {plainAnswer(*status, "this link has expired\n"), std::nullopt};
    if (file && fault.changeContent) {
        account_.changeContent(file->id);
        file = account_.find(file->id);
    }
    if (!file) return {plainAnswer(404, "no such file\n"), std::nullopt};
    if (request.method != "GET" && request.method != "HEAD") return {plainAnswer(405, "GET or HEAD\n"), std::nullopt};
    if (file->isContentLost) return {plainAnswer(410, "more was uploaded than the sandbox keeps\n"), std::nullopt};
    return sendFile(request, fault.size ? ofSize(*file, *fault.size) : *file, fault);
}

StorageServer::Answer StorageServer::sendFile(const HttpRequest& request, const File& file, const Fault& fault) {
    const auto size = static_cast<std::uint64_t>(file.size);
    const RangeWish wish = wishedRange(request, file, fault);
    if (!wish.isSatisfiable) {
        HttpResponse refused = plainAnswer(416, "");
        refused.headers.emplace_back("Content-Range", fmt::format("bytes */{}", size));
        return {std::move(refused), std::nullopt};
    }
    const ByteRange range = wish.range.value_or(ByteRange{0, size});
    HttpResponse response;
    response.contentType = file.contentType;
    response.headers.emplace_back("Accept-Ranges", "bytes");
    addValidators(response, file, fault);
    if (fault.encoding) response.headers.emplace_back("Content-Encoding", *fault.encoding);
    if (wish.range) {
        response.status = 206;
        response.headers.emplace_back("Content-Range",
                                      fmt::format("bytes {}-{}/{}", range.first, range.first + range.count - 1,
                                                  static_cast<std::int64_t>(size) + fault.rangeTotalMore));
    }
    BodyPlan body;
    body.length = range.count;
    body.fault = fault;
    body.read = [content = file.content(), first = range.first](std::uint64_t offset, std::span<char> into) {
        content.read(first + offset, into);
    };
    return {std::move(response), std::move(body)};
}

// The status with which the link of this request is refused; makes it expire first when the fault says so.
std::optional<int> StorageServer::refusal(const HttpRequest& request, const Fault& fault) {
    const Fields fields = parseFields(request.query);
    const auto link = parseID(valueOf(fields, "link").value_or(""));
    if (!link) return fault.expire;
    const auto number = static_cast<std::uint64_t>(*link);
    if (fault.expire) links_.expire(number, *fault.expire);
    return links_.refusal(number);
}

}  // namespace tovri::sandbox
