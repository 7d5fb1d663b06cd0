#include "sandbox/http/UploadServer.h"

#include <utility>

#include <fmt/format.h>
#include <libdeflate.h>

#include "sandbox/account/FileRecord.h"
#include "sandbox/api/Answers.h"
#include "sandbox/api/ApiCall.h"

namespace tovri::sandbox {

// What has arrived of one upload.
struct UploadServer::Upload {
    bool isInFile = false;
    bool hasFile = false;
    std::string name;
    std::string parentText;
    std::string kept;
    bool isKept = true;
    std::uint64_t size = 0;
    std::uint32_t crc32 = 0;
    Fault fault;
};

HttpResponse UploadServer::answer(const HttpRequest& request, bool isAuthorized) {
    const std::uint64_t sequence = parts_.log.begin(describe(Role::upload, request));
    Upload upload;
    HttpResponse response = answerFor(request, isAuthorized, upload);
    parts_.log.answered(sequence, response.status, upload.fault.text);
    parts_.log.uploaded(sequence, {{"parent_id", upload.parentText}, {"filename", upload.name}}, upload.size);
    parts_.log.finish(sequence, response.body.size());
    return response;
}

HttpResponse UploadServer::answerFor(const HttpRequest& request, bool isAuthorized, Upload& upload) {
    if (request.body == nullptr) return errorAnswer(405, "MethodNotAllowed", "POST a file.");
    // Also read when it is going to be refused: whoever sends a body listens only afterwards.
    const bool isComplete = receive(*request.body, upload);
    if (!parts_.pause.wait(upload.fault.delay)) return errorAnswer(503, "Stopping", "The sandbox stops.");
    if (std::optional<HttpResponse> forced = forcedAnswer(upload.fault)) return std::move(*forced);
    if (!isComplete && upload.fault.cut) {
        HttpResponse dropped;
        dropped.drop = true;
        return dropped;
    }
    if (!isAuthorized) return errorAnswer(401, "invalid_grant", "The access token is missing or not valid.");
    if (!isComplete || !upload.hasFile) return errorAnswer(400, "BadRequest", "The body holds no file.");
    return store(upload);
}

bool UploadServer::receive(BodyReader& body, Upload& upload) {
    std::string* text = nullptr;  // where the bytes of the present part go, unless it is the file
    std::string ignored;
    const auto onPart = [&](const BodyPart& part) {
        upload.isInFile = part.name == "file";
        text = part.name == "parent_id" ? &upload.parentText : &ignored;
        if (!upload.isInFile) return true;
        upload.hasFile = true;
        upload.name = part.fileName;
        const std::vector<std::string> names = {part.fileName, "/v2/files/upload"};
        upload.fault = parts_.faults.take(Role::upload, names).value_or(Fault{});
        return true;
    };
    return body.readParts(onPart, [&](std::string_view data) {
        if (upload.isInFile) return receiveData(upload, data);
        text->append(data);
        return true;
    });
}

bool UploadServer::receiveData(Upload& upload, std::string_view data) {
    upload.size += data.size();
    upload.crc32 = libdeflate_crc32(upload.crc32, data.data(), data.size());
    if (upload.isKept) {
        memoryUsed_ += data.size();
        upload.kept.append(data);
        upload.isKept = memoryUsed_ <= parts_.settings.uploadMemory;
        if (!upload.isKept) memoryUsed_ -= std::exchange(upload.kept, {}).size();
    }
    const Fault& fault = upload.fault;
    if (fault.cut && upload.size >= *fault.cut) return false;
    if (fault.stall && upload.size >= *fault.stall) {
        return parts_.pause.wait(fault.stallFor.value_or(Fault::Seconds(1e6)));
    }
    if (!fault.rate) return true;
    return parts_.pause.wait(Fault::Seconds(static_cast<double>(data.size()) / static_cast<double>(*fault.rate)));
}

HttpResponse UploadServer::store(Upload& upload) {
    const FileID parentID = parseID(upload.parentText).value_or(rootID);
    const std::optional<File> parent = parts_.account.find(parentID);
    if (!parent || !parent->isFolder) return notFoundAnswer();
    JsonWriter json;
    json.beginObject();
    if (upload.name.ends_with(".torrent")) {
        const std::string source = "upload:" + upload.name;
        const Transfer transfer = parts_.transfers.add({.source = source, .saveParentID = parentID});
        parts_.transfers.write(json.key("transfer"), transfer);
        return jsonAnswer(json.field("status", "OK").endObject());
    }
    NewFile wanted{.name = upload.name, .size = upload.size, .knownCRC32 = upload.crc32};
    wanted.isContentLost = !upload.isKept;
    if (upload.isKept) wanted.storedContent = std::make_shared<const std::string>(std::move(upload.kept));
    const std::optional<File> file = parts_.account.find(parts_.account.addFile(parentID, std::move(wanted)));
    if (!file) return notFoundAnswer();
    json.key("file");
    writeFileRecord(json, *file, upload.crc32);
    return jsonAnswer(json.field("status", "OK").endObject());
}

}  // namespace tovri::sandbox
