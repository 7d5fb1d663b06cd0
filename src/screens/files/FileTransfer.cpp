#include "screens/files/FileTransfer.h"

#include <algorithm>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

namespace tovri {
namespace {

std::string encoded(const PutIOFile& file) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("fileID");
    writer.Int64(file.id.number);
    writer.Key("fileName");
    writer.String(file.name.data(), static_cast<rapidjson::SizeType>(file.name.size()));
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

std::optional<FileTransfer> decoded(simdjson::dom::parser& parser, std::string_view line) {
    simdjson::dom::object object;
    std::string_view name;
    FileTransfer transfer;
    if (parser.parse(line.data(), line.size()).get(object) != simdjson::SUCCESS || object.size() != 2 ||
        object["fileID"].get(transfer.fileID.number) != simdjson::SUCCESS ||
        object["fileName"].get(name) != simdjson::SUCCESS)
        return std::nullopt;
    transfer.fileName = name;
    return transfer;
}

}  // namespace

std::string fileTransferPayload(const std::vector<const PutIOFile*>& files) {
    std::string payload;
    for (const PutIOFile* file : files) {
        if (!payload.empty()) payload += '\n';
        payload += encoded(*file);
    }
    return payload;
}

std::optional<std::vector<FileTransfer>> parseFileTransfers(std::string_view payload) {
    std::vector<FileTransfer> transfers;
    simdjson::dom::parser parser;
    while (!payload.empty()) {
        const std::string_view line = payload.substr(0, payload.find('\n'));
        payload.remove_prefix(std::min(line.size() + 1, payload.size()));
        std::optional<FileTransfer> transfer = decoded(parser, line);
        if (!transfer) return std::nullopt;
        transfers.push_back(std::move(*transfer));
    }
    if (transfers.empty()) return std::nullopt;
    return transfers;
}

}  // namespace tovri
