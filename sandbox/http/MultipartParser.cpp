#include "sandbox/http/MultipartParser.h"

#include <algorithm>
#include <utility>

namespace tovri::sandbox {
namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view headersEnd = "\r\n\r\n";
constexpr std::size_t maxHeaders = 64UL * 1024;

// The file name comes last and unescaped: it ends at the last quote of its line, whatever quotes it holds itself.
BodyPart parseHeaders(std::string_view headers) {
    constexpr std::string_view nameMark = "; name=\"";
    constexpr std::string_view fileNameMark = "; filename=\"";
    BodyPart part;
    const std::size_t nameAt = headers.find(nameMark);
    if (nameAt != std::string_view::npos) {
        const std::string_view rest = headers.substr(nameAt + nameMark.size());
        part.name = rest.substr(0, rest.find('"'));
    }
    const std::size_t fileNameAt = headers.find(fileNameMark);
    if (fileNameAt != std::string_view::npos) {
        std::string_view rest = headers.substr(fileNameAt + fileNameMark.size());
        rest = rest.substr(0, rest.find(lineEnd));
        part.fileName = rest.substr(0, rest.rfind('"'));
    }
    return part;
}

}  // namespace

MultipartParser::MultipartParser(std::string_view boundary, BodyReader::OnPart onPart, BodyReader::OnData onData)
    : delimiter_("\r\n--" + std::string(boundary)), onPart_(std::move(onPart)), onData_(std::move(onData)) {}

std::string MultipartParser::boundaryOf(std::string_view contentType) {
    constexpr std::string_view mark = "boundary=";
    const std::size_t at = contentType.find(mark);
    if (!contentType.starts_with("multipart/form-data") || at == std::string_view::npos) return "";
    std::string_view boundary = contentType.substr(at + mark.size());
    if (boundary.starts_with('"')) return std::string(boundary.substr(1, boundary.find('"', 1) - 1));
    return std::string(boundary.substr(0, boundary.find(';')));
}

bool MultipartParser::feed(std::string_view bytes) {
    if (isComplete()) return true;
    pending_ += bytes;
    for (bool isStuck = false; !isStuck && !isComplete();) {
        if (!step(isStuck)) return false;
    }
    return true;
}

bool MultipartParser::step(bool& isStuck) {
    return state_ == State::headers ? readHeaders(isStuck) : readContent(isStuck);
}

bool MultipartParser::readHeaders(bool& isStuck) {
    const std::size_t end = pending_.find(headersEnd);
    isStuck = end == std::string::npos;
    if (isStuck) return pending_.size() <= maxHeaders;
    const BodyPart part = parseHeaders(std::string_view(pending_).substr(0, end));
    pending_.erase(0, end + headersEnd.size());
    state_ = State::content;
    return onPart_(part);
}

bool MultipartParser::readContent(bool& isStuck) {
    const std::size_t at = pending_.find(delimiter_);
    if (at == std::string::npos) {
        // The end may be the beginning of a boundary.
        const std::size_t sure = pending_.size() - std::min(pending_.size(), delimiter_.size() - 1);
        isStuck = true;
        const bool goesOn = tellContent(std::string_view(pending_).substr(0, sure));
        pending_.erase(0, sure);
        return goesOn;
    }
    const std::size_t after = at + delimiter_.size();
    isStuck = pending_.size() < after + lineEnd.size();
    if (isStuck) return true;
    if (!tellContent(std::string_view(pending_).substr(0, at))) return false;
    const std::string_view ending = std::string_view(pending_).substr(after, lineEnd.size());
    if (ending != "--" && ending != lineEnd) return false;
    state_ = ending == "--" ? State::done : State::headers;
    pending_.erase(0, after + lineEnd.size());
    return true;
}

bool MultipartParser::tellContent(std::string_view bytes) {
    return state_ != State::content || bytes.empty() || onData_(bytes);
}

}  // namespace tovri::sandbox
