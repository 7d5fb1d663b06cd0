#include "sandbox/account/AccountFile.h"

#include <charconv>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>
#include <simdjson.h>

#include "sandbox/ByteSize.h"
#include "sandbox/faults/FaultSettings.h"

namespace tovri::sandbox {
namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

// What is wrong with the text; never leaves this file.
struct BadAccount : std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <class Value>
Value get(element from, std::string_view what) {
    Value value;
    if (from.get(value) != simdjson::SUCCESS) throw BadAccount(fmt::format("{}: unexpected kind of value", what));
    return value;
}

std::string getText(element from, std::string_view what) {
    return std::string(get<std::string_view>(from, what));
}

// A number of bytes, as a number or as text like "5MiB".
std::uint64_t getSize(element from, std::string_view what) {
    std::uint64_t number = 0;
    if (from.get(number) == simdjson::SUCCESS) return number;
    const std::string text = getText(from, what);
    const std::optional<std::uint64_t> size = parseByteSize(text);
    if (!size) throw BadAccount(fmt::format("{}: \"{}\" is no size", what, text));
    return *size;
}

FileID folderAt(const Scene& scene, std::string_view path) {
    const std::optional<File> folder = scene.account.findPath(path);
    if (!folder || !folder->isFolder) throw BadAccount(fmt::format("there is no folder \"{}\"", path));
    return folder->id;
}

void applyFileDetails(NewFile& file, object details) {
    for (const auto [key, value] : details) {
        if (key == "type") {
            file.contentType = getText(value, key);
        } else if (key == "crc32") {
            const std::string text = getText(value, key);
            std::uint32_t crc = 0;
            std::from_chars(text.data(), text.data() + text.size(), crc, 16);
            file.knownCRC32 = crc;
        } else {
            throw BadAccount(fmt::format("\"{}\" is nothing that a file has", key));
        }
    }
}

NewFile readFile(std::string_view name, element value) {
    NewFile file{.name = std::string(name)};
    if (!value.is_array()) {
        file.size = getSize(value, name);
        return file;
    }
    const array parts = get<array>(value, name);
    if (parts.size() == 0) throw BadAccount(fmt::format("{}: an array needs a size or \"text\" first", name));
    std::string_view first;
    const bool isText = parts.at(0).get(first) == simdjson::SUCCESS && first == "text";
    std::size_t next = 1;
    if (isText) {
        file.storedContent = std::make_shared<const std::string>(getText(parts.at(next++).value(), name));
    } else {
        file.size = getSize(parts.at(0).value(), name);
    }
    if (parts.size() > next) applyFileDetails(file, get<object>(parts.at(next).value(), name));
    return file;
}

void readFolder(Account& account, FileID folderID, object entries) {
    for (const auto [name, value] : entries) {
        if (value.is_object()) {
            readFolder(account, account.addFolder(folderID, std::string(name)), get<object>(value, name));
        } else {
            account.addFile(folderID, readFile(name, value));
        }
    }
}

void readTransfer(const Scene& scene, object entries) {
    NewTransfer transfer;
    for (const auto [key, value] : entries) {
        if (key == "url") transfer.source = getText(value, key);
        if (key == "name") transfer.name = getText(value, key);
        if (key == "folder") transfer.saveParentID = folderAt(scene, getText(value, key));
        if (key == "size") transfer.size = static_cast<std::int64_t>(getSize(value, key));
        if (key == "error") transfer.errorMessage = getText(value, key);
        if (key == "status") transfer.frozen = TransferProgress{.status = getText(value, key)};
    }
    scene.transfers.add(std::move(transfer));
}

void readFeed(const Scene& scene, object entries) {
    Feed feed;
    for (const auto [key, value] : entries) {
        if (key == "title") feed.title = getText(value, key);
        if (key == "url") feed.source = getText(value, key);
        if (key == "keyword") feed.keyword = getText(value, key);
        if (key == "folder") feed.parentID = folderAt(scene, getText(value, key));
        if (key == "paused") feed.isPaused = get<bool>(value, key);
    }
    scene.feeds.add(std::move(feed));
}

std::string settingText(element value) {
    if (value.is_string()) return getText(value, "fault");
    if (value.is_bool()) return "";
    return simdjson::minify(value);
}

Fault readFault(element value) {
    std::string_view line;
    if (value.get(line) == simdjson::SUCCESS) {
        const auto fault = parseFault(line);
        return fault ? *fault : throw BadAccount(fault.error());
    }
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const auto [key, setting] : get<object>(value, "fault")) {
        bool isOn = true;
        if (setting.get(isOn) == simdjson::SUCCESS && !isOn) continue;
        pairs.emplace_back(key, settingText(setting));
    }
    const auto fault = faultFromPairs(pairs);
    return fault ? *fault : throw BadAccount(fault.error());
}

void readEntry(const Scene& scene, std::string_view key, element value) {
    if (key == "token") {
        scene.settings.token = getText(value, key);
    } else if (key == "username") {
        scene.settings.username = getText(value, key);
    } else if (key == "disk") {
        scene.settings.diskSize = static_cast<std::int64_t>(getSize(value, key));
    } else if (key == "seed") {
        scene.account.reseed(get<std::uint64_t>(value, key));
    } else if (key == "files") {
        readFolder(scene.account, rootID, get<object>(value, key));
    } else if (key == "transfers") {
        for (const element one : get<array>(value, key)) readTransfer(scene, get<object>(one, key));
    } else if (key == "feeds") {
        for (const element one : get<array>(value, key)) readFeed(scene, get<object>(one, key));
    } else if (key == "faults") {
        for (const element one : get<array>(value, key)) scene.faults.add(readFault(one));
    } else {
        throw BadAccount(fmt::format("unknown key \"{}\"", key));
    }
}

element parse(simdjson::dom::parser& parser, std::string_view json) {
    element root;
    const simdjson::error_code error = parser.parse(json.data(), json.size()).get(root);
    if (error != simdjson::SUCCESS) throw BadAccount(simdjson::error_message(error));
    return root;
}

}  // namespace

std::expected<void, std::string> readAccountFile(std::string_view json, const Scene& scene) {
    try {
        simdjson::dom::parser parser;
        for (const auto [key, value] : get<object>(parse(parser, json), "account")) readEntry(scene, key, value);
        return {};
    } catch (const BadAccount& bad) {
        return std::unexpected(bad.what());
    } catch (const simdjson::simdjson_error& bad) {
        return std::unexpected(bad.what());
    }
}

std::expected<std::vector<Fault>, std::string> readFaultsJson(std::string_view json) {
    try {
        simdjson::dom::parser parser;
        std::vector<Fault> faults;
        for (const element one : get<array>(parse(parser, json), "faults")) faults.push_back(readFault(one));
        return faults;
    } catch (const BadAccount& bad) {
        return std::unexpected(bad.what());
    }
}

}  // namespace tovri::sandbox
